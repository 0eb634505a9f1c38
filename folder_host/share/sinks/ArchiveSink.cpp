#include "folder_host/share/sinks/ArchiveSink.h"

#include <archive.h>
#include <archive_entry.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <system_error>
#include <utility>

#include "folder_host/files/Times.h"
#include "folder_host/text/Utf8Locale.h"

namespace folder_host {

namespace {

constexpr std::size_t READ_AHEAD = std::size_t{1} << 18U;

Error failed(const std::string& path, const std::string& why) {
  return {errors::COPY_FAILED, "cannot write " + inQuotes(path) + " into the archive: " + why};
}

// Up to so many bytes; fewer at the end of the file.
std::size_t readUpTo(const OpenEntry& file, char* bytes, std::size_t most) {
  std::size_t read = 0;
  while (read < most) {
    const ssize_t length = ::read(file.opened.get(), bytes + read, most - read);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) throw unreadable(file.entry.path, errno);
    if (length == 0) break;
    read += static_cast<std::size_t>(length);
  }
  return read;
}

// What was written, as it was written.
class Noted final : public CopyContent {
 public:
  explicit Noted(std::vector<CopyEntry> entries) : entries_(std::move(entries)) {}

  void forEach(const Wants& wants, const Visit& visit, const Told& /*told*/) override {
    for (CopyEntry entry : entries_) {
      std::string digest = std::exchange(entry.sha256, {});
      if (entry.kind == EntryKind::file && wants(entry)) entry.sha256 = std::move(digest);
      visit(std::move(entry));
    }
  }
  bool hasExactTimes() const noexcept override { return false; }

 private:
  const std::vector<CopyEntry> entries_;
};

}  // namespace

// A zip has the local time beside the time in UTC, and says that names are UTF-8 where the locale does: both as if this
// ran in one place of the world. Only while it is written, and by the one thread that does.
class ArchiveSink::Surroundings {
 public:
  Surroundings() {
    // NOLINTBEGIN(concurrency-mt-unsafe)
    if (const char* zone = std::getenv("TZ")) zone_ = zone;
    ::setenv("TZ", "UTC0", 1);
    ::tzset();
  }
  ~Surroundings() {
    zone_ ? ::setenv("TZ", zone_->c_str(), 1) : ::unsetenv("TZ");
    ::tzset();
    // NOLINTEND(concurrency-mt-unsafe)
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

 private:
  const Utf8Locale locale_;
  std::optional<std::string> zone_;
};

class ArchiveSink::Writer final : public Sink::Writer {
 public:
  explicit Writer(ArchiveSink& sink) : sink_(sink), buffer_(READ_AHEAD) {}
  ~Writer() override;

  // What fits into the buffer is read before its head is written: then its size is what was read.
  void addFile(const OpenEntry& file, const Told& told) override {
    if (file.content) return putBeginning(file, file.content->size(), *file.content, told);
    const std::string& path = file.entry.path;
    const auto listed = static_cast<std::uint64_t>(file.status.st_size);
    const bool toItsEnd = listed == 0 || file.mayChange;
    const std::size_t wanted =
        toItsEnd ? READ_AHEAD : static_cast<std::size_t>(std::min<std::uint64_t>(listed, READ_AHEAD));
    const std::size_t read = readUpTo(file, buffer_.data(), wanted);
    if (read < wanted && !toItsEnd) throw changed(path);
    const std::uint64_t size = read < wanted ? read : sizeOf(file, listed, toItsEnd);
    if (size < read) throw cut(path);
    putBeginning(file, size, {buffer_.data(), read}, told);
    putRest(file, size - read, told);
  }

  void addLink(const OpenEntry& link) override {
    const std::string name(link.path);
    sink_.putFoldersBefore(name);
    sink_.putHead(name, S_IFLNK | 0777U, 0, link.status.st_mtim, link.entry.target);
  }

 private:
  void putBeginning(const OpenEntry& file, std::uint64_t size, std::string_view bytes, const Told& told) {
    const std::string name(file.path);
    sink_.putFoldersBefore(name);
    sink_.putHead(name, S_IFREG | file.permissions, size, file.status.st_mtim);
    sink_.putData(bytes.data(), bytes.size(), file.entry.path);
    told(bytes.size());
  }

  static Error cut(const std::string& path) {
    return {errors::ENTRY_CHANGED, inQuotes(path) +
                                       " has another size than it says, which an archive cannot hold; try again, or "
                                       "share into a folder"};
  }

  // As late as can be, so that what is appended up to then is in the copy.
  static std::uint64_t sizeOf(const OpenEntry& file, std::uint64_t listed, bool toItsEnd) {
    if (!toItsEnd) return listed;
    try {
      return static_cast<std::uint64_t>(statusOf(file.opened).st_size);
    } catch (const std::system_error& error) {
      throw unreadable(file.entry.path, error.code().value());
    }
  }

  void putRest(const OpenEntry& file, std::uint64_t size, const Told& told) {
    while (size > 0) {
      const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, READ_AHEAD));
      const std::size_t read = readUpTo(file, buffer_.data(), wanted);
      if (read < wanted) throw file.mayChange ? cut(file.entry.path) : changed(file.entry.path);
      sink_.putData(buffer_.data(), read, file.entry.path);
      told(read);
      size -= read;
    }
  }

  ArchiveSink& sink_;
  std::vector<char> buffer_;
};

ArchiveSink::Writer::~Writer() = default;

// What is freed without having been closed must not get its end.
void ArchiveSink::Free::operator()(archive* archive) const {
  ::archive_write_fail(archive);
  ::archive_write_free(archive);
}

void ArchiveSink::Free::operator()(archive_entry* entry) const { ::archive_entry_free(entry); }

