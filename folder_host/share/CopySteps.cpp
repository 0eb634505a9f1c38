#include "folder_host/share/CopySteps.h"

#include <cerrno>

namespace folder_host {

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

void requireListed(const Entry& entry, mode_t type, const struct stat& status) {
  if ((status.st_mode & static_cast<mode_t>(S_IFMT)) != type || !(idOf(status) == entry.id)) throw changed(entry.path);
}

bool isAsListed(const Entry& entry, const struct stat& status) {
  const bool sized = entry.kind != EntryKind::file || static_cast<std::uint64_t>(status.st_size) == entry.size;
  return sized && status.st_ctim.tv_sec == entry.changed.tv_sec && status.st_ctim.tv_nsec == entry.changed.tv_nsec;
}

std::array<timespec, 2> times(const struct stat& status) { return {status.st_atim, status.st_mtim}; }

}  // namespace folder_host
