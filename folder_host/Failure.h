#pragma once

#include <string>
#include <string_view>

#include "folder_host/Error.h"

namespace folder_host {

// Bytes as part of a one-line message: in quotes, as they are shown.
std::string inQuotes(std::string_view bytes);

// "cannot read 'a/b': Permission denied"; `code` is an errno.
Error systemFailure(const char* identifier, const std::string& attempt, std::string_view path, int code);

}  // namespace folder_host