ArchiveSink::ArchiveSink(const Descriptor& file, Shape shape, bool notes)
    : file_(file),
      shape_(shape),
      surroundings_(shape == Shape::zip ? std::make_unique<Surroundings>() : nullptr),
      head_(::archive_entry_new()),
      notes_(notes),
      archive_(::archive_write_new()) {
  archive* const to = archive_.get();
  // Of the formats of tar it is the one that keeps any bytes of a name, of any length, and in which all readers find
  // them.
  check(shape == Shape::zip ? ::archive_write_set_format_zip(to) : ::archive_write_set_format_gnutar(to), "");
  if (shape == Shape::tarGz) {
    check(::archive_write_add_filter_gzip(to), "");
    check(::archive_write_set_filter_option(to, "gzip", "timestamp", nullptr), "");
  }
  if (shape == Shape::tarZst) check(::archive_write_add_filter_zstd(to), "");
  check(::archive_write_set_bytes_per_block(to, static_cast<int>(READ_AHEAD)), "");
  check(::archive_write_set_bytes_in_last_block(to, 1), "");
  const auto write = [](archive*, void* sink, const void* bytes, std::size_t size) -> la_ssize_t {
    auto& self = *static_cast<ArchiveSink*>(sink);
    try {
      writeAll(self.file_, {static_cast<const char*>(bytes), size});
      return static_cast<la_ssize_t>(size);
    } catch (...) {  // nothing may be thrown through a library of C
      self.failure_ = std::current_exception();
      return -1;
    }
  };
  check(::archive_write_open2(to, this, nullptr, write, nullptr, nullptr), "");
}

ArchiveSink::~ArchiveSink() = default;

// A warning is a failure, too: it tells that something was left out.
void ArchiveSink::check(int result, const std::string& path) {
  if (result == ARCHIVE_OK) return;
  if (failure_) std::rethrow_exception(failure_);
  const char* why = ::archive_error_string(archive_.get());
  throw failed(path, why != nullptr ? why : "no memory");
}

void ArchiveSink::putHead(const std::string& path, mode_t mode, std::uint64_t size, const timespec& time,
                          const std::string& target) {
  archive_entry* const head = ::archive_entry_clear(head_.get());
  ::archive_entry_copy_pathname(head, path.c_str());
  ::archive_entry_set_mode(head, mode);
  ::archive_entry_set_size(head, static_cast<la_int64_t>(size));
  ::archive_entry_set_mtime(head, timeIn(shape_, time).tv_sec, 0);
  if (S_ISLNK(mode)) ::archive_entry_copy_symlink(head, target.c_str());
  check(::archive_write_header(archive_.get(), head), path);
  newest_ = std::max(newest_, time, isEarlier);
  if (notes_) note(path, mode, size, time, target);
}

void ArchiveSink::note(const std::string& path, mode_t mode, std::uint64_t size, const timespec& time,
                       const std::string& target) {
  noteDigest();
  CopyEntry entry{path};
  entry.kind = S_ISDIR(mode) ? EntryKind::folder : S_ISLNK(mode) ? EntryKind::link : EntryKind::file;
  entry.target = target;
  entry.size = size;
  entry.modified = timeIn(shape_, time);
  entry.mode = S_ISLNK(mode) ? 0 : mode & 07777U;
  noted_.push_back(std::move(entry));
  if (S_ISREG(mode)) digest_.emplace();
}

void ArchiveSink::noteDigest() {
  if (digest_) noted_.back().sha256 = digest_->finish();
  digest_.reset();
}

std::unique_ptr<CopyContent> ArchiveSink::content() {
  noteDigest();
  return std::make_unique<Noted>(std::move(noted_));
}

void ArchiveSink::putData(const char* bytes, std::size_t size, const std::string& path) {
  if (size == 0) return;
  const la_ssize_t written = ::archive_write_data(archive_.get(), bytes, size);
  if (written < 0) check(ARCHIVE_FATAL, path);
  if (static_cast<std::size_t>(written) != size) throw failed(path, "it was not taken whole");
  if (digest_) digest_->add({bytes, size});
}

void ArchiveSink::addFolder(const OpenEntry& folder) {
  if (folder.path.empty()) {
    topMode_ = folder.permissions;
  } else {
    folders_.push_back({std::string(folder.path), folder.permissions, folder.status.st_mtim});
  }
}

std::unique_ptr<Sink::Writer> ArchiveSink::writer() { return std::make_unique<Writer>(*this); }

void ArchiveSink::putFolder(const Folder& folder) { putHead(folder.path, S_IFDIR | folder.mode, 0, folder.time); }

void ArchiveSink::putFoldersBefore(const std::string& path) {
  for (; nextFolder_ < folders_.size() && beforeInTree(folders_[nextFolder_].path, path); ++nextFolder_) {
    putFolder(folders_[nextFolder_]);
  }
}

// Whoever can read the copy's top folder can open it as a project.
void ArchiveSink::addStore(const std::string& bytes) {
  for (; nextFolder_ < folders_.size(); ++nextFolder_) putFolder(folders_[nextFolder_]);
  const timespec newest = newest_;
  putFolder({STORE_FOLDER, topMode_ | 0700U, newest});
  putHead(STORE_FILE, S_IFREG | (topMode_ & 0666U) | 0600U, bytes.size(), newest);
  putData(bytes.data(), bytes.size(), STORE_FILE);
}

void ArchiveSink::finish() {
  for (; nextFolder_ < folders_.size(); ++nextFolder_) putFolder(folders_[nextFolder_]);
  check(::archive_write_close(archive_.get()), "the end");
  // A pipe has nothing to be made durable.
  if (::fsync(file_.get()) != 0 && errno != EINVAL && errno != EROFS) throwErrno();
}

}  // namespace folder_host
