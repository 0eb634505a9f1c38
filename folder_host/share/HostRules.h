#pragma once

#include <cstddef>
#include <vector>

#include "folder_host/files/EntryTable.h"

namespace folder_host {

// What is held back by the host's own rules, after the transformation: indices of the table, ascending.
struct HostRemovals {
  std::vector<std::size_t> links;    // whose target lies outside the project, is held back, or is not there
  std::vector<std::size_t> emptied;  // folders that held something, nothing of which is shared
};

// Of a project of which `heldBack` is held back already, marks there what the host does not hand out either: see
// WorkingCopy::applyHostRules. Of a folder that is marked before, all that lies in it is; but what lies in `top`, which
// becomes the copy's own folder, may be shared when that is marked. Nothing outside of `top` is shared.
HostRemovals holdBackByHostRules(const EntryTable& entries, Selection& heldBack, std::size_t top = EntryTable::ROOT);

}  // namespace folder_host
