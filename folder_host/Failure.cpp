#include "folder_host/Failure.h"

#include <system_error>

#include "folder_host/Shown.h"

namespace folder_host {

std::string inQuotes(std::string_view bytes) { return "'" + shown(bytes) + "'"; }

Error systemFailure(const char* identifier, const std::string& attempt, std::string_view path, int code) {
  return {identifier, attempt + " " + inQuotes(path) + ": " + std::generic_category().message(code)};
}

}  // namespace folder_host
