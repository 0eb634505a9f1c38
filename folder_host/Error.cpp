#include "folder_host/Error.h"

namespace folder_host {

Error::~Error() = default;

Error systemFailure(const char* identifier, const std::string& what, std::string_view path, int code) {
  return {identifier, what + " " + inQuotes(path) + ": " + std::generic_category().message(code)};
}

}  // namespace folder_host
