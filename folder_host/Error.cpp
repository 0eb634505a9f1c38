#include "folder_host/Error.h"

#include <system_error>

namespace folder_host {

Error::~Error() = default;

Error systemFailure(const char* identifier, const std::string& attempt, std::string_view path, int code) {
  return {identifier, attempt + " " + inQuotes(path) + ": " + std::generic_category().message(code)};
}

}  // namespace folder_host
