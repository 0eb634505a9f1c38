#pragma once

#include <string>
#include <vector>

#include "folder_host/WorkingCopy.h"

namespace project_share {

// A line each for what a person should know of a project before it is shared: labels on paths that are gone (a file
// that was renamed or moved has lost its labels, and would leave), projects in the project, what is no entry.
std::vector<std::string> amissIn(folder_host::WorkingCopy& copy);

}  // namespace project_share
