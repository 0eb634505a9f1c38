#include "folder_host/share/FileCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "folder_host/files/Permissions.h"
#include "folder_host/share/CopySteps.h"
#include "folder_host/share/Traces.h"

namespace folder_host {

namespace {

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

std::uint64_t hand(const Descriptor& source, const Descriptor& copy, std::uint64_t most) {
  const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(most, RANGE));
  const ssize_t moved = ::copy_file_range(source.get(), nullptr, copy.get(), nullptr, length, 0);
  return moved > 0 ? static_cast<std::uint64_t>(moved) : 0;
}

}  // namespace

FileCopy::FileCopy(const Trees& trees, std::function<void(std::uint64_t)> copied)
    : trees_(trees), copied_(std::move(copied)), buffer_(BUFFER) {}

bool FileCopy::add(const Entry& entry) {
  enterFolderOf(entry);
  return entry.kind == EntryKind::link ? addLink(entry) : addFile(entry);
}

bool FileCopy::isUnchanged(const Entry& entry, const struct stat& status) const {
  if (isAsListed(entry, status)) return true;
  if (!trees_.allowed.allows(errors::ENTRY_CHANGED, entry.path)) throw changed(entry.path);
  return false;
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

bool FileCopy::addLink(const Entry& link) {
  const Descriptor source = reading(link.path, [&] { return openBeneath(from_, name_, O_PATH); });
  const struct stat status = reading(link.path, [&] { return statusOf(source); });
  requireListed(link, S_IFLNK, status);
  const bool unchanged = isUnchanged(link, status);
  const std::string target = reading(link.path, [&] { return readLink(source, ""); });
  if (target != link.target) throw changed(link.path);
  checkWritten(::symlinkat(target.c_str(), to_.get(), name_.c_str()), link.path);
  checkWritten(::utimensat(to_.get(), name_.c_str(), times(status).data(), AT_SYMLINK_NOFOLLOW), link.path);
  return unchanged;
}

// Looked at before it is opened: opening a pipe or a device may hang or do something, and closing the store's file
// would drop the locks of the connection that this process has on it.
bool FileCopy::addFile(const Entry& file) {
  refuseStore(file);
  const std::string& path = file.path;
  const struct stat status = reading(path, [&] { return statusIn(from_, name_); });
  requireListed(file, S_IFREG, status);
  const bool wasUnchanged = isUnchanged(file, status);
  const Descriptor source = reading(path, [&] { return openBeneath(from_, name_, O_RDONLY | O_NONBLOCK); });
  const auto now = [&] { return reading(path, [&] { return statusOf(source); }); };
  requireListed(file, S_IFREG, now());
  refuseTelling(path, source);
  copyContent(path, source, status);
  return isUnchanged(file, now()) && wasUnchanged;
}

// Another project's store, or a receipt, whatever its name and size.
void FileCopy::refuseTelling(const std::string& path, const Descriptor& source) const {
  if (!firstBytesTell(reading(path, [&] { return firstBytesOf(source); }))) return;
  if (trees_.allowed.allows(errors::NESTED_PROJECT, path)) return;
  throw Error(errors::NESTED_PROJECT, inQuotes(path) +
                                          " is a project's store or a receipt, with rules and names that would leave; "
                                          "hold it back by a label, or move it out of the project");
}

void FileCopy::copyContent(const std::string& path, const Descriptor& source, const struct stat& status) {
  const int flags = O_WRONLY | O_CREAT | O_EXCL;
  const Descriptor copy = writing(path, [&] { return openBeneath(to_, name_, flags, 0600); });
  transfer(path, source, copy, status);
  const mode_t mode = reading(path, [&] { return permissionsOf(source, status); });
  checkWritten(::fchmod(copy.get(), mode), path);
  checkWritten(::futimens(copy.get(), times(status).data()), path);
}

// A file that must not change has been read when as much was read as it held: if there is more by now, the last look
// at it tells. Else reading goes on to the end, also where there is content without a size.
void FileCopy::transfer(const std::string& path, const Descriptor& source, const Descriptor& copy,
                        const struct stat& status) {
  const auto size = static_cast<std::uint64_t>(status.st_size);
  const std::uint64_t done = isSparse(status) ? transferExtents(path, source, copy, size) : 0;
  transferBytes(path, source, copy, size - done);
  if (size > 0 && !trees_.allowed.allows(errors::ENTRY_CHANGED, path)) return;
  while (transferBytes(path, source, copy, BUFFER) > 0) continue;
}

// Leaves holes where the file has some. Gives how far it came, and there it leaves both files: whatever ends this
// early, a refusal or a file that has become shorter, plain reading tells.
std::uint64_t FileCopy::transferExtents(const std::string& path, const Descriptor& source, const Descriptor& copy,
                                        std::uint64_t size) {
  std::uint64_t at = 0;
  for (std::uint64_t moved = 1; moved > 0 && at < size; at += moved) {
    const std::uint64_t data = std::min(seek(source, at, SEEK_DATA).value_or(at), size);
    if (data > at) tell(data - at);
    at = std::max(at, data);
    const std::uint64_t end = std::min(seek(source, at, SEEK_HOLE).value_or(at), size);
    if (!seek(source, at, SEEK_SET)) throw unreadable(path, errno);
    if (!seek(copy, at, SEEK_SET)) checkWritten(-1, path);
    moved = transferBytes(path, source, copy, end - at);
  }
  checkWritten(::ftruncate(copy.get(), static_cast<off_t>(at)), path);
  return at;
}

// So many bytes, or all up to the file's end. What is small is handed over faster by hand; whatever ends the fast way,
// the end of the file or a refusal, plain reading goes on from there and tells which.
std::uint64_t FileCopy::transferBytes(const std::string& path, const Descriptor& source, const Descriptor& copy,
                                      std::uint64_t most) {
  std::uint64_t copied = 0;
  bool byHand = most <= BUFFER;
  while (copied != most) {
    const std::uint64_t left = most - copied;
    const std::uint64_t moved = byHand ? readAndWrite(path, source, copy, left) : hand(source, copy, left);
    if (moved == 0 && byHand) break;
    byHand = byHand || moved == 0;
    copied += moved;
    if (moved > 0) tell(moved);
  }
  return copied;
}

std::uint64_t FileCopy::readAndWrite(const std::string& path, const Descriptor& source, const Descriptor& copy,
                                     std::uint64_t most) {
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(most, buffer_.size()));
  ssize_t length = 0;
  do {
    length = ::read(source.get(), buffer_.data(), wanted);
  } while (length < 0 && errno == EINTR);
  if (length < 0) throw unreadable(path, errno);
  writing(path, [&] { writeAll(copy, {buffer_.data(), static_cast<std::size_t>(length)}); });
  return static_cast<std::uint64_t>(length);
}

void FileCopy::tell(std::uint64_t bytes) const {
  if (copied_) copied_(bytes);
}

void FileCopy::refuseStore(const Entry& file) const {
  if (!(file.id == trees_.store)) return;
  throw Error(errors::ENTRY_UNREADABLE, inQuotes(file.path) + " is the project's own store under another name");
}

}  // namespace folder_host
