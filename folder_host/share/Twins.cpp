#include "folder_host/share/Twins.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Digest.h"
#include "folder_host/files/Path.h"
#include "folder_host/share/read/Source.h"

namespace folder_host {

namespace {

using Indices = std::vector<std::size_t>;

constexpr std::size_t BLOCK = 4096;

// Opens one file after the other. The folder of the last one stays open, for the next one mostly lies in it.
class Opener {
 public:
  explicit Opener(const Source& source) : source_(source) {}

  // None where it is no longer the file that was listed, or cannot be opened. A pipe may have taken its place since: to
  // open it must not wait.
  std::optional<Descriptor> open(const Entry& file) {
    if (file.id == source_.store) return std::nullopt;
    try {
      enter(parentOf(file.path));
      const std::string name(nameOf(file.path));
      Descriptor opened = openBeneath(folder_ ? *folder_ : source_.folder, name, O_RDONLY | O_NONBLOCK);
      const struct stat status = statusOf(opened);
      hasNames_ = status.st_nlink > 1;
      if (S_ISREG(status.st_mode) && idOf(status) == file.id) return opened;
    } catch (const std::system_error&) {
      // As good as gone.
    }
    return std::nullopt;
  }

  // Whether the file that was opened last has other names as well.
  bool hasNames() const noexcept { return hasNames_; }

 private:
  void enter(const std::string& folder) {
    if (folder == path_) return;
    path_.clear();
    folder_.reset();
    if (folder.empty()) return;
    folder_ = openBeneath(source_.folder, folder, O_PATH | O_DIRECTORY);
    path_ = folder;
  }

  const Source& source_;
  std::string path_;  // of the folder that is open; empty where none is but the project's
  std::optional<Descriptor> folder_;
  bool hasNames_ = false;
};

// A number of any bytes. It is no proof of anything: files whose numbers are the same are read to their ends.
std::uint64_t numberOf(std::string_view bytes) {
  constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15;
  // Side by side, since each has to wait for its own last word alone.
  std::array<std::uint64_t, 4> lanes{};
  for (; bytes.size() >= sizeof lanes; bytes.remove_prefix(sizeof lanes)) {
    std::array<std::uint64_t, 4> words{};
    std::memcpy(words.data(), bytes.data(), sizeof words);
    for (std::size_t i = 0; i < lanes.size(); ++i) lanes[i] = (lanes[i] ^ words[i]) * FACTOR;
  }
  std::uint64_t number = bytes.size();
  while (!bytes.empty()) {
    std::uint64_t word = 0;
    const std::size_t length = std::min(bytes.size(), sizeof word);
    std::memcpy(&word, bytes.data(), length);
    number = (number ^ word) * FACTOR;
    bytes.remove_prefix(length);
  }
  for (const std::uint64_t lane : lanes) number = ((number << 23U | number >> 41U) ^ lane) * FACTOR;
  return number;
}

// Of the file's first block; none where it cannot be read.
std::optional<std::uint64_t> firstBlockOf(Opener& opener, const Entry& file) {
  const auto opened = opener.open(file);
  if (!opened) return std::nullopt;
  std::array<char, BLOCK> block{};
  std::size_t size = 0;
  while (size < block.size()) {
    const ssize_t length = ::read(opened->get(), block.data() + size, block.size() - size);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) return std::nullopt;
    size += static_cast<std::size_t>(length);
    if (length == 0 || size >= file.size) break;
  }
  return numberOf({block.data(), size});
}

// Of the whole file; empty where it cannot be read.
std::string digestOf(Opener& opener, const Entry& file) {
  const auto opened = opener.open(file);
  if (!opened) return {};
  try {
    return sha256Of(*opened, [](std::uint64_t) {});
  } catch (const std::system_error&) {
    return {};
  }
}

// A file whose size, not zero, a file of the other kind has, too: held back the one, shared the other.
struct Candidate {
  std::uint64_t size;
  std::size_t file;
  bool isRead = false;
  std::uint64_t block = 0;  // the number of its first block

  // Those of one block come together, of these the shared ones first.
  auto order(const Selection& heldBack) const { return std::tuple(size, isRead, block, heldBack[file], file); }
};

using Candidates = std::vector<Candidate>;

// Calls with the begin and the end of each run of candidates that are the same by `key`.
template <class Key, class Visit>
void forEachRun(Candidates::const_iterator begin, Candidates::const_iterator end, const Key& key, const Visit& visit) {
  while (begin != end) {
    const auto next = std::find_if(begin, end, [&](const Candidate& one) { return key(one) != key(*begin); });
    visit(begin, next);
    begin = next;
  }
}

class Comparison {
 public:
  Comparison(const EntryTable& entries, const Selection& heldBack, const Source& source)
      : entries_(entries), heldBack_(heldBack), opener_(source) {}

