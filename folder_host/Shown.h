#pragma once

#include <string>
#include <string_view>

namespace folder_host {

// A name as people are shown it: control characters, those that turn the writing direction, backslashes and bytes that
// are no UTF-8 are escaped (\n, \x1b, \u202e, \\), so that it keeps to its line and steers no terminal.
std::string shown(std::string_view bytes);
std::string shown(std::u16string_view text);

}  // namespace folder_host
