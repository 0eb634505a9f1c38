#pragma once

#include <string>
#include <vector>

#include "folder_host/files/EntryTable.h"

namespace folder_host {

// What leaves a copy by the host's own rules, after the transformation.
struct HostRemovals {
  std::vector<std::string> links;    // whose target leaves the project, goes, or is not there
  std::vector<std::string> emptied;  // folders that held something, all of which went
};

// Takes out of a project of which `gone` has left already what the host does not hand out: see
// WorkingCopy::applyHostRules. What goes is marked in `gone`. Of a folder that is marked all that lies in it is.
HostRemovals removeByHostRules(const EntryTable& entries, std::vector<bool>& gone);

}  // namespace folder_host
