#pragma once

#include <sys/stat.h>

#include <string_view>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// The mode of a copy, from that of its original: its read, write and execute bits, and no set-id bits. A copy has no
// access list; where the original has one, the mode allows nobody what the list withholds. `status` is that of
// `opened`, which was not opened by O_PATH. Errors: std::system_error.
mode_t permissionsOf(const Descriptor& opened, const struct stat& status);

// The same from the bytes of an access list as the system stores it. Of one that cannot be read: the owner's alone.
mode_t permissionsUnder(std::string_view accessList, mode_t mode);

}  // namespace folder_host
