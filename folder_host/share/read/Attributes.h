#pragma once

#include <optional>
#include <string>

#include "folder_host/share/WorkingCopy.h"

namespace folder_host {

// The path of the first file or folder that is shared and has extended attributes of a user's (`user.*`), which stay
// home. What cannot be read has none here: a share tells of that. Errors: ENTRY_UNREADABLE of the project's folder.
std::optional<std::string> firstWithAttributes(const WorkingCopy& project);

}  // namespace folder_host
