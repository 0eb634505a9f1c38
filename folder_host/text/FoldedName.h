#pragma once

#include <string>
#include <string_view>

namespace folder_host {

// The form by which some disks compare names: where two are equal, case and the spelling of accents are all that tells
// the names apart. A name that is no UTF-8 stays as it is; no such disk has one.
std::string foldedName(std::string_view bytes);

// What the eye sees of a name: names of one look differ in nothing but case, the spelling of accents, blanks around
// them, kinds of blanks, and characters that are not seen (isUnseen). Empty where nothing is seen.
std::string lookOf(std::string_view name);

}  // namespace folder_host
