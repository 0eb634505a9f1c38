#include "folder_host/share/sinks/FolderSink.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>

namespace folder_host {

namespace {

template <class Write>
auto writing(const std::string& path, const Write& write) {
  return attempt(errors::COPY_FAILED, "cannot write the copy of", path, write);
}

// Unless the result of a call is 0.
void checkWritten(int result, const std::string& path) {
  writing(path, [&] { check(result); });
}

std::array<timespec, 2> timesOf(const struct stat& status) { return {status.st_atim, status.st_mtim}; }

constexpr std::size_t RANGE = std::size_t{1} << 26U;
constexpr std::size_t BUFFER = std::size_t{1} << 17U;

bool isSparse(const struct stat& status) {
  constexpr off_t BLOCK = 512;
  return status.st_blocks < status.st_size / BLOCK;
}

// Nothing where the system tells none. Beyond the last data, that is at the file's end.
std::optional<std::uint64_t> seek(const Descriptor& file, std::uint64_t from, int whence) {
  off_t found = ::lseek(file.get(), static_cast<off_t>(from), whence);
  if (found < 0 && errno == ENXIO && whence == SEEK_DATA) found = ::lseek(file.get(), 0, SEEK_END);
  if (found < 0) return std::nullopt;
  return static_cast<std::uint64_t>(found);
}

// In ranges, so that progress can be told, and an interruption noticed, in the middle of a large file.
std::uint64_t hand(const Descriptor& source, const Descriptor& copy, std::uint64_t most) {
  const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(most, RANGE));
  const ssize_t moved = ::copy_file_range(source.get(), nullptr, copy.get(), nullptr, length, 0);
  return moved > 0 ? static_cast<std::uint64_t>(moved) : 0;
}

// Moves the content of one file into another. What is written and what is read fail in their own ways: COPY_FAILED, or
// ENTRY_CHANGED and ENTRY_UNREADABLE.
class Transfer {
 public:
  Transfer(const OpenEntry& file, const Descriptor& copy, std::vector<char>& buffer, const Sink::Told& told)
      : path_(file.entry.path), source_(file.opened), copy_(copy), buffer_(buffer), told_(told) {}

  // A file that must not change has been read when as much was read as it held: if there is more by now, the last look
  // at it tells. Else reading goes on to the end, also where there is content without a size.
  void run(const struct stat& status, bool mayChange) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const std::uint64_t done = isSparse(status) ? extents(size) : 0;
    bytes(size - done);
    if (size > 0 && !mayChange) return;
    while (bytes(buffer_.size()) > 0) continue;
  }

 private:
  // Leaves holes where the file has some. Gives how far it came, and there it leaves both files: whatever ends this
  // early, a refusal or a file that has become shorter, plain reading tells.
  // A disk image of a terabyte may hold a few megabytes. Written out with its holes it would fill the receiver's disk.
  std::uint64_t extents(std::uint64_t size) {
    std::uint64_t at = 0;
    for (std::uint64_t moved = 1; moved > 0 && at < size; at += moved) {
      const std::uint64_t data = std::min(seek(source_, at, SEEK_DATA).value_or(at), size);
      if (data > at) told_(data - at);
      at = std::max(at, data);
      const std::uint64_t end = std::min(seek(source_, at, SEEK_HOLE).value_or(at), size);
      if (!seek(source_, at, SEEK_SET)) throw unreadable(path_, errno);
      if (!seek(copy_, at, SEEK_SET)) checkWritten(-1, path_);
      moved = bytes(end - at);
    }
    checkWritten(::ftruncate(copy_.get(), static_cast<off_t>(at)), path_);
    return at;
  }

  // So many bytes, or all up to the file's end. What is small is faster read and written than handed over by the
  // system; whatever ends the fast way, the end of the file or a refusal, plain reading goes on from there and tells
  // which.
  std::uint64_t bytes(std::uint64_t most) {
    std::uint64_t copied = 0;
    bool plainly = most <= buffer_.size();
    while (copied != most) {
      const std::uint64_t left = most - copied;
      const std::uint64_t moved = plainly ? readAndWrite(left) : hand(source_, copy_, left);
      if (moved == 0 && plainly) break;
      plainly = plainly || moved == 0;
      copied += moved;
      if (moved > 0) told_(moved);
    }
    return copied;
  }

  std::uint64_t readAndWrite(std::uint64_t most) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(most, buffer_.size()));
    ssize_t length = 0;
    do {
      length = ::read(source_.get(), buffer_.data(), wanted);
    } while (length < 0 && errno == EINTR);
    if (length < 0) throw unreadable(path_, errno);
    writing(path_, [&] { writeAll(copy_, {buffer_.data(), static_cast<std::size_t>(length)}); });
    return static_cast<std::uint64_t>(length);
  }

  const std::string& path_;
  const Descriptor& source_;
  const Descriptor& copy_;
  std::vector<char>& buffer_;
  const Sink::Told& told_;
};

