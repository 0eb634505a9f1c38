#include "folder_host/share/read/ArchiveContent.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "folder_host/Error.h"
#include "folder_host/files/Digest.h"
#include "folder_host/share/read/ZipDirectory.h"
#include "folder_host/text/Utf8Locale.h"

namespace folder_host {

namespace {

constexpr std::size_t READ_SIZE = std::size_t{1} << 16U;  // whole blocks of a tar
constexpr std::uint64_t TAR_BLOCK = 512;
constexpr std::uint64_t LONGEST_HEAD = std::uint64_t{1} << 22U;
constexpr std::uint64_t LONGEST_PADDING = std::uint64_t{1} << 20U;  // zeros behind the end
constexpr std::uint64_t MOST_NAMES = std::uint64_t{1} << 29U;
constexpr std::uint64_t NAME_ROOM = 96;  // the room that each takes beside its bytes

enum class Packing { none, gzip, zstd, zip };

Error noCopy(const std::string& named, const std::string& why) {
  return {errors::ARCHIVE_UNREADABLE,
          "cannot read " + inQuotes(named) + " as a copy: " + why + "; ask for it once more, or share again"};
}

struct FreeReader {
  void operator()(archive* reader) const { ::archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, FreeReader>;

Reader newReader() {
  Reader reader(::archive_read_new());
  if (!reader) throw std::bad_alloc();
  return reader;
}

// A warning is a failure, too: what was passed over could mean something to another reader.
void requireRead(const Reader& reader, const std::string& named, int result) {
  if (result == ARCHIVE_OK) return;
  const char* why = ::archive_error_string(reader.get());
  throw noCopy(named, why != nullptr ? why : "it is damaged");
}

// What a file holds, expanded, block by block; all of them are whole but the last.
class Stream {
 public:
  Stream(const Descriptor& file, Packing packing, const std::string& named, std::uint64_t most)
      : file_(file), named_(named), most_(most), buffer_(READ_SIZE) {
    if (packing == Packing::none) return;
    expander_ = newReader();
    archive* const from = expander_.get();
    requireRead(expander_, named_, ::archive_read_support_format_raw(from));
    // Exactly this filter: what is compressed twice is no copy.
    requireRead(
        expander_, named_,
        ::archive_read_append_filter(from, packing == Packing::gzip ? ARCHIVE_FILTER_GZIP : ARCHIVE_FILTER_ZSTD));
    check(::lseek(file_.get(), 0, SEEK_SET));
    requireRead(expander_, named_, ::archive_read_open_fd(from, file_.get(), READ_SIZE));
    archive_entry* head = nullptr;
    requireRead(expander_, named_, ::archive_read_next_header(from, &head));
  }

  // Empty at the end.
  std::string_view next() {
    block_ = {buffer_.data(), expander_ ? expand() : read()};
    at_ += block_.size();
    spent_ += block_.size();
    if (at_ > most_)
      throw noCopy(
          named_, "it expands to more than a copy should; if it is one, name its receipt (verify COPY --receipt FILE)");
    if (spent_ > allowed_) throw noCopy(named_, "the head of an entry is too long");
    return block_;
  }

  // Gives how far it came: only what was not compressed can be passed over, and none of its last block.
  std::uint64_t skip(std::uint64_t wanted) {
    if (expander_) return 0;
    const auto size = static_cast<std::uint64_t>(statusOf(file_).st_size);
    const std::uint64_t left = size > at_ + READ_SIZE ? (size - at_ - READ_SIZE) / READ_SIZE * READ_SIZE : 0;
    const std::uint64_t skipped = std::min(wanted / READ_SIZE * READ_SIZE, left);
    at_ += skipped;
    return skipped;
  }

  // How much may be given out from here on.
  void allow(std::uint64_t bytes) {
    spent_ = 0;
    allowed_ = bytes;
  }

  // Whether nothing but zeros is left from there on, and nothing behind what was expanded.
  bool endsAt(std::uint64_t end) {
    allow(LONGEST_PADDING);
    if (end > at_ || at_ - end > block_.size()) return false;
    block_.remove_prefix(block_.size() - static_cast<std::size_t>(at_ - end));
    for (; !block_.empty(); next()) {
      if (block_.find_first_not_of('\0') != std::string_view::npos) return false;
    }
    return !expander_ || ::archive_filter_bytes(expander_.get(), -1) == statusOf(file_).st_size;
  }

 private:
  std::size_t read() {
    return attempt(errors::ARCHIVE_UNREADABLE, "cannot read", named_,
                   [&] { return readAt(file_, buffer_.data(), READ_SIZE, at_); });
  }

  std::size_t expand() {
    std::size_t size = 0;
    while (size < READ_SIZE) {
      const la_ssize_t length = ::archive_read_data(expander_.get(), buffer_.data() + size, READ_SIZE - size);
      if (length < 0) requireRead(expander_, named_, ARCHIVE_FATAL);
      if (length == 0) break;
      size += static_cast<std::size_t>(length);
    }
    return size;
  }

  const Descriptor& file_;
  const std::string& named_;
  const std::uint64_t most_;
  Reader expander_;
  std::vector<char> buffer_;
  std::string_view block_;
  std::uint64_t at_ = 0;
  std::uint64_t spent_ = 0, allowed_ = LONGEST_HEAD;
};

// Takes each name once, and so many.
class Names {
 public:
  explicit Names(const std::string& named) : named_(named) {}
  void add(const std::string& path) {
    room_ += path.size() + NAME_ROOM;
    if (room_ > MOST_NAMES) throw noCopy(named_, "it holds too many entries");
    if (!names_.insert(path).second) throw noCopy(named_, inQuotes(path) + " is in it twice");
  }

 private:
  const std::string& named_;
  std::set<std::string> names_;  // no hash: names could be made up that have one
  std::uint64_t room_ = 0;
};

CopyEntry entryOf(archive_entry* head, const std::string& named) {
  const char* path = ::archive_entry_pathname(head);
  if (path == nullptr) throw noCopy(named, "an entry has no name");
  if (::archive_entry_sparse_count(head) > 0) throw noCopy(named, inQuotes(path) + " is sparse");
  const mode_t type = ::archive_entry_filetype(head);
  CopyEntry entry{path};
  entry.kind = S_ISDIR(type) ? EntryKind::folder : S_ISLNK(type) ? EntryKind::link : EntryKind::file;
  entry.isOther = ::archive_entry_hardlink(head) != nullptr || !(S_ISREG(type) || S_ISDIR(type) || S_ISLNK(type));
  if (entry.kind == EntryKind::folder && entry.path.size() > 1 && entry.path.back() == '/') entry.path.pop_back();
  if (const char* target = ::archive_entry_symlink(head); target != nullptr && S_ISLNK(type)) entry.target = target;
  if (entry.kind == EntryKind::file) entry.size = static_cast<std::uint64_t>(::archive_entry_size(head));
  if (entry.kind != EntryKind::link) entry.mode = ::archive_entry_perm(head);
  entry.modified = {::archive_entry_mtime(head), 0};
  return entry;
}

std::string digestOf(const Reader& reader, const CopyEntry& entry, const std::string& named,
                     const CopyContent::Told& told) {
  Sha256 digest;
  std::uint64_t at = 0;
  while (true) {
    const void* bytes = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    const int result = ::archive_read_data_block(reader.get(), &bytes, &size, &offset);
    if (result == ARCHIVE_EOF) break;
    requireRead(reader, named, result);
    if (size > 0 && static_cast<std::uint64_t>(offset) != at) throw noCopy(named, inQuotes(entry.path) + " is sparse");
    digest.add({static_cast<const char*>(bytes), size});
    at += size;
    told(size);
  }
  if (at != entry.size) throw noCopy(named, inQuotes(entry.path) + " has another size than it says");
  return digest.finish();
}

class ArchiveCopy : public CopyContent {
 public:
  ArchiveCopy(Descriptor file, std::string named, std::uint64_t most)
      : file_(std::move(file)), named_(std::move(named)), most_(most) {}

  bool hasExactTimes() const noexcept override { return false; }

 protected:
  void look(const Reader& reader, CopyEntry& entry, Names& names, const Wants& wants, const Told& told) const {
    names.add(entry.path);
    if (entry.kind == EntryKind::file && !entry.isOther && wants(entry)) {
      entry.sha256 = digestOf(reader, entry, named_, told);
    }
  }

  const Descriptor file_;
  const std::string named_;
  const std::uint64_t most_;
};

class TarCopy final : public ArchiveCopy {
 public:
  TarCopy(Descriptor file, std::string named, std::uint64_t most, Packing packing)
      : ArchiveCopy(std::move(file), std::move(named), most), packing_(packing) {}

  // A tar ends with two empty blocks, and whoever wrote it and failed did not write them.
  void forEach(const Wants& wants, const Visit& visit, const Told& told) override {
    const Utf8Locale locale;
    Feed feed{Stream(file_, packing_, named_, most_), nullptr};
    const Reader reader = newReader();
    checkFeed(reader, feed, ::archive_read_support_format_tar(reader.get()));
    checkFeed(reader, feed, ::archive_read_open2(reader.get(), &feed, nullptr, read, skip, nullptr));
    Names names(named_);
    std::uint64_t end = 0;
    for (archive_entry* head = nullptr; nextHead(reader, feed, &head);) {
      CopyEntry entry = entryOf(head, named_);
      look(reader, entry, names, wants, told);
      checkFeed(reader, feed, ::archive_read_data_skip(reader.get()));
      end = position(reader);
      visit(std::move(entry));
    }
    if (position(reader) != end + 2 * TAR_BLOCK) throw noCopy(named_, "it is cut short");
    if (!feed.stream.endsAt(position(reader))) throw noCopy(named_, "something lies behind its end");
  }

 private:
  struct Feed {
    Stream stream;
    std::exception_ptr failure;
  };

  // Nothing may be thrown through a library of C.
  static la_ssize_t read(archive* reader, void* from, const void** block) {
    auto& feed = *static_cast<Feed*>(from);
    try {
      const std::string_view next = feed.stream.next();
      *block = next.data();
      return static_cast<la_ssize_t>(next.size());
    } catch (...) {
      feed.failure = std::current_exception();
      ::archive_set_error(reader, EIO, "it cannot be read");
      return -1;
    }
  }

  static la_int64_t skip(archive* /*reader*/, void* from, la_int64_t wanted) {
    try {
      return static_cast<la_int64_t>(static_cast<Feed*>(from)->stream.skip(static_cast<std::uint64_t>(wanted)));
    } catch (...) {
      return 0;  // what is not passed over is read
    }
  }

  void checkFeed(const Reader& reader, const Feed& feed, int result) const {
    if (result != ARCHIVE_OK && feed.failure) std::rethrow_exception(feed.failure);
    requireRead(reader, named_, result);
  }

  static std::uint64_t position(const Reader& reader) {
    return static_cast<std::uint64_t>(::archive_filter_bytes(reader.get(), 0));
  }

  bool nextHead(const Reader& reader, Feed& feed, archive_entry** head) const {
    feed.stream.allow(LONGEST_HEAD);
    const int result = ::archive_read_next_header(reader.get(), head);
    if (result != ARCHIVE_EOF) checkFeed(reader, feed, result);
    feed.stream.allow(ANY_AMOUNT);
    return result != ARCHIVE_EOF;
  }

  const Packing packing_;
};

class ZipCopy final : public ArchiveCopy {
 public:
  using ArchiveCopy::ArchiveCopy;

  // Names, sizes and modes are those of the directory, which was compared with what its reader goes by.
  void forEach(const Wants& wants, const Visit& visit, const Told& told) override {
    const Utf8Locale locale;
    const std::vector<ZipEntry> directory = zipDirectoryOf(file_, named_);
    if (directory.empty()) return;  // which libarchive takes for none
    const Reader reader = newReader();
    requireRead(reader, named_, ::archive_read_support_format_zip_seekable(reader.get()));
    check(::lseek(file_.get(), 0, SEEK_SET));
    requireRead(reader, named_, ::archive_read_open_fd(reader.get(), file_.get(), READ_SIZE));
    Names names(named_);
    std::uint64_t expanded = 0;
    for (const ZipEntry& listed : directory) {
      archive_entry* head = nullptr;
      const int result = ::archive_read_next_header(reader.get(), &head);
      requireRead(reader, named_, result == ARCHIVE_EOF ? ARCHIVE_FATAL : result);
      CopyEntry entry = entryOf(head, named_);
      requireListed(head, entry, listed);
      expanded += listed.size;
      if (expanded > most_ || listed.size > most_)
        throw noCopy(
            named_,
            "it expands to more than a copy should; if it is one, name its receipt (verify COPY --receipt FILE)");
      look(reader, entry, names, wants, told);
      visit(std::move(entry));
    }
  }

 private:
  void requireListed(archive_entry* head, CopyEntry& entry, const ZipEntry& listed) const {
    entry.path = listed.name;
    entry.target = listed.target;
    if (entry.kind == EntryKind::folder && entry.path.size() > 1 && entry.path.back() == '/') entry.path.pop_back();
    const bool isAsListed =
        ::archive_entry_mode(head) == listed.mode && (entry.kind != EntryKind::file || entry.size == listed.size);
    if (!isAsListed) throw noCopy(named_, inQuotes(listed.name) + " is described in two ways");
  }
};

Packing packingOf(const Descriptor& file, const std::string& named) {
  using namespace std::literals;
  const std::string bytes = readAt(file, TAR_BLOCK, 0);
  const std::string_view first(bytes);
  const auto begins = [&](std::string_view magic) { return first.substr(0, magic.size()) == magic; };
  if (begins("\x1f\x8b"sv)) return Packing::gzip;
  if (begins("\x28\xb5\x2f\xfd"sv)) return Packing::zstd;
  if (begins("PK\x03\x04"sv) || begins("PK\x05\x06"sv)) return Packing::zip;
  const bool isEmpty = first.find_first_not_of('\0') == std::string_view::npos;
  if (first.size() == TAR_BLOCK && (isEmpty || first.substr(257, 5) == "ustar"sv)) return Packing::none;
  throw noCopy(named, "it is neither a folder nor a tar or zip that a share makes");
}

}  // namespace

std::unique_ptr<CopyContent> openArchiveCopy(Descriptor file, std::string named, std::uint64_t most) {
  return attempt(errors::ARCHIVE_UNREADABLE, "cannot read", named, [&]() -> std::unique_ptr<CopyContent> {
    const Packing packing = packingOf(file, named);
    if (packing == Packing::zip) return std::make_unique<ZipCopy>(std::move(file), std::move(named), most);
    return std::make_unique<TarCopy>(std::move(file), std::move(named), most, packing);
  });
}

// A pipe is not waited for.
std::unique_ptr<CopyContent> openCopy(const std::string& named, std::uint64_t most) {
  return attempt(errors::ENTRY_UNREADABLE, "cannot read", named, [&]() -> std::unique_ptr<CopyContent> {
    Descriptor file(check(::open(named.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)));
    const mode_t type = statusOf(file).st_mode & S_IFMT;
    if (type == S_IFDIR) return openFolderCopy(named);
    if (type != S_IFREG) throw Error(errors::ENTRY_UNREADABLE, inQuotes(named) + " is neither a folder nor an archive");
    return openArchiveCopy(std::move(file), named, most);
  });
}

}  // namespace folder_host
