#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"

namespace folder_host {

namespace {

// They come nearly in this order, and mostly in it, but a name may have bytes that are less than '/'.
void sort(std::vector<Entry>& entries) {
  const auto before = [](const Entry& a, const Entry& b) { return a.path < b.path; };
  if (!std::is_sorted(entries.begin(), entries.end(), before)) std::sort(entries.begin(), entries.end(), before);
}

// Walks with one descriptor open beside the top folder's, however deep the tree is.
// A descriptor a level would end at the limit of open files, in a tree a few hundred folders deep.
class Walk {
 public:
  explicit Walk(const std::string& folder) : top_(openFolder(folder)) { listing_.root = idOf(statusOf(top_)); }

  Listing run() {
    read({}, listing_.root);
    while (!pending_.empty()) {
      listing_.entries.push_back(std::move(pending_.back()));
      pending_.pop_back();
      const Entry& entry = listing_.entries.back();
      // A copy: the entries move as they become more.
      if (entry.kind == EntryKind::folder) read(std::string(entry.path), entry.id);
    }
    sort(listing_.entries);
    std::sort(listing_.skipped.begin(), listing_.skipped.end());
    std::sort(listing_.folders.begin(), listing_.folders.end());
    return std::move(listing_);
  }

 private:
  // What took the folder's place may be what another name was to hold back.
  void read(const std::string& folder, FileId id) {
    const std::string named = folder.empty() ? "." : folder;
    attempt(errors::ENTRY_UNREADABLE, "cannot list", named, [&] {
      const Descriptor opened = openBeneath(top_, named, O_RDONLY | O_DIRECTORY);
      if (!(idOf(statusOf(opened)) == id)) {
        throw Error(errors::ENTRY_CHANGED, inQuotes(folder) + " was replaced while it was being listed; try again");
      }
      listing_.folders.push_back(id);
      const auto known = static_cast<std::ptrdiff_t>(pending_.size());
      for (const FolderItem& item : readFolder(opened)) add(opened, folder, item);
      std::sort(pending_.begin() + known, pending_.end(), [](const auto& a, const auto& b) { return b.path < a.path; });
    });
  }

  void add(const Descriptor& opened, const std::string& folder, const FolderItem& item) {
    std::string path = joined(folder, item.name);
    if (path.size() >= PATH_MAX) throw Error(errors::PATH_TOO_LONG, "this path is too long: " + inQuotes(path));
    struct stat status {};
    if (::fstatat(opened.get(), item.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) return;  // removed since the folder was read
      throwErrno();
    }
    // The store's folder is no entry, but is known as one in which no destination may lie.
    if (path == STORE_FOLDER) {
      listing_.folders.push_back(idOf(status));
    } else {
      add(opened, std::move(path), item.name, status);
    }
  }

  void add(const Descriptor& opened, std::string path, const std::string& name, const struct stat& status) {
    const FileId id = idOf(status);
    const timespec& changed = status.st_ctim;
    if (S_ISDIR(status.st_mode)) {
      pending_.push_back({std::move(path), EntryKind::folder, {}, id, 0, changed});
    } else if (S_ISREG(status.st_mode)) {
      const auto size = static_cast<std::uint64_t>(status.st_size);
      pending_.push_back({std::move(path), EntryKind::file, {}, id, size, changed});
    } else if (S_ISLNK(status.st_mode)) {
      pending_.push_back({std::move(path), EntryKind::link, readLink(opened, name), id, 0, changed});
    } else {
      // To open a pipe may wait for ever, and to open a device may do something: what is no file is told of and never
      // opened.
      listing_.skipped.push_back(std::move(path));
    }
  }

  Descriptor top_;
  std::vector<Entry> pending_;  // still to be listed, a folder with what lies in it; the next one last
  Listing listing_;
};

}  // namespace

// '/' counts as the least byte.
bool beforeInTree(const std::string& path, const std::string& other) {
  const auto rank = [](char c) { return c == '/' ? 0 : 1 + static_cast<unsigned char>(c); };
  return std::lexicographical_compare(path.begin(), path.end(), other.begin(), other.end(),
                                      [&](char a, char b) { return rank(a) < rank(b); });
}

Listing listFolder(const std::string& folder) {
  return attempt(errors::ENTRY_UNREADABLE, "cannot list", folder, [&] { return Walk(folder).run(); });
}

}  // namespace folder_host
