#pragma once

#include <sys/types.h>

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

}  // namespace folder_host