  std::vector<Twins> run(Candidates candidates) {
    readBlocks(candidates);
    std::sort(candidates.begin(), candidates.end(),
              [&](const Candidate& a, const Candidate& b) { return a.order(heldBack_) < b.order(heldBack_); });
    forEachRun(
        candidates.begin(), candidates.end(), [](const Candidate& one) { return one.size; },
        [&](auto begin, auto end) { compareBlocks(begin, end); });
    std::sort(found_.begin(), found_.end(), [](const Twins& a, const Twins& b) { return a.shared < b.shared; });
    return std::move(found_);
  }

 private:
  // In the order of the listing, which is nearly that of the folders.
  void readBlocks(Candidates& candidates) {
    std::map<FileId, std::uint64_t> known;  // one file is its own twin, also while somebody writes to it
    for (Candidate& one : candidates) {
      if (const auto block = firstBlockOf(opener_, entries_[one.file])) {
        one.isRead = true;
        one.block = opener_.hasNames() ? known.emplace(entries_[one.file].id, *block).first->second : *block;
      }
    }
  }

  // Of files of one size. Where what is held back cannot be read, any file of its size may be its twin. A file that is
  // shared and cannot be read is refused when it is copied, and needs no second refusal here.
  void compareBlocks(Candidates::const_iterator begin, Candidates::const_iterator end) {
    const bool isUnread =
        std::any_of(begin, end, [&](const Candidate& one) { return !one.isRead && heldBack_[one.file]; });
    if (isUnread) return add({}, filesOf(begin, end));
    forEachRun(
        begin, end, [](const Candidate& one) { return std::pair(one.isRead, one.block); },
        [&](auto first, auto last) {
          if (first->isRead && isMixed(first, last)) compareWhole(filesOf(first, last));
        });
  }

  void compareWhole(const Indices& files) {
    std::map<std::string, Indices> byDigest;
    std::map<FileId, std::string> read;  // names of one file
    for (const std::size_t file : files) {
      std::string& digest = read[entries_[file].id];
      if (digest.empty()) digest = digestOf(opener_, entries_[file]);
      byDigest[digest].push_back(file);
    }
    const auto unread = byDigest.find({});
    if (unread != byDigest.end() && isHeldBack(unread->second.back())) return add({}, files);
    for (const auto& [digest, same] : byDigest) {
      if (!digest.empty() && isHeldBack(same.back()) && !isHeldBack(same.front())) add(digest, same);
    }
  }

  bool isHeldBack(std::size_t file) const { return heldBack_[file]; }

  // What is held back stands behind what is shared.
  bool isMixed(Candidates::const_iterator begin, Candidates::const_iterator end) const {
    return !heldBack_[begin->file] && heldBack_[(end - 1)->file];
  }

  static Indices filesOf(Candidates::const_iterator begin, Candidates::const_iterator end) {
    Indices files;
    std::transform(begin, end, std::back_inserter(files), [](const Candidate& one) { return one.file; });
    return files;
  }

  void add(const std::string& digest, const Indices& files) {
    Twins twins{digest, {}, {}};
    for (const std::size_t file : files) (heldBack_[file] ? twins.heldBack : twins.shared).push_back(file);
    std::sort(twins.heldBack.begin(), twins.heldBack.end());
    std::sort(twins.shared.begin(), twins.shared.end());
    found_.push_back(std::move(twins));
  }

  const EntryTable& entries_;
  const Selection& heldBack_;
  Opener opener_;
  std::vector<Twins> found_;
};

// Of the files that are selected, sorted, each once; only those that are among `others`, where these are given.
std::vector<std::uint64_t> sizesOf(const EntryTable& entries, const Selection& selected,
                                   const std::vector<std::uint64_t>* others = nullptr) {
  std::vector<std::uint64_t> sizes;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Entry& entry = entries[i];
    if (!selected[i] || entry.kind != EntryKind::file || entry.size == 0) continue;
    if (others == nullptr || std::binary_search(others->begin(), others->end(), entry.size))
      sizes.push_back(entry.size);
  }
  std::sort(sizes.begin(), sizes.end());
  sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
  return sizes;
}

}  // namespace

// Almost no two files of a project have one size, so sizes alone rule nearly all of them out; what is left is mostly
// told apart by its first block. Only true twins are read to their ends.
std::vector<Twins> twinsAmong(const std::string& root, const EntryTable& entries, const Selection& shared,
                              const Selection& heldBack) {
  const std::vector<std::uint64_t> ofHeldBack = sizesOf(entries, heldBack);
  const std::vector<std::uint64_t> mixed = sizesOf(entries, shared, &ofHeldBack);
  Candidates candidates;
  for (std::size_t i = 0; i < entries.size() && !mixed.empty(); ++i) {
    const Entry& entry = entries[i];
    const bool isAsked = entry.kind == EntryKind::file && (shared[i] || heldBack[i]);
    if (isAsked && std::binary_search(mixed.begin(), mixed.end(), entry.size)) candidates.push_back({entry.size, i});
  }
  const Source source(root);
  return Comparison(entries, heldBack, source).run(std::move(candidates));
}

std::string digestOf(const std::string& root, const Entry& file) {
  const Source source(root);
  Opener opener(source);
  return digestOf(opener, file);
}

}  // namespace folder_host
