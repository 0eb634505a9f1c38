#include "folder_host/share/Unchanged.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <utility>

#include "folder_host/files/Times.h"
#include "folder_host/share/sinks/Takeover.h"

namespace folder_host {

namespace {

class Unchanged {
 public:
  Unchanged(const EarlierCopy& earlier, const CopyNotes& notes, const Source& source)
      : earlier_(earlier), notes_(notes), reader_(source) {}

  std::optional<Written> written(const Entry& entry, std::string_view path) {
    const auto found = earlier_.seen.find(std::string(path));
    if (found == earlier_.seen.end() || found->second.owner != ::geteuid()) return std::nullopt;
    const EntryState& seen = found->second;
    const bool isSame = entry.kind == EntryKind::file     ? isSameFile(entry, path, seen)
                        : entry.kind == EntryKind::folder ? isSameFolder(reader_.open(entry), seen)
                                                          : isSameLink(reader_.open(entry), seen);
    if (!isSame) return std::nullopt;
    const mode_t mode = entry.kind == EntryKind::link ? 0 : seen.mode & 07777U;
    return Written{entry.kind == EntryKind::file ? seen.stamp.size : 0, seen.stamp.modified, mode};
  }

  bool isTopSame() { return isSameFolder(reader_.openTop(), earlier_.seen.at({})); }

  // With the modes that FolderSink gives it.
  bool isStoreSame(const std::string& store) const {
    const mode_t mode = earlier_.seen.at({}).mode;
    const auto folder = earlier_.seen.find(STORE_FOLDER), file = earlier_.seen.find(STORE_FILE);
    if (folder == earlier_.seen.end() || file == earlier_.seen.end()) return store.empty() && folder == file;
    const EntryState& above = folder->second;
    const EntryState& seen = file->second;
    if (above.mode != (S_IFDIR | (mode & 0777U) | 0700U) || seen.mode != (S_IFREG | (mode & 0666U) | 0600U))
      return false;
    if (above.owner != ::geteuid() || seen.owner != ::geteuid() || seen.links != 1) return false;
    if (store.empty() || seen.stamp.size != store.size() || !isBare(STORE_FOLDER)) return false;
    const Descriptor opened = openBeneath(earlier_.folder, STORE_FILE, O_RDONLY | O_NONBLOCK);
    return readAt(opened, store.size() + 1, 0) == store && ::flistxattr(opened.get(), nullptr, 0) == 0;
  }

 private:
  bool isSameFile(const Entry& entry, std::string_view path, const EntryState& seen) const {
    const auto noted = notes_.find(path);
    return noted && S_ISREG(seen.mode) && seen.links == 1 && noted->copy == seen.stamp &&
           noted->source == stampOf(entry);
  }

  // Folders are in no notes: an access list may have come, of either, that the mode does not show.
  bool isSameFolder(const OpenEntry& folder, const EntryState& seen) const {
    return S_ISDIR(seen.mode) && (seen.mode & 07777U) == folder.permissions &&
           isSameTime(folder.status.st_mtim, seen.stamp.modified) && isBare(std::string(folder.path));
  }

  bool isSameLink(const OpenEntry& link, const EntryState& seen) const {
    return S_ISLNK(seen.mode) && isSameTime(link.status.st_mtim, seen.stamp.modified) &&
           readLink(openBeneath(earlier_.folder, std::string(link.path), O_PATH), "") == link.entry.target;
  }

  bool isBare(const std::string& folder) const {
    const Descriptor opened = openBeneath(earlier_.folder, folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY);
    return ::flistxattr(opened.get(), nullptr, 0) == 0;
  }

  const EarlierCopy& earlier_;
  const CopyNotes& notes_;
  EntryReader reader_;
};

}  // namespace

std::optional<std::vector<Written>> writtenBefore(const EarlierCopy& earlier, const CopyNotes& notes,
                                                  const Source& source, const std::vector<const Entry*>& entries,
                                                  const std::string& store) {
  const std::size_t others = store.empty() ? 1 : 3;  // the copy's folder; its store and the folder of that
  if (earlier.seen.size() != entries.size() + others) return std::nullopt;
  Unchanged unchanged(earlier, notes, source);
  if (!unchanged.isTopSame() || !unchanged.isStoreSame(store)) return std::nullopt;
  const std::size_t below = source.top.path.empty() ? 0 : source.top.path.size() + 1;
  std::vector<Written> all;
  all.reserve(entries.size());
  for (const Entry* entry : entries) {
    const auto written = unchanged.written(*entry, std::string_view(entry->path).substr(below));
    if (!written) return std::nullopt;
    all.push_back(*written);
  }
  return all;
}

}  // namespace folder_host
