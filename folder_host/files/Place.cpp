#include "folder_host/files/Place.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "folder_host/files/FolderState.h"
#include "folder_host/text/FoldedName.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

// Behind a slash there is no name, and the name is what will be made.
std::string trimmed(std::string named) {
  const auto endsWith = [&](std::string_view end) {
    return named.size() > end.size() && named.compare(named.size() - end.size(), end.size(), end) == 0;
  };
  while (endsWith("/") || endsWith("/.")) named.resize(named.rfind('/'));
  return named;
}

Descriptor openAbove(const Descriptor& folder) {
  return Descriptor(check(::openat(folder.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC)));
}

}  // namespace

std::string Place::path() const { return (fs::path(parentPath) / name).string(); }

Place placeOf(const std::string& named) {
  const fs::path path = fs::path(".") / trimmed(named);
  const std::string name = path.filename().string();
  std::string parent = fs::canonical(path.parent_path()).string();
  return {openFolder(parent), std::move(parent), name.empty() ? "." : name, false};
}

// A link is something, wherever it leads: to follow it would be to write elsewhere.
bool isTaken(const Place& place) {
  struct stat status {};
  if (::fstatat(place.parent.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return true;
  if (errno != ENOENT) throwErrno();
  return false;
}

// What somebody else made, or mounted, has a purpose that its being empty does not tell; and whoever stands in a folder
// that is replaced stands nowhere.
bool givesWay(const Place& place) {
  const EntryState there = stateIn(place.parent, place.name);
  if (!S_ISDIR(there.mode) || there.owner != ::geteuid() || there.isMountPoint) return false;
  const EntryState here = stateIn(Descriptor(AT_FDCWD), ".");
  if (here.stamp.inode == there.stamp.inode && here.device == there.device) return false;
  return readFolder(openBeneath(place.parent, place.name, O_RDONLY | O_DIRECTORY)).empty();
}

// Asked of the folders themselves on the way up, since a text cannot tell: a bind mount, a link or another case gives
// one folder several paths.
bool liesIn(const Place& place, const std::vector<FileId>& folders) {
  Descriptor folder = openBeneath(place.parent, ".", O_PATH | O_DIRECTORY);
  for (FileId id = idOf(statusOf(folder));;) {
    if (std::binary_search(folders.begin(), folders.end(), id)) return true;
    folder = openAbove(folder);
    if (id == std::exchange(id, idOf(statusOf(folder)))) return false;
  }
}

// What lies below it cannot be resolved as long as there is nothing: then whatever above that can be. Names are
// compared folded: where case makes no difference, the two would be one place.
bool isWithin(const std::string& named, const Place& place) {
  for (fs::path path = trimmed(named); !path.empty(); path = path.parent_path()) {
    try {
      const Place other = placeOf(path.string());
      return idOf(statusOf(other.parent)) == idOf(statusOf(place.parent)) &&
             foldedName(other.name) == foldedName(place.name);
    } catch (const std::system_error&) {
      if (!path.has_relative_path()) return false;
    }
  }
  return false;
}

}  // namespace folder_host
