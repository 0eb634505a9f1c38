#include "folder_host/share/Allowances.h"

#include "folder_host/text/Printable.h"

namespace folder_host {

// By the path as it is shown, because people copy it from the message that told of the risk.
bool Allowances::allows(const std::string& identifier, const std::string& path) const {
  return kinds_.count(identifier) != 0 || cases_.count({identifier, path}) != 0 ||
         cases_.count({identifier, shown(path)}) != 0;
}

}  // namespace folder_host
