#include "folder_host/share/read/Attributes.h"

#include <fcntl.h>
#include <sys/xattr.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#include "folder_host/files/Descriptor.h"
#include "folder_host/share/read/Source.h"

namespace folder_host {

namespace {

bool hasOwn(const Descriptor& opened) {
  const ssize_t size = ::flistxattr(opened.get(), nullptr, 0);
  if (size <= 0) return false;
  std::string names(static_cast<std::size_t>(size), '\0');
  const ssize_t length = ::flistxattr(opened.get(), names.data(), names.size());
  // Those that came in between do not fit: there is something, at any rate.
  if (length < 0) return errno == ERANGE;
  for (std::size_t at = 0; at < static_cast<std::size_t>(length); at = names.find('\0', at) + 1) {
    if (std::string_view(names).substr(at, 5) == "user.") return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> firstWithAttributes(const WorkingCopy& project) {
  const Source source(project.root());
  for (const Entry* entry : project.entries()) {
    if (entry->kind == EntryKind::link) continue;
    try {
      if (hasOwn(openBeneath(source.folder, entry->path, O_RDONLY | O_NONBLOCK))) return entry->path;
    } catch (const std::system_error&) {
    }
  }
  return {};
}

}  // namespace folder_host
