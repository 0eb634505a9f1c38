#include "folder_host/share/Allowances.h"

#include "folder_host/text/Printable.h"

namespace folder_host {

bool Allowances::allows(const std::string& identifier, const std::string& path) const {
  return kinds_.count(identifier) != 0 || cases_.count({identifier, shown(path)}) != 0;
}

}  // namespace folder_host
