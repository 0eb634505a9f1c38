#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <map>
#include <string>

#include "folder_host/files/Descriptor.h"

namespace folder_host {

// By what a file on its file system tells that it is another one now, or that somebody wrote to it. The time of change
// is set by the system alone, at every write and every change of what the file is.
struct Stamp {
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  timespec modified = {};
  timespec changed = {};
  timespec born = {};  // zero where the file system does not say
};

bool operator==(const Stamp& a, const Stamp& b) noexcept;
// The same but for the time of change, which a new name and one that goes set as well.
bool isSameButChanged(const Stamp& a, const Stamp& b) noexcept;

// One entry of a folder, of whatever kind.
struct EntryState {
  Stamp stamp;
  dev_t device = 0;
  mode_t mode = 0;  // with its type
  uid_t owner = 0;
  gid_t group = 0;
  std::uint64_t links = 0;
  bool isMountPoint = false;
};

// All that lies in a folder at any depth, by relative path; the folder itself is the empty one.
using FolderState = std::map<std::string, EntryState>;

// Of what has the name in the folder, not of what that leads to; without a name, of what is open itself. Everything
// here fails with std::system_error.
EntryState stateIn(const Descriptor& folder, const std::string& name);

// Follows no link. EBUSY where something is mounted in the folder.
FolderState stateOf(const Descriptor& folder);

// As a text that is another one when any entry has come, gone, or was written to or changed in any other way. The names
// that the folder itself and the files have elsewhere make no difference, but for the time of change that they set.
std::string digestOf(const FolderState& state);

}  // namespace folder_host
