#pragma once

#include <string>
#include <string_view>

#include "folder_host/Error.h"
#include "folder_host/Quoted.h"

namespace folder_host {

// "cannot read 'a/b': Permission denied"; `code` is an errno.
Error systemFailure(const char* identifier, const std::string& attempt, std::string_view path, int code);

}  // namespace folder_host
