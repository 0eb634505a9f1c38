#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Conversions between the bytes of the outside world and the UTF-16 text of the host interfaces.
namespace folder_host {

// What some bytes begin with.
struct Character {
  char32_t point;      // where it is not valid, the byte
  std::size_t length;  // in bytes: 1 where it is not valid
  bool isValid;        // UTF-8
};

// Of one byte or more.
Character firstCharacter(std::string_view bytes);

// UTF-8 to UTF-16, losslessly for any bytes: a byte 0x80..0xFF that is no part of valid UTF-8 becomes the unpaired
// surrogate U+DC80..U+DCFF. fromBytes and toBytes are inverse for every text that came from bytes.
std::u16string fromBytes(std::string_view bytes);
void appendFromBytes(std::u16string& text, std::string_view bytes);

// The bytes that fromBytes took. A surrogate that stands for no byte becomes U+FFFD: such a text never was a file name.
std::string toBytes(std::u16string_view text);

// Two lower-case digits a byte.
std::string hexOf(std::string_view bytes);

}  // namespace folder_host
