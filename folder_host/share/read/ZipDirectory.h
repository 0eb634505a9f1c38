#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

struct ZipEntry {
  std::string name;  // as it stands
  std::uint64_t size;
  mode_t mode;         // with its type
  std::string target;  // of a link
};

// What the directory at the end of a zip says, in its order. Nothing is believed but what a zip must have that means
// the same to all its readers: the directory ends where the file does, its entries lie one behind the other from the
// beginning on, each has a local head that says the same, the same name above all, and no second name. Errors:
// ARCHIVE_UNREADABLE, std::system_error.
std::vector<ZipEntry> zipDirectoryOf(const Descriptor& file, const std::string& named);

}  // namespace folder_host
