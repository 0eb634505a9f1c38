#pragma once

#include <string>
#include <string_view>

// Text as the store keeps it.
namespace folder_host {

// Every text, unit by unit: UTF-16 big-endian, so that byte order is code-unit order. fromBlob of an odd number of
// bytes: STORE_UNREADABLE.
std::string toBlob(std::u16string_view text);
void appendBlob(std::string& blob, std::u16string_view text);
std::u16string fromBlob(std::string_view blob);

}  // namespace folder_host
