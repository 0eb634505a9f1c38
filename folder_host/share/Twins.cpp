#include "folder_host/share/Twins.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <system_error>
#include <tuple>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Digest.h"
#include "folder_host/share/read/Source.h"

namespace folder_host {

namespace {

using Indices = std::vector<std::size_t>;

constexpr std::uint64_t BLOCK = 4096;

// The digest of a file's first block, or of the whole file; empty where it cannot be read. A pipe may have taken the
// file's place since it was listed: to open it must not wait.
std::string digestOf(const Source& source, const Entry& file, bool whole) {
  if (file.id == source.store) return {};
  try {
    const Descriptor opened = openBeneath(source.folder, file.path, O_RDONLY | O_NONBLOCK);
    const struct stat status = statusOf(opened);
    if (!S_ISREG(status.st_mode) || !(idOf(status) == file.id)) return {};
    return sha256Of(
        opened, [](std::uint64_t) {}, whole ? UINT64_MAX : BLOCK);
  } catch (const std::system_error&) {
    return {};
  }
}

// Files of one size.
class Group {
 public:
  Group(const EntryTable& entries, const Selection& heldBack, const Source& source)
      : entries_(entries), heldBack_(heldBack), source_(source) {}

  void compare(const Indices& files, std::vector<Twins>& found) const { compare(files, false, found); }

 private:
  // By the first block, and then, where that is not all of them, by the whole.
  void compare(const Indices& files, bool whole, std::vector<Twins>& found) const {
    std::map<std::string, Indices> byDigest;
    std::map<FileId, std::string> read;  // names of one file
    for (const std::size_t file : files) {
      std::string& digest = read[entries_[file].id];
      if (digest.empty()) digest = digestOf(source_, entries_[file], whole);
      byDigest[digest].push_back(file);
    }
    // Where what is held back cannot be read, any file of its size may be its twin. A file that is shared and cannot be
    // read is refused when it is copied, and needs no second refusal here.
    const auto unread = byDigest.find({});
    if (unread != byDigest.end() && isHeldBackAmong(unread->second)) return add({}, files, found);
    for (const auto& [digest, same] : byDigest) {
      if (digest.empty() || !isMixed(same)) continue;
      if (whole || entries_[same.front()].size <= BLOCK) {
        add(digest, same, found);
      } else {
        compare(same, true, found);
      }
    }
  }

  bool isHeldBackAmong(const Indices& files) const {
    return std::any_of(files.begin(), files.end(), [&](std::size_t file) { return heldBack_[file]; });
  }

  bool isMixed(const Indices& files) const {
    return isHeldBackAmong(files) &&
           !std::all_of(files.begin(), files.end(), [&](auto file) { return heldBack_[file]; });
  }

  void add(const std::string& digest, const Indices& files, std::vector<Twins>& found) const {
    Twins twins{digest, {}, {}};
    for (const std::size_t file : files) (heldBack_[file] ? twins.heldBack : twins.shared).push_back(file);
    found.push_back(std::move(twins));
  }

  const EntryTable& entries_;
  const Selection& heldBack_;
  const Source& source_;
};

}  // namespace

// Almost no two files of a project have one size, so sizes alone rule nearly all of them out; what is left is mostly
// told apart by its first block. Only true twins are read to their ends.
std::vector<Twins> twinsAmong(const std::string& root, const EntryTable& entries, const Selection& shared,
                              const Selection& heldBack) {
  std::map<std::uint64_t, Indices> bySize;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].kind == EntryKind::file && entries[i].size > 0 && heldBack[i]) bySize[entries[i].size].push_back(i);
  }
  std::map<std::uint64_t, Indices> mixed;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto size = entries[i].kind == EntryKind::file && shared[i] ? bySize.find(entries[i].size) : bySize.end();
    if (size != bySize.end()) mixed[size->first].push_back(i);
  }
  std::vector<Twins> found;
  const Source source(root);
  const Group group(entries, heldBack, source);
  for (auto& [size, files] : mixed) {
    const Indices& held = bySize[size];
    files.insert(files.end(), held.begin(), held.end());
    group.compare(files, found);
  }
  std::sort(found.begin(), found.end(), [](const Twins& a, const Twins& b) { return a.shared < b.shared; });
  return found;
}

std::string digestOf(const std::string& root, const Entry& file) { return digestOf(Source(root), file, true); }

}  // namespace folder_host
