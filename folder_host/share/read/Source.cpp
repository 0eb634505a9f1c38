#include "folder_host/share/read/Source.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "folder_host/files/Permissions.h"
#include "folder_host/files/Times.h"
#include "folder_host/share/read/FirstBytes.h"

namespace folder_host {

namespace {

template <class Read>
auto reading(const std::string& path, const Read& read) {
  try {
    return read();
  } catch (const std::system_error& error) {
    throw unreadable(path, error.code().value());
  }
}

constexpr std::size_t SMALL = std::size_t{1} << 14U;
static_assert(SMALL >= FIRST_BYTES);

// As many as there are, but no more than the buffer holds, or than tell what it is of a file that is larger.
std::string_view beginningOf(const Descriptor& file, bool isSmall, std::string& buffer) {
  buffer.resize(SMALL);
  ssize_t length = 0;
  do {
    length = ::pread(file.get(), buffer.data(), isSmall ? SMALL : FIRST_BYTES, 0);
  } while (length < 0 && errno == EINTR);
  return {buffer.data(), static_cast<std::size_t>(check(length))};
}

void requireListed(const Entry& entry, mode_t type, const struct stat& status) {
  if ((status.st_mode & static_cast<mode_t>(S_IFMT)) != type || !(idOf(status) == entry.id)) throw changed(entry.path);
}

// Of the very thing that was listed. By the time of change and not of modification, which any program can set back.
bool isAsListed(const Entry& entry, const struct stat& status) {
  const bool sized = entry.kind != EntryKind::file || static_cast<std::uint64_t>(status.st_size) == entry.size;
  return sized && isSameTime(status.st_ctim, entry.changed);
}

}  // namespace

Error changed(const std::string& path) {
  return {errors::ENTRY_CHANGED, inQuotes(path) + " was changed while it was being copied; try again"};
}

// Names that lead elsewhere by now, and links that are none, were changed since they were listed.
Error unreadable(const std::string& path, int code) {
  if (code == ENOENT || code == ENOTDIR || code == ELOOP || code == EXDEV) return changed(path);
  return systemFailure(errors::ENTRY_UNREADABLE, "cannot read", path, code);
}

Source::Source(const std::string& root, Allowances allowances, const Entry* scope)
    : folder(reading(root, [&] { return openFolder(root); })),
      id(idOf(reading(root, [&] { return statusOf(folder); }))),
      allowed(std::move(allowances)),
      top(scope != nullptr ? *scope : Entry{{}, EntryKind::folder, {}}) {
  struct stat status {};
  if (::fstatat(folder.get(), STORE_FILE, &status, AT_SYMLINK_NOFOLLOW) == 0) store = idOf(status);
}

OpenEntry EntryReader::openTop() const {
  const Entry& top = source_.top;
  const std::string path = top.path.empty() ? "." : top.path;
  return reading(path, [&]() -> OpenEntry {
    Descriptor opened = openBeneath(source_.folder, path, O_RDONLY | O_DIRECTORY);
    const struct stat status = statusOf(opened);
    if (!top.path.empty()) requireListed(top, S_IFDIR, status);
    const mode_t permissions = permissionsOf(opened, status);
    return {top, {}, std::move(opened), status, permissions, false, false};
  });
}

OpenEntry EntryReader::open(const Entry& entry) {
  return reading(entry.path, [&]() -> OpenEntry {
    if (entry.kind == EntryKind::folder) {
      Descriptor opened = openBeneath(source_.folder, entry.path, O_RDONLY | O_DIRECTORY);
      const struct stat status = statusOf(opened);
      requireListed(entry, S_IFDIR, status);
      const mode_t permissions = permissionsOf(opened, status);
      return {entry, pathInCopy(entry), std::move(opened), status, permissions, false, false};
    }
    enterFolderOf(entry);
    return entry.kind == EntryKind::link ? openLink(entry) : openFile(entry);
  });
}

std::string_view EntryReader::pathInCopy(const Entry& entry) const {
  return std::string_view(entry.path).substr(source_.top.path.empty() ? 0 : source_.top.path.size() + 1);
}

// The folder stays open for the next entry, which mostly lies in it too. Within it a name leads nowhere else.
void EntryReader::enterFolderOf(const Entry& entry) {
  const std::size_t separator = entry.path.rfind('/');
  name_ = entry.path.substr(separator + 1);  // npos + 1 is 0
  std::string path = separator == std::string::npos ? "." : entry.path.substr(0, separator);
  if (path == path_) return;
  folder_ = openBeneath(source_.folder, path, O_PATH | O_DIRECTORY);
  path_ = std::move(path);
}

OpenEntry EntryReader::openLink(const Entry& link) const {
  Descriptor opened = openBeneath(folder_, name_, O_PATH);
  const struct stat status = statusOf(opened);
  requireListed(link, S_IFLNK, status);
  const bool hasChanged = !isUnchanged(link, status);
  if (readLink(opened, "") != link.target) throw changed(link.path);
  return {link, pathInCopy(link), std::move(opened), status, 0, hasChanged, false};
}

// Looked at before it is opened: opening a pipe or a device may hang or do something, and closing the store's file
// would drop the locks of the connection that this process has on it.
// The very file is named by device and inode, which a rename cannot forge; the time of its last change tells whether
// anything was written to it. Both are compared with the listing, because the judgement was about what was listed.
OpenEntry EntryReader::openFile(const Entry& file) {
  if (file.id == source_.store) {
    throw Error(errors::ENTRY_UNREADABLE,
                inQuotes(file.path) + " is the project's own store under another name; remove it");
  }
  const struct stat status = statusIn(folder_, name_);
  requireListed(file, S_IFREG, status);
  const bool hasChanged = !isUnchanged(file, status);
  Descriptor opened = openBeneath(folder_, name_, O_RDONLY | O_NONBLOCK);
  const mode_t permissions = permissionsOf(opened, status);
  const bool isSmall = file.size <= SMALL && !mayHaveChanged(file);
  const std::string_view begun = beginningOf(opened, isSmall, buffer_);
  const struct stat now = statusOf(opened);
  requireListed(file, S_IFREG, now);
  if (firstBytesTell(begun.substr(0, FIRST_BYTES)) && !source_.allowed.allows(errors::NESTED_PROJECT, file.path)) {
    throw Error(errors::NESTED_PROJECT,
                inQuotes(file.path) +
                    " is a project's store, a receipt, a page or an export, with rules and names that would be "
                    "shared; hold it back by a label, or move it out of the project");
  }
  OpenEntry entry{file, pathInCopy(file), std::move(opened), status, permissions, hasChanged, mayHaveChanged(file)};
  if (isSmall && begun.size() == file.size && isUnchanged(file, now)) entry.content = begun;
  return entry;
}

bool EntryReader::mayHaveChanged(const Entry& entry) const {
  return source_.allowed.allows(errors::ENTRY_CHANGED, entry.path);
}

bool EntryReader::isUnchanged(const Entry& entry, const struct stat& status) const {
  if (isAsListed(entry, status)) return true;
  if (!mayHaveChanged(entry)) throw changed(entry.path);
  return false;
}

// Once more, after the last byte was read: a change meanwhile could have mixed two states in the copy.
bool EntryReader::isUnchanged(const OpenEntry& file) const {
  const struct stat now = reading(file.entry.path, [&] { return statusOf(file.opened); });
  return isUnchanged(file.entry, now) && !file.hasChanged;
}

}  // namespace folder_host
