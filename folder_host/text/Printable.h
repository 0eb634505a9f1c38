#pragma once

#include <string>
#include <string_view>

namespace folder_host {

// A text as a terminal is given it: on one line, valid UTF-8, of nothing but characters that are seen and stand where
// they are written. Any other character is escaped (\n, \t, \x1b, \u202e, \U000e0001), so is a byte that is no UTF-8
// (\xff), and a backslash is \\, so that different texts are shown differently. Meant for whole lines, once, where they
// are written; what builds a text leaves its names as they are.
std::string shown(std::string_view bytes);

// Whether a character is not seen, or changes how others are: control and format characters (those that turn the
// writing direction, join, or have no width), separators of lines and paragraphs, invisible letters, variation
// selectors. Of the last, shown leaves the two that tell an emoji's style where they follow one.
bool isUnseen(char32_t point);

}  // namespace folder_host
