#pragma once

#include <vector>

#include "folder_host/EntryTable.h"
#include "folder_host/WorkingCopy.h"

namespace folder_host {

// Takes out of a project of which `gone` has left already what the host does not hand out: see
// WorkingCopy::applyHostRules. What goes is marked in `gone`. Of a folder that is marked all that lies in it is.
HostRemovals removeByHostRules(const EntryTable& entries, std::vector<bool>& gone);

}  // namespace folder_host
