#pragma once

#include <sys/stat.h>

#include <array>
#include <string>
#include <system_error>

#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"

// What copying a folder and copying a file have in common.
namespace folder_host {

// ENTRY_CHANGED.
Error changed(const std::string& path);

// The system's refusal to read what was listed: ENTRY_CHANGED or ENTRY_UNREADABLE.
Error unreadable(const std::string& path, int code);

// COPY_FAILED, with what errno says, unless the result of a call is 0.
void checkWritten(int result, const std::string& path);

template <class Read>
auto reading(const std::string& path, const Read& read) {
  try {
    return read();
  } catch (const std::system_error& error) {
    throw unreadable(path, error.code().value());
  }
}

template <class Write>
auto writing(const std::string& path, const Write& write) {
  try {
    return write();
  } catch (const std::system_error& error) {
    throw systemFailure(errors::COPY_FAILED, "cannot write the copy of", path, error.code().value());
  }
}

// ENTRY_CHANGED where this is the status of anything but the very thing that was listed, which must be of that type:
// what took its place may be what another name was to hold back.
void requireListed(const Entry& entry, mode_t type, const struct stat& status);

// Of the very file or link that was listed: whether nothing of it has changed since.
bool isAsListed(const Entry& entry, const struct stat& status);

std::array<timespec, 2> times(const struct stat& status);

}  // namespace folder_host
