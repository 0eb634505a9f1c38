#include "folder_host/text/Utf.h"

#include <array>
#include <cstddef>

namespace folder_host {

namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr char32_t BYTE_BASE = 0xDC00;  // the byte 0x80 is U+DC80

bool isSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }
bool isHigh(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLow(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

unsigned byteAt(std::string_view bytes, std::size_t index) { return static_cast<unsigned char>(bytes[index]); }

std::size_t sequenceLength(unsigned lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

void appendUnits(std::u16string& text, char32_t point) {
  if (point < 0x10000) {
    text += static_cast<char16_t>(point);
  } else {
    text += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10U));
    text += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FFU));
  }
}

void appendBytes(std::string& bytes, char32_t point) {
  const auto put = [&bytes](char32_t value) { bytes += static_cast<char>(static_cast<unsigned char>(value)); };
  const auto tail = [&](unsigned shift) { put(0x80U | ((point >> shift) & 0x3FU)); };
  if (point < 0x80) return put(point);
  if (point < 0x800) return put(0xC0U | (point >> 6U)), tail(0);
  if (point < 0x10000) return put(0xE0U | (point >> 12U)), tail(6), tail(0);
  put(0xF0U | (point >> 18U)), tail(12), tail(6), tail(0);
}

}  // namespace

Character firstCharacter(std::string_view bytes) {
  static constexpr std::array<char32_t, 5> LEAST = {0, 0, 0x80, 0x800, 0x10000};
  const std::size_t length = sequenceLength(byteAt(bytes, 0));
  const Character invalid{byteAt(bytes, 0), 1, false};
  if (length == 0 || bytes.size() < length) return invalid;
  if (length == 1) return {byteAt(bytes, 0), 1, true};
  char32_t point = byteAt(bytes, 0) & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(bytes, i) & 0xC0U) != 0x80) return invalid;
    point = (point << 6U) | (byteAt(bytes, i) & 0x3FU);
  }
  if (point < LEAST[length] || isSurrogate(point) || point > 0x10FFFF) return invalid;
  return {point, length, true};
}

std::u16string fromBytes(std::string_view bytes) {
  std::u16string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const Character first = firstCharacter(bytes);
    appendUnits(text, first.isValid ? first.point : BYTE_BASE + first.point);
    bytes.remove_prefix(first.length);
  }
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
