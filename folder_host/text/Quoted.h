#pragma once

#include <string>
#include <string_view>

// Names as parts of a text. Nothing is escaped here: that is done where the text is shown
// (folder_host/text/Printable.h).
namespace folder_host {

// In single quotes, those within doubled: so a name ends where its quotes end, whatever it holds.
std::string inQuotes(std::string_view name);
std::string inQuotes(std::u16string_view name);

// A name that stands free in a list, where ", ", ": ", two blanks or the line's end come after it: as it is, or in
// quotes where it could be read as more than a name. So it is when it is empty; begins or ends with a blank, or with "-
// " or
// "~ ", which mark the lines of a tree; or holds a quote, ", ", ": ", two blanks, or a blank other than U+0020.
std::string freeName(std::string_view name);
std::string freeName(std::u16string_view name);

}  // namespace folder_host
