#pragma once

#include <sys/stat.h>

#include <string_view>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// Who may do what with a copy, from what its original allows: read, write and execute bits, no set-id bits. A copy has
// no access list; where the original has one, the copy allows nobody what that withholds. `status` is of `opened`,
// which is open for more than its path. Errors: std::system_error.
mode_t permissionsOf(const Descriptor& opened, const struct stat& status);

// The same from the bytes of an access list as the system stores it. Of one that cannot be read: the owner's alone.
mode_t permissionsUnder(std::string_view accessList, mode_t mode);

}  // namespace folder_host
