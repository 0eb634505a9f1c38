#include "folder_host/TreeCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "folder_host/Failure.h"

namespace folder_host {

namespace {

constexpr std::size_t RANGE = std::size_t{1} << 26U;
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
  return idOf(before) == idOf(after) && before.st_size == after.st_size && same(before.st_mtim, after.st_mtim) &&
         same(before.st_ctim, after.st_ctim);
}

mode_t permissions(const struct stat& status) { return status.st_mode & 0777U; }

std::array<timespec, 2> times(const struct stat& status) { return {status.st_atim, status.st_mtim}; }

}  // namespace

TreeCopy::TreeCopy(const std::string& root, const Descriptor& target, Options options)
    : source_(reading(root, [&] { return openFolder(root); })),
      target_(target),
      options_(std::move(options)),
      buffer_(BUFFER) {
  folders_.push_back({".", reading(root, [&] { return statusOf(source_); })});
  struct stat store {};
  if (::fstatat(source_.get(), STORE_FILE, &store, AT_SYMLINK_NOFOLLOW) == 0) store_ = idOf(store);
}

void TreeCopy::add(const Entry& entry) {
  switch (entry.kind) {
    case EntryKind::file:
      return addFile(entry);
    case EntryKind::folder:
      return addFolder(entry);
    case EntryKind::link:
      return addLink(entry);
  }
}

// From the deepest up: a folder's mode may forbid what is still to be done below it.
void TreeCopy::finishFolders() {
  for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
    const char* path = folder->path.c_str();
    checkWritten(::utimensat(target_.get(), path, times(folder->status).data(), 0), folder->path);
    checkWritten(::fchmodat(target_.get(), path, permissions(folder->status), 0), folder->path);
  }
}

void TreeCopy::addFolder(const Entry& folder) {
  folders_.push_back({folder.path, look(folder, S_IFDIR)});
  checkWritten(::mkdirat(target_.get(), folder.path.c_str(), 0700), folder.path);
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
void TreeCopy::addFile(const Entry& file) {
  refuseStore(file);
  const std::string& path = file.path;
  const struct stat status = look(file, S_IFREG);
  const Descriptor source = reading(path, [&] { return openBeneath(source_, path, O_RDONLY | O_NONBLOCK); });
  const auto now = [&] { return reading(path, [&] { return statusOf(source); }); };
  if (!(idOf(now()) == file.id)) throw changed(path);
  copyContent(path, source, status);
  if (!options_.allowChanging && !unchanged(status, now())) throw changed(path);
}

void TreeCopy::copyContent(const std::string& path, const Descriptor& source, const struct stat& status) {
  const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const Descriptor copy(::openat(target_.get(), path.c_str(), flags, 0600));
  checkWritten(copy.get() < 0 ? -1 : 0, path);
  transfer(path, source, copy);
  checkWritten(::fchmod(copy.get(), permissions(status)), path);
  checkWritten(::futimens(copy.get(), times(status).data()), path);
}

// Whatever ends the fast way, the end of the file or a refusal, plain reading goes on from there and tells which.
void TreeCopy::transfer(const std::string& path, const Descriptor& source, const Descriptor& copy) {
  const auto tell = [&](ssize_t bytes) {
    if (options_.copied) options_.copied(static_cast<std::uint64_t>(bytes));
  };
  ssize_t moved = 0;
  while ((moved = ::copy_file_range(source.get(), nullptr, copy.get(), nullptr, RANGE, 0)) > 0) tell(moved);
  while ((moved = ::read(source.get(), buffer_.data(), buffer_.size())) != 0) {
    if (moved < 0 && errno == EINTR) continue;
    if (moved < 0) throw unreadable(path, errno);
    try {
      writeAll(copy, {buffer_.data(), static_cast<std::size_t>(moved)});
    } catch (const std::system_error&) {
      checkWritten(-1, path);
    }
    tell(moved);
  }
}

// One and the same thing as was listed, by whatever name: what took its place may be what another name was to hold
// back.
struct stat TreeCopy::look(const Entry& entry, mode_t type) const {
  const struct stat status = reading(entry.path, [&] { return statusOf(openBeneath(source_, entry.path, O_PATH)); });
  if ((status.st_mode & static_cast<mode_t>(S_IFMT)) != type || !(idOf(status) == entry.id)) throw changed(entry.path);
  return status;
}

void TreeCopy::refuseStore(const Entry& file) const {
  if (!(file.id == store_)) return;
  throw Error(errors::ENTRY_UNREADABLE, inQuotes(file.path) + " is the project's own store under another name");
}

}  // namespace folder_host
