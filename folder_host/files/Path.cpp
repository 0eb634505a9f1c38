#include "folder_host/files/Path.h"

#include <climits>

#include "folder_host/files/Listing.h"

namespace folder_host {

std::string parentOf(const std::string& path) {
  const std::size_t separator = path.rfind('/');
  return separator == std::string::npos ? std::string() : path.substr(0, separator);
}

bool isAtOrBelow(std::string path, const std::set<std::string>& tops) {
  while (tops.count(path) == 0 && !path.empty()) path = parentOf(path);
  return tops.count(path) != 0;
}

bool isEntryPath(std::string_view path) {
  // For the system a path ends at a zero byte, and would name another entry.
  if (path.size() >= PATH_MAX || path.find('\0') != std::string_view::npos) return false;
  if (path.substr(0, path.find('/')) == STORE_FOLDER) return false;
  while (true) {
    const std::string_view name = path.substr(0, path.find('/'));
    if (name.empty() || name == "." || name == "..") return false;
    if (name.size() == path.size()) return true;
    path.remove_prefix(name.size() + 1);
  }
}

}  // namespace folder_host
