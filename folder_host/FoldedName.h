#pragma once

#include <string>
#include <string_view>

namespace folder_host {

// The name as a disk sees it to which case, and the way in which accents are written, make no difference: names are one
// there when their folded forms are equal. Bytes that are no UTF-8 stay as they are; such names exist on no such disk.
std::string foldedName(std::string_view bytes);

}  // namespace folder_host
