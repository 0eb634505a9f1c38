#pragma once

#include <sys/types.h>

#include <cstdint>
#include <tuple>

namespace folder_host {

// What a file is, whatever its name: several names may stand for one file.
struct FileId {
  dev_t device = 0;
  ino_t inode = 0;
};

inline bool operator==(const FileId& a, const FileId& b) noexcept { return a.device == b.device && a.inode == b.inode; }
inline bool operator<(const FileId& a, const FileId& b) noexcept {
  return a.device != b.device ? a.device < b.device : a.inode < b.inode;
}

// What tells a file from every other one that was or will be on its file system, under whatever name. An inode's number
// is handed out again at once when its file is deleted, hence the time of birth.
struct Identity {
  std::uint64_t fileSystem = 0;
  std::uint64_t inode = 0;
  std::int64_t bornSeconds = 0;
  std::int64_t bornNanoseconds = 0;
};

inline bool operator<(const Identity& a, const Identity& b) noexcept {
  return std::tie(a.inode, a.bornNanoseconds, a.bornSeconds, a.fileSystem) <
         std::tie(b.inode, b.bornNanoseconds, b.bornSeconds, b.fileSystem);
}
inline bool operator==(const Identity& a, const Identity& b) noexcept { return !(a < b) && !(b < a); }

}  // namespace folder_host
