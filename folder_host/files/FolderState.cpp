#include "folder_host/files/FolderState.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <system_error>
#include <tuple>
#include <vector>

#include "folder_host/files/Digest.h"
#include "folder_host/text/Packing.h"

namespace folder_host {

namespace {

timespec stampedAt(const statx_timestamp& time) { return {time.tv_sec, static_cast<long>(time.tv_nsec)}; }

auto whenOf(const timespec& time) { return std::make_tuple(time.tv_sec, time.tv_nsec); }

void putMoment(std::string& bytes, const timespec& time) {
  putNumber(bytes, static_cast<std::uint64_t>(time.tv_sec));
  putNumber(bytes, static_cast<std::uint64_t>(time.tv_nsec));
}

}  // namespace

bool isSameButChanged(const Stamp& a, const Stamp& b) noexcept {
  return a.inode == b.inode && a.size == b.size && whenOf(a.modified) == whenOf(b.modified) &&
         whenOf(a.born) == whenOf(b.born);
}

bool operator==(const Stamp& a, const Stamp& b) noexcept {
  return isSameButChanged(a, b) && whenOf(a.changed) == whenOf(b.changed);
}

EntryState stateIn(const Descriptor& folder, const std::string& name) {
  struct statx status {};
  const int flags = AT_SYMLINK_NOFOLLOW | (name.empty() ? AT_EMPTY_PATH : 0);
  check(::statx(folder.get(), name.c_str(), flags, STATX_BASIC_STATS | STATX_BTIME, &status));
  EntryState state;
  state.stamp = {status.stx_ino, status.stx_size, stampedAt(status.stx_mtime), stampedAt(status.stx_ctime), {}};
  if ((status.stx_mask & STATX_BTIME) != 0) state.stamp.born = stampedAt(status.stx_btime);
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
  constexpr std::size_t ENOUGH = std::size_t{1} << 20U;
  std::string bytes;
  for (const auto& [path, entry] : state) {
    putText(bytes, path);
    for (const std::uint64_t number : {entry.stamp.inode, entry.stamp.size, std::uint64_t{entry.mode},
                                       std::uint64_t{entry.owner}, std::uint64_t{entry.group}})
      putNumber(bytes, number);
    putMoment(bytes, entry.stamp.modified);
    putMoment(bytes, path.empty() ? timespec{} : entry.stamp.changed);
    if (bytes.size() > ENOUGH) bytes = sha256Of(bytes);
  }
  return sha256Of(bytes);
}

}  // namespace folder_host
