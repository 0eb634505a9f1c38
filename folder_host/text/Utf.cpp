#include "folder_host/text/Utf.h"

#include <utf8proc.h>

#include <array>
#include <cstddef>

namespace folder_host {

namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr char32_t BYTE_BASE = 0xDC00;  // the byte 0x80 is U+DC80

bool isSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }
bool isHigh(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLow(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void appendUnits(std::u16string& text, char32_t point) {
  if (point < 0x10000) {
    text += static_cast<char16_t>(point);
  } else {
    text += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10U));
    text += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FFU));
  }
}

// Most characters of names are ASCII, and faster by themselves.
void appendBytes(std::string& bytes, char32_t point) {
  if (point < 0x80) {
    bytes += static_cast<char>(point);
    return;
  }
  std::array<utf8proc_uint8_t, 4> encoded{};
  const utf8proc_ssize_t length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(point), encoded.data());
  bytes.append(reinterpret_cast<const char*>(encoded.data()), static_cast<std::size_t>(length));
}

}  // namespace

// Where a byte begins no character, it stands for itself, and reading goes on with the next: nothing behind it is lost.
Character firstCharacter(std::string_view bytes) {
  utf8proc_int32_t point = 0;
  const auto* const begin = reinterpret_cast<const utf8proc_uint8_t*>(bytes.data());
  const utf8proc_ssize_t length = utf8proc_iterate(begin, static_cast<utf8proc_ssize_t>(bytes.size()), &point);
  if (length < 1) return {*begin, 1, false};
  return {static_cast<char32_t>(point), static_cast<std::size_t>(length), true};
}

// Names on a disk are any bytes. One that is no UTF-8 becomes half a surrogate pair, which UTF-8 never gives, so that
// toBytes finds the same bytes, and the same file.
void appendFromBytes(std::u16string& text, std::string_view bytes) {
  while (!bytes.empty()) {
    if (static_cast<unsigned char>(bytes.front()) < 0x80) {
      text += static_cast<char16_t>(bytes.front());
      bytes.remove_prefix(1);
      continue;
    }
    const Character first = firstCharacter(bytes);
    appendUnits(text, first.isValid ? first.point : BYTE_BASE + first.point);
    bytes.remove_prefix(first.length);
  }
}

std::u16string fromBytes(std::string_view bytes) {
  std::u16string text;
  text.reserve(bytes.size());
  appendFromBytes(text, bytes);
  return text;
}

std::string toBytes(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char32_t unit = text[i];
    if (isHigh(unit) && i + 1 < text.size() && isLow(text[i + 1])) {
      appendBytes(bytes, 0x10000 + ((unit - 0xD800) << 10U) + (text[++i] - 0xDC00U));
    } else if (unit >= BYTE_BASE + 0x80 && unit <= BYTE_BASE + 0xFF) {
      bytes += static_cast<char>(static_cast<unsigned char>(unit - BYTE_BASE));
    } else {
      appendBytes(bytes, isSurrogate(unit) ? REPLACEMENT : unit);
    }
  }
  return bytes;
}

std::string hexOf(std::string_view bytes) {
  std::string hex;
  hex.reserve(2 * bytes.size());
  for (const char byte : bytes) {
    for (const unsigned shift : {4U, 0U}) hex += "0123456789abcdef"[(static_cast<unsigned char>(byte) >> shift) & 0xFU];
  }
  return hex;
}

}  // namespace folder_host
