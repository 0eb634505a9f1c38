#include "folder_host/FileCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "folder_host/CopySteps.h"

namespace folder_host {

namespace {

constexpr std::size_t RANGE = std::size_t{1} << 26U;
constexpr std::size_t BUFFER = std::size_t{1} << 17U;

bool same(const timespec& a, const timespec& b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

bool unchanged(const struct stat& before, const struct stat& after) {
  return idOf(before) == idOf(after) && before.st_size == after.st_size && same(before.st_mtim, after.st_mtim) &&
         same(before.st_ctim, after.st_ctim);
}

}  // namespace

FileCopy::FileCopy(const Trees& trees, std::function<void(std::uint64_t)> copied)
    : trees_(trees), copied_(std::move(copied)), buffer_(BUFFER) {}

void FileCopy::add(const Entry& entry) {
  enterFolderOf(entry);
  entry.kind == EntryKind::link ? addLink(entry) : addFile(entry);
}

void FileCopy::enterFolderOf(const Entry& entry) {
  const std::size_t separator = entry.path.rfind('/');
  name_ = entry.path.substr(separator + 1);  // npos + 1 is 0
  std::string folder = separator == std::string::npos ? "." : entry.path.substr(0, separator);
  if (folder == folder_) return;
  from_ = reading(entry.path, [&] { return openBeneath(trees_.source, folder, O_PATH | O_DIRECTORY); });
  to_ = writing(entry.path, [&] { return openBeneath(trees_.target, folder, O_PATH | O_DIRECTORY); });
  folder_ = std::move(folder);
}

void FileCopy::addLink(const Entry& link) {
  const Descriptor source = reading(link.path, [&] { return openBeneath(from_, name_, O_PATH); });
  const struct stat status = reading(link.path, [&] { return statusOf(source); });
  const std::string target = reading(link.path, [&] { return readLink(source, ""); });
  if (target != link.target) throw changed(link.path);
  checkWritten(::symlinkat(target.c_str(), to_.get(), name_.c_str()), link.path);
  checkWritten(::utimensat(to_.get(), name_.c_str(), times(status).data(), AT_SYMLINK_NOFOLLOW), link.path);
}

// Looked at before it is opened: opening a pipe or a device may hang or do something, and closing the store's file
// would drop the locks of the connection that this process has on it.
void FileCopy::addFile(const Entry& file) {
  refuseStore(file);
  const std::string& path = file.path;
  const struct stat status = reading(path, [&] { return statusIn(from_, name_); });
  requireListed(file, S_IFREG, status);
  const Descriptor source = reading(path, [&] { return openBeneath(from_, name_, O_RDONLY | O_NONBLOCK); });
  const auto now = [&] { return reading(path, [&] { return statusOf(source); }); };
  if (!(idOf(now()) == file.id)) throw changed(path);
  copyContent(path, source, status);
  if (!trees_.allowChanging && !unchanged(status, now())) throw changed(path);
}

void FileCopy::copyContent(const std::string& path, const Descriptor& source, const struct stat& status) {
  const int flags = O_WRONLY | O_CREAT | O_EXCL;
  const Descriptor copy = writing(path, [&] { return openBeneath(to_, name_, flags, 0600); });
  transfer(path, source, copy, static_cast<std::uint64_t>(status.st_size));
  checkWritten(::fchmod(copy.get(), permissions(status)), path);
  checkWritten(::futimens(copy.get(), times(status).data()), path);
}

// A file that must not change has been read when as much was read as it held: if there is more by now, the last look
// at it tells. Else reading goes on to the end, also where there is content without a size.
void FileCopy::transfer(const std::string& path, const Descriptor& source, const Descriptor& copy, std::uint64_t size) {
  const bool isEndKnown = size > 0 && !trees_.allowChanging;
  std::uint64_t copied = 0;
  // What is small is handed over faster by hand.
  bool byHand = size <= BUFFER;
  while (!isEndKnown || copied != size) {
    const std::uint64_t moved = byHand ? readAndWrite(path, source, copy) : hand(source, copy);
    if (moved == 0 && byHand) return;
    // Whatever ends the fast way, the end of the file or a refusal, plain reading goes on from there and tells which.
    byHand = byHand || moved == 0;
    copied += moved;
    if (copied_ && moved > 0) copied_(moved);
  }
}

std::uint64_t FileCopy::hand(const Descriptor& source, const Descriptor& copy) {
  const ssize_t moved = ::copy_file_range(source.get(), nullptr, copy.get(), nullptr, RANGE, 0);
  return moved > 0 ? static_cast<std::uint64_t>(moved) : 0;
}

std::uint64_t FileCopy::readAndWrite(const std::string& path, const Descriptor& source, const Descriptor& copy) {
  ssize_t length = 0;
  do {
    length = ::read(source.get(), buffer_.data(), buffer_.size());
  } while (length < 0 && errno == EINTR);
  if (length < 0) throw unreadable(path, errno);
  writing(path, [&] { writeAll(copy, {buffer_.data(), static_cast<std::size_t>(length)}); });
  return static_cast<std::uint64_t>(length);
}

void FileCopy::refuseStore(const Entry& file) const {
  if (!(file.id == trees_.store)) return;
  throw Error(errors::ENTRY_UNREADABLE, inQuotes(file.path) + " is the project's own store under another name");
}

}  // namespace folder_host
