#include "folder_host/files/FolderState.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <system_error>
#include <vector>

#include "folder_host/files/Digest.h"
#include "folder_host/files/Times.h"
#include "folder_host/text/Packing.h"

namespace folder_host {

bool isSameButChanged(const Stamp& a, const Stamp& b) noexcept {
  return a.inode == b.inode && a.size == b.size && isSameTime(a.modified, b.modified) && isSameTime(a.born, b.born);
}

bool operator==(const Stamp& a, const Stamp& b) noexcept {
  return isSameButChanged(a, b) && isSameTime(a.changed, b.changed);
}

EntryState stateIn(const Descriptor& folder, const std::string& name) {
  struct statx status {};
  const int flags = AT_SYMLINK_NOFOLLOW | (name.empty() ? AT_EMPTY_PATH : 0);
  check(::statx(folder.get(), name.c_str(), flags, STATX_BASIC_STATS | STATX_BTIME, &status));
  EntryState state;
  state.stamp = {status.stx_ino, status.stx_size, timeOf(status.stx_mtime), timeOf(status.stx_ctime), {}};
  if ((status.stx_mask & STATX_BTIME) != 0) state.stamp.born = timeOf(status.stx_btime);
  state.device = makedev(status.stx_dev_major, status.stx_dev_minor);
  state.mode = status.stx_mode;
  state.owner = status.stx_uid;
  state.group = status.stx_gid;
  state.links = status.stx_nlink;
  state.isMountPoint = (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  return state;
}

FolderState stateOf(const Descriptor& folder) {
  FolderState all{{"", stateIn(folder, "")}};
  std::vector<std::string> folders = {""};
  while (!folders.empty()) {
    const std::string path = std::move(folders.back());
    folders.pop_back();
    const Descriptor opened = openBeneath(folder, path.empty() ? "." : path, O_RDONLY | O_DIRECTORY);
    for (const FolderItem& item : readFolder(opened)) {
      const EntryState state = stateIn(opened, item.name);
      const std::string below = joined(path, item.name);
      if (state.isMountPoint) throw std::system_error(EBUSY, std::generic_category());
      if (S_ISDIR(state.mode)) folders.push_back(below);
      all.emplace(below, state);
    }
  }
  return all;
}

// A rename sets the time of change of the folder itself, too.
std::string digestOf(const FolderState& state) {
  Sha256 digest;
  std::string bytes;
  for (const auto& [path, entry] : state) {
    putText(bytes, path);
    for (const std::uint64_t number : {entry.stamp.inode, entry.stamp.size, std::uint64_t{entry.mode},
                                       std::uint64_t{entry.owner}, std::uint64_t{entry.group}})
      putNumber(bytes, number);
    putTime(bytes, entry.stamp.modified);
    putTime(bytes, path.empty() ? timespec{} : entry.stamp.changed);
    digest.add(bytes);
    bytes.clear();
  }
  return digest.finish();
}

}  // namespace folder_host
