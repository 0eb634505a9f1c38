#include "folder_host/files/Listing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <set>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Times.h"

namespace folder_host {

namespace {

// They come nearly in this order, and mostly in it, but a name may have bytes that are less than '/'.
void sort(std::vector<Entry>& entries) {
  const auto before = [](const Entry& a, const Entry& b) { return a.path < b.path; };
  if (!std::is_sorted(entries.begin(), entries.end(), before)) std::sort(entries.begin(), entries.end(), before);
}

// Here inode numbers are made up at each mount, or by whoever answers: FUSE, FAT, exFAT, CIFS and SMB 2, 9P.
bool keepsInodes(const struct statfs& status) {
  constexpr std::array<std::uint32_t, 6> FLEETING = {0x65735546, 0x4D44,     0x2011BAB0,
                                                     0xFF534D42, 0xFE534D42, 0x01021997};
  return std::find(FLEETING.begin(), FLEETING.end(), static_cast<std::uint32_t>(status.f_type)) == FLEETING.end();
}

// Walks with one descriptor open beside the top folder's, however deep the tree is.
// A descriptor a level would end at the limit of open files, in a tree a few hundred folders deep.
class Walk {
 public:
  explicit Walk(const std::string& folder) : top_(openFolder(folder)) {
    listing_.root = idOf(statusOf(top_));
    ::clock_gettime(CLOCK_REALTIME_COARSE, &listing_.begun);  // the clock that entries are stamped by
  }

  Listing run() {
    read({}, listing_.root);
    while (!pending_.empty()) {
      listing_.entries.push_back(std::move(pending_.back()));
      pending_.pop_back();
      const Entry& entry = listing_.entries.back();
      // A copy: the entries move as they become more.
      if (entry.kind == EntryKind::folder) read(std::string(entry.path), entry.id);
    }
    listing_.entries.shrink_to_fit();
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
      addFileSystem(opened, id.device);
      const auto known = static_cast<std::ptrdiff_t>(pending_.size());
      for (const FolderItem& item : readFolder(opened)) add(opened, folder, item);
      std::sort(pending_.begin() + known, pending_.end(), [](const auto& a, const auto& b) { return b.path < a.path; });
    });
  }

  // The device's number changes from start to start of the machine; the file system's own does not.
  void addFileSystem(const Descriptor& opened, dev_t device) {
    if (!asked_.insert(device).second) return;
    struct statfs status {};
    static_assert(sizeof status.f_fsid == sizeof(std::uint64_t));
    std::uint64_t number = 0;
    if (::fstatfs(opened.get(), &status) == 0 && keepsInodes(status))
      std::memcpy(&number, &status.f_fsid, sizeof number);
    if (number != 0) listing_.fileSystems.emplace(device, number);
  }

  void add(const Descriptor& opened, const std::string& folder, const FolderItem& item) {
    std::string path = joined(folder, item.name);
    if (path.size() >= PATH_MAX)
      throw Error(errors::PATH_TOO_LONG, "this path is too long; shorten its names: " + inQuotes(path));
    struct statx status {};
    if (::statx(opened.get(), item.name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
      if (errno == ENOENT) return;  // removed since the folder was read
      throwErrno();
    }
    const FileId id{makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
    // The store's folder is no entry, but is known as one in which no destination may lie.
    if (path == STORE_FOLDER) {
      listing_.folders.push_back(id);
    } else {
      add(opened, {std::move(path), EntryKind::file, {}, id}, item.name, status);
    }
  }

  void add(const Descriptor& opened, Entry entry, const std::string& name, const struct statx& status) {
    entry.changed = timeOf(status.stx_ctime);
    entry.modified = timeOf(status.stx_mtime);
    entry.mode = status.stx_mode & 07777U;
    if ((status.stx_mask & STATX_BTIME) != 0) entry.born = timeOf(status.stx_btime);
    if (S_ISDIR(status.stx_mode)) {
      entry.kind = EntryKind::folder;
    } else if (S_ISREG(status.stx_mode)) {
      entry.size = status.stx_size;
    } else if (S_ISLNK(status.stx_mode)) {
      entry.kind = EntryKind::link;
      entry.target = readLink(opened, name);
    } else {
      // To open a pipe may wait for ever, and to open a device may do something: what is no file is told of and never
      // opened.
      listing_.skipped.push_back(std::move(entry.path));
      return;
    }
    pending_.push_back(std::move(entry));
  }

  Descriptor top_;
  std::vector<Entry> pending_;  // still to be listed, a folder with what lies in it; the next one last
  std::set<dev_t> asked_;       // for their file systems
  Listing listing_;
};

}  // namespace

// '/' counts as the least byte.
bool beforeInTree(const std::string& path, const std::string& other) {
  const auto rank = [](char c) { return c == '/' ? 0 : 1 + static_cast<unsigned char>(c); };
  return std::lexicographical_compare(path.begin(), path.end(), other.begin(), other.end(),
                                      [&](char a, char b) { return rank(a) < rank(b); });
}

std::optional<Identity> Listing::identityOf(const Entry& entry) const {
  const auto system = fileSystems.find(entry.id.device);
  if (system == fileSystems.end() || (entry.born.tv_sec == 0 && entry.born.tv_nsec == 0)) return std::nullopt;
  return Identity{system->second, entry.id.inode, entry.born.tv_sec, entry.born.tv_nsec};
}

Listing listFolder(const std::string& folder) {
  return attempt(errors::ENTRY_UNREADABLE, "cannot list", folder, [&] { return Walk(folder).run(); });
}

}  // namespace folder_host
