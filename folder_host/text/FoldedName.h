#pragma once

#include <string>
#include <string_view>

namespace folder_host {

// The name as a disk sees it to which case, and the way in which accents are written, make no difference: names are one
// there when their folded forms are equal. Bytes that are no UTF-8 stay as they are; such names exist on no such disk.
std::string foldedName(std::string_view bytes);

// What is left of a name for the eye: names with one look differ in case, in the way in which accents are written, in
// blanks around them or in kinds of blanks, or in characters that are not seen (see isUnseen). Empty where nothing is.
std::string lookOf(std::string_view name);

}  // namespace folder_host
