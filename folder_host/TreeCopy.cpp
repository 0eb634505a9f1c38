#include "folder_host/TreeCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "folder_host/Failure.h"

namespace folder_host {

namespace {

constexpr std::size_t RANGE = std::size_t{1} << 30U;
constexpr std::size_t BUFFER = std::size_t{1} << 16U;

Error changed(const std::string& path) {
  return {errors::ENTRY_CHANGED, inQuotes(path) + " was changed while it was being copied; try again"};
}

// Names that lead elsewhere by now, and links that are none, were changed since they were listed.
Error unreadable(const std::string& path, int code) {
  if (code == ENOENT || code == ENOTDIR || code == ELOOP || code == EXDEV) return changed(path);
  return systemFailure(errors::ENTRY_UNREADABLE, "cannot read", path, code);
}

void checkWritten(int result, const std::string& path) {
  if (result != 0) throw systemFailure(errors::COPY_FAILED, "cannot write the copy of", path, errno);
}

template <class Read>
auto reading(const std::string& path, const Read& read) {
  try {
    return read();
  } catch (const std::system_error& error) {
    throw unreadable(path, error.code().value());
  }
}

bool same(const timespec& a, const timespec& b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

bool unchanged(const struct stat& before, const struct stat& after) {
  return sameFile(before, after) && before.st_size == after.st_size && same(before.st_mtim, after.st_mtim) &&
         same(before.st_ctim, after.st_ctim);
}

mode_t permissions(const struct stat& status) { return status.st_mode & 0777U; }

std::array<timespec, 2> times(const struct stat& status) { return {status.st_atim, status.st_mtim}; }

void writeAll(const Descriptor& copy, const char* bytes, std::size_t size, const std::string& path) {
  while (size > 0) {
    const ssize_t written = ::write(copy.get(), bytes, size);
    if (written < 0 && errno == EINTR) continue;
    checkWritten(written < 0 ? -1 : 0, path);
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

}  // namespace

TreeCopy::TreeCopy(const std::string& root, const Descriptor& target)
    : source_(reading(root, [&] { return openFolder(root); })), target_(target), buffer_(BUFFER) {
  folders_.push_back({".", reading(root, [&] { return statusOf(source_); })});
  if (::fstatat(source_.get(), ".project/store.db", &store_, AT_SYMLINK_NOFOLLOW) != 0) store_ = {};
}

std::uint64_t TreeCopy::add(const Entry& entry) {
  if (entry.kind == EntryKind::file) return addFile(entry.path);
  if (entry.kind == EntryKind::folder) {
    addFolder(entry.path);
  } else {
    addLink(entry);
  }
  return 0;
}

std::string TreeCopy::copiedAs(const std::string& path) const {
  struct stat status {};
  if (::fstatat(source_.get(), path.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return {};
    throw unreadable(path, errno);
  }
  const auto copied = copied_.find(idOf(status));
  return copied == copied_.end() ? std::string() : copied->second;
}

// From the deepest up: a folder's mode may forbid what is still to be done below it.
void TreeCopy::finishFolders() {
  for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
    const char* path = folder->path.c_str();
    checkWritten(::utimensat(target_.get(), path, times(folder->status).data(), 0), folder->path);
    checkWritten(::fchmodat(target_.get(), path, permissions(folder->status), 0), folder->path);
  }
}

void TreeCopy::addFolder(const std::string& path) {
  folders_.push_back({path, look(path, S_IFDIR)});
  checkWritten(::mkdirat(target_.get(), path.c_str(), 0700), path);
}

void TreeCopy::addLink(const Entry& link) {
  const Descriptor source = reading(link.path, [&] { return openBeneath(source_, link.path, O_PATH); });
  const struct stat status = reading(link.path, [&] { return statusOf(source); });
  const std::string target = reading(link.path, [&] { return readLink(source, ""); });
  if (target != link.target) throw changed(link.path);
  checkWritten(::symlinkat(target.c_str(), target_.get(), link.path.c_str()), link.path);
  checkWritten(::utimensat(target_.get(), link.path.c_str(), times(status).data(), AT_SYMLINK_NOFOLLOW), link.path);
}

// Looked at before it is opened: opening a pipe or a device may hang or do something, and closing the store's file
// would drop the locks of the connection that this process has on it.
std::uint64_t TreeCopy::addFile(const std::string& path) {
  const struct stat status = look(path, S_IFREG);
  refuseStore(path, status);
  const Descriptor source = reading(path, [&] { return openBeneath(source_, path, O_RDONLY | O_NONBLOCK); });
  const auto check = [&] {
    if (!unchanged(status, reading(path, [&] { return statusOf(source); }))) throw changed(path);
  };
  check();
  const std::uint64_t bytes = copyContent(path, source, status);
  check();
  copied_.emplace(idOf(status), path);
  return bytes;
}

std::uint64_t TreeCopy::copyContent(const std::string& path, const Descriptor& source, const struct stat& status) {
  const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const Descriptor copy(::openat(target_.get(), path.c_str(), flags, 0600));
  checkWritten(copy.get() < 0 ? -1 : 0, path);
  const std::uint64_t bytes = transfer(path, source, copy);
  if (bytes != static_cast<std::uint64_t>(status.st_size)) throw changed(path);
  checkWritten(::fchmod(copy.get(), permissions(status)), path);
  checkWritten(::futimens(copy.get(), times(status).data()), path);
  return bytes;
}

// Whatever ends the fast way, the end of the file or a refusal, plain reading goes on from there and tells which.
std::uint64_t TreeCopy::transfer(const std::string& path, const Descriptor& source, const Descriptor& copy) {
  std::uint64_t bytes = 0;
  ssize_t moved = 0;
  while ((moved = ::copy_file_range(source.get(), nullptr, copy.get(), nullptr, RANGE, 0)) > 0) {
    bytes += static_cast<std::uint64_t>(moved);
  }
  while ((moved = ::read(source.get(), buffer_.data(), buffer_.size())) != 0) {
    if (moved < 0 && errno == EINTR) continue;
    if (moved < 0) throw unreadable(path, errno);
    writeAll(copy, buffer_.data(), static_cast<std::size_t>(moved), path);
    bytes += static_cast<std::uint64_t>(moved);
  }
  return bytes;
}

struct stat TreeCopy::look(const std::string& path, mode_t type) const {
  const struct stat status = reading(path, [&] { return statusOf(openBeneath(source_, path, O_PATH)); });
  if ((status.st_mode & static_cast<mode_t>(S_IFMT)) != type) throw changed(path);
  return status;
}

void TreeCopy::refuseStore(const std::string& path, const struct stat& status) const {
  if (!sameFile(status, store_)) return;
  throw Error(errors::ENTRY_UNREADABLE, inQuotes(path) + " is the project's own store under another name");
}

}  // namespace folder_host