// The folder of the last entry stays open, as the reader's does: within it a name leads nowhere else.
class FolderWriter final : public Sink::Writer {
 public:
  FolderWriter(const Descriptor& target, Takeover* takeover) : target_(target), takeover_(takeover), buffer_(BUFFER) {
    if (takeover_ != nullptr) taker_.emplace(*takeover_);
  }

  void addFile(const OpenEntry& file, const Sink::Told& told) override {
    const std::string& path = file.entry.path;
    enterFolderOf(file);
    if (taker_ && taker_->take(file, folder_, name_, told)) return;
    // Its owner's alone while it is written: what is half a copy is nobody else's, whatever the original allows.
    const int flags = O_WRONLY | O_CREAT | O_EXCL;
    const Descriptor copy = writing(path, [&] { return openBeneath(folder_, name_, flags, 0600); });
    Transfer(file, copy, buffer_, told).run(file.status, file.mayChange);
    checkWritten(::fchmod(copy.get(), file.permissions), path);
    checkWritten(::futimens(copy.get(), timesOf(file.status).data()), path);
    if (takeover_ != nullptr) writing(path, [&] { takeover_->note(file, copy); });
  }

  void addLink(const OpenEntry& link) override {
    const std::string& path = link.entry.path;
    enterFolderOf(link);
    checkWritten(::symlinkat(link.entry.target.c_str(), folder_.get(), name_.c_str()), path);
    const auto times = timesOf(link.status);
    checkWritten(::utimensat(folder_.get(), name_.c_str(), times.data(), AT_SYMLINK_NOFOLLOW), path);
  }

 private:
  void enterFolderOf(const OpenEntry& entry) {
    const std::size_t separator = entry.path.rfind('/');
    name_ = entry.path.substr(separator + 1);  // npos + 1 is 0
    const std::string_view folder = separator == std::string_view::npos ? "." : entry.path.substr(0, separator);
    if (folder == path_) return;
    path_.clear();
    folder_ =
        writing(entry.entry.path, [&] { return openBeneath(target_, std::string(folder), O_PATH | O_DIRECTORY); });
    path_ = folder;
  }

  const Descriptor& target_;
  Takeover* takeover_;
  std::optional<Takeover::Taker> taker_;
  std::string path_;  // of the folder that is open
  Descriptor folder_;
  std::string name_;  // in it, of the entry that is being written
  std::vector<char> buffer_;
};

}  // namespace

// Each folder stays the owner's alone until all is written: its own mode may forbid what is still to be done in it.
void FolderSink::addFolder(const OpenEntry& folder) {
  const std::string path(folder.path.empty() ? "." : folder.path);
  if (!folder.path.empty()) {
    checkWritten(::mkdirat(publication_.content().get(), path.c_str(), 0700), folder.entry.path);
  }
  folders_.push_back({path, folder.permissions, timesOf(folder.status)});
}

std::unique_ptr<Sink::Writer> FolderSink::writer() {
  return std::make_unique<FolderWriter>(publication_.content(), takeover_);
}

// Whoever can read the copy's top folder can open it as a project.
void FolderSink::addStore(const std::string& bytes) {
  const mode_t mode = folders_.front().mode;
  writing(STORE_FILE, [&] {
    checkWritten(::mkdirat(publication_.content().get(), STORE_FOLDER, 0700), STORE_FOLDER);
    const Descriptor folder = openBeneath(publication_.content(), STORE_FOLDER, O_RDONLY | O_DIRECTORY);
    const Descriptor file = openBeneath(folder, STORE_NAME, O_WRONLY | O_CREAT | O_EXCL, 0600);
    writeAll(file, bytes);
    checkWritten(::fchmod(file.get(), (mode & 0666U) | 0600U), STORE_FILE);
    checkWritten(::fchmod(folder.get(), mode | 0700U), STORE_FOLDER);
  });
}

// From the deepest folder up, each gets its mode and times when nothing more is written into it.
void FolderSink::finish() {
  for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
    const std::string& path = folder->path;
    const Descriptor copy =
        writing(path, [&] { return openBeneath(publication_.content(), path, O_RDONLY | O_DIRECTORY); });
    checkWritten(::futimens(copy.get(), folder->times.data()), path);
    checkWritten(::fchmod(copy.get(), folder->mode), path);
  }
  writing(".", [&] { publication_.syncContent(); });
}

}  // namespace folder_host
