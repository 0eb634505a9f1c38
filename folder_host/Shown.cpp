#include "folder_host/Shown.h"

#include "folder_host/Text.h"

namespace folder_host {

namespace {

bool isBetween(char16_t unit, char16_t first, char16_t last) { return unit >= first && unit <= last; }

bool turnsDirection(char16_t unit) {
  return isBetween(unit, 0x200e, 0x200f) || isBetween(unit, 0x202a, 0x202e) || isBetween(unit, 0x2066, 0x2069);
}

bool isByte(char16_t unit) { return isBetween(unit, 0xdc80, 0xdcff); }

bool isEscaped(char16_t unit) {
  return unit < 0x20 || isBetween(unit, 0x7f, 0x9f) || unit == u'\\' || turnsDirection(unit) || isByte(unit);
}

std::string hex(unsigned value, int digits) {
  std::string text;
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) text += "0123456789abcdef"[(value >> shift) & 0xfU];
  return text;
}

std::string escaped(char16_t unit) {
  if (unit == u'\n') return "\\n";
  if (unit == u'\t') return "\\t";
  if (unit == u'\\') return "\\\\";
  return unit < 0x80 || isByte(unit) ? "\\x" + hex(unit & 0xffU, 2) : "\\u" + hex(unit, 4);
}

bool isPair(std::u16string_view text) {
  return text.size() == 2 && (text[0] & 0xfc00) == 0xd800 && (text[1] & 0xfc00) == 0xdc00;
}

}  // namespace

std::string shown(std::u16string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isPair(text.substr(i, 2))) {
      result += toBytes(text.substr(i, 2));
      ++i;
    } else {
      result += isEscaped(text[i]) ? escaped(text[i]) : toBytes(text.substr(i, 1));
    }
  }
  return result;
}

std::string shown(std::string_view bytes) { return shown(std::u16string_view(fromBytes(bytes))); }

}  // namespace folder_host
