#include "folder_host/share/read/CopyContent.h"

#include <fcntl.h>

#include <algorithm>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/files/Digest.h"
#include "folder_host/files/Path.h"

namespace folder_host {

CopyContent::~CopyContent() = default;

namespace {

template <class Read>
auto readingCopy(const std::string& path, const Read& read) {
  return attempt(errors::ENTRY_UNREADABLE, "cannot read", path, read);
}

class FolderCopy final : public CopyContent {
 public:
  explicit FolderCopy(std::string folder)
      : name_(std::move(folder)), folder_(readingCopy(name_, [&] { return openFolder(name_); })) {}

  // All of it is listed first: what was added to it is as much a difference as what is missing. No listing has the
  // store's folder, but the copy's store was handed out like all else.
  void forEach(const Wants& wants, const Visit& visit, const Told& told) override {
    each(listFolder(name_), "", wants, visit, told);
    struct stat status {};
    if (::fstatat(folder_.get(), STORE_FOLDER, &status, AT_SYMLINK_NOFOLLOW) != 0) return;
    Entry store{STORE_FOLDER, kindOf(status), {}};
    if (store.kind == EntryKind::link) store.target = readLink(folder_, STORE_FOLDER);
    const bool isOther = !S_ISDIR(status.st_mode) && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode);
    each(isOther ? Listing{{}, {STORE_FOLDER}} : Listing{{store}}, "", wants, visit, told);
    if (S_ISDIR(status.st_mode)) each(listFolder(name_ + "/" + STORE_FOLDER), STORE_FOLDER, wants, visit, told);
  }

  bool hasExactTimes() const noexcept override { return true; }

 private:
  static EntryKind kindOf(const struct stat& status) {
    if (S_ISLNK(status.st_mode)) return EntryKind::link;
    return S_ISDIR(status.st_mode) ? EntryKind::folder : EntryKind::file;
  }

  void each(const Listing& listing, const std::string& prefix, const Wants& wants, const Visit& visit,
            const Told& told) {
    for (const std::string& path : listing.skipped) {
      CopyEntry other{joined(prefix, path)};
      other.isOther = true;
      visit(std::move(other));
    }
    for (const Entry& listed : listing.entries) {
      CopyEntry entry{joined(prefix, listed.path), listed.kind, listed.target, listed.size, listed.modified};
      if (listed.kind != EntryKind::link) entry.mode = listed.mode;
      if (listed.kind == EntryKind::file && wants(entry)) readingCopy(entry.path, [&] { read(entry, told); });
      visit(std::move(entry));
    }
  }

  // The copy has been in other hands: a link must not lead out of it, and a pipe must not be waited for.
  void read(CopyEntry& entry, const Told& told) const {
    const Descriptor file = openBeneath(folder_, entry.path, O_RDONLY | O_NONBLOCK);
    entry.size = static_cast<std::uint64_t>(statusOf(file).st_size);
    entry.sha256 = sha256Of(file, told);
  }

  std::string name_;
  Descriptor folder_;
};

}  // namespace

std::unique_ptr<CopyContent> openFolderCopy(const std::string& folder) { return std::make_unique<FolderCopy>(folder); }

// No path has a zero byte in it, so no two copies give the same bytes; and lines are in the order of their paths.
void CopyDigest::add(const std::string& path, EntryKind kind, const std::string& target, std::uint64_t size) {
  if (!isEntryPath(path)) return;
  std::string line;
  line.reserve(path.size() + target.size() + 24);
  line.append(path).push_back('\0');
  if (kind == EntryKind::link) line.append("link ").append(target);
  if (kind == EntryKind::file) line.append("file ").append(std::to_string(size));
  if (kind == EntryKind::folder) line.append("folder");
  line.push_back('\0');
  lines_.push_back(std::move(line));
}

std::string CopyDigest::finish() {
  if (!std::is_sorted(lines_.begin(), lines_.end())) std::sort(lines_.begin(), lines_.end());
  Sha256 digest;
  for (const std::string& line : std::exchange(lines_, {})) digest.add(line);
  return digest.finish();
}

std::string digestOf(CopyContent& copy) {
  CopyDigest digest;
  copy.forEach([](const CopyEntry&) { return false; }, [&](const CopyEntry& entry) { digest.add(entry); },
               [](std::uint64_t) {});
  return digest.finish();
}

}  // namespace folder_host
