#pragma once

#include <string>
#include <string_view>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// As many as firstBytesTell needs, or all of them. Fails with std::system_error.
std::string firstBytesOf(const Descriptor& file);

// Whether a file that begins so is a project's store, a dump of one, its memory, or a receipt, whatever its name.
bool firstBytesTell(std::string_view first);

}  // namespace folder_host
