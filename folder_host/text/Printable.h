#pragma once

#include <string>
#include <string_view>

// Texts for people. A name becomes a part of a text by inQuotes or freeName, and the text becomes a line by shown,
// once, where it is written: so it cannot end early or steer a terminal, whatever a name holds.
namespace folder_host {

// In single quotes, those within doubled: so a name ends where its quotes end.
std::string inQuotes(std::string_view name);
std::string inQuotes(std::u16string_view name);

// A name that stands free in a list, where ", ", ": ", two blanks or the line's end come after it: as it is, or in
// quotes where it could be read as more than a name. So it is when it is empty; begins or ends with a blank, or begins
// with "- " or "~ ", which mark the lines of a tree; or holds a quote, ", ", ": ", two blanks, or a blank other than
// U+0020.
std::string freeName(std::string_view name);
std::string freeName(std::u16string_view name);

// A line as a terminal is given it: valid UTF-8, of nothing but characters that are seen and stand where they are
// written. Any other character is escaped (\n, \t, \x1b, \u202e, \U000e0001), so is a byte that is no UTF-8 (\xff), and
// a backslash is \\, so that different texts are shown differently.
std::string shown(std::string_view bytes);

// Whether a character is not seen, or changes how others are: control and format characters (those that turn the
// writing direction, join, or have no width), separators of lines and paragraphs, invisible letters, variation
// selectors. Of the last, shown leaves the two that tell an emoji's style where they follow one.
bool isUnseen(char32_t point);

}  // namespace folder_host
