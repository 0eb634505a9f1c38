#include "folder_host/files/Path.h"

namespace folder_host {

std::string parentOf(const std::string& path) {
  const std::size_t separator = path.rfind('/');
  return separator == std::string::npos ? std::string() : path.substr(0, separator);
}

bool isAtOrBelow(std::string path, const std::set<std::string>& tops) {
  while (tops.count(path) == 0 && !path.empty()) path = parentOf(path);
  return tops.count(path) != 0;
}

}  // namespace folder_host
