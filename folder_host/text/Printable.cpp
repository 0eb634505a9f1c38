#include "folder_host/text/Printable.h"

#include <utf8proc.h>

#include <initializer_list>

#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

// These are drawn as nothing, and no property of theirs says so.
constexpr char32_t EMPTY_BRAILLE = 0x2800;
constexpr char32_t EMPTY_NOTE = 0x1D159;

const utf8proc_property_t& propertyOf(char32_t point) {
  return *utf8proc_get_property(static_cast<utf8proc_int32_t>(point));
}

// These two choose how the pictograph before them is drawn. Behind anything else they would be a difference that nobody
// sees.
bool isEmojiStyle(char32_t point, char32_t before) {
  return (point == 0xFE0E || point == 0xFE0F) &&
         propertyOf(before).boundclass == UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC;
}

std::string numbered(const char* begin, char32_t value, unsigned digits) {
  std::string text = begin;
  while (digits-- > 0) text += "0123456789abcdef"[(value >> (4 * digits)) & 0xFU];
  return text;
}

std::string escaped(char32_t point) {
  if (point == '\n') return "\\n";
  if (point == '\t') return "\\t";
  if (point == '\\') return "\\\\";
  if (point < 0x80) return numbered("\\x", point, 2);
  return point < 0x10000 ? numbered("\\u", point, 4) : numbered("\\U", point, 8);
}

bool isOtherBlank(char32_t point) {
  return point > 0x7F && utf8proc_category(static_cast<utf8proc_int32_t>(point)) == UTF8PROC_CATEGORY_ZS;
}

bool holdsOtherBlank(std::string_view bytes) {
  while (!bytes.empty()) {
    const Character first = firstCharacter(bytes);
    if (isOtherBlank(first.point)) return true;
    bytes.remove_prefix(first.length);
  }
  return false;
}

// In a list, a name stands free where it cannot be taken for the list's own marks: a comma between two names, a dash
// before a line, the blanks of a column.
bool readsAsMore(std::string_view name) {
  if (name.empty() || name.front() == ' ' || name.back() == ' ' || name.find('\'') != name.npos) return true;
  for (const std::string_view mark : {", ", ": ", "  "}) {
    if (name.find(mark) != name.npos) return true;
  }
  const std::string_view begin = name.substr(0, 2);
  return begin == "- " || begin == "~ " || holdsOtherBlank(name);
}

}  // namespace

bool isUnseen(char32_t point) {
  if (point < 0x7F) return point < 0x20;
  const utf8proc_property_t& property = propertyOf(point);
  return property.ignorable || point == EMPTY_BRAILLE || point == EMPTY_NOTE ||
         property.category == UTF8PROC_CATEGORY_CC || property.category == UTF8PROC_CATEGORY_CF ||
         property.category == UTF8PROC_CATEGORY_ZL || property.category == UTF8PROC_CATEGORY_ZP;
}

// The backslash is escaped as well, or a name could hold the text of an escape and look like another one.
std::string shown(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size());
  char32_t before = 0;
  while (!bytes.empty()) {
    const Character first = firstCharacter(bytes);
    if (!first.isValid) {
      result += numbered("\\x", first.point, 2);
    } else if (first.point == '\\' || (isUnseen(first.point) && !isEmojiStyle(first.point, before))) {
      result += escaped(first.point);
    } else {
      result += bytes.substr(0, first.length);
    }
    before = first.point;
    bytes.remove_prefix(first.length);
  }
  return result;
}

// A quote within is doubled, or a name could end its own quotes and go on as the sentence.
std::string inQuotes(std::string_view name) {
  std::string quoted = "'";
  for (const char c : name) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

std::string inQuotes(std::u16string_view name) { return inQuotes(std::string_view(toBytes(name))); }

std::string freeName(std::string_view name) { return readsAsMore(name) ? inQuotes(name) : std::string(name); }

std::string freeName(std::u16string_view name) { return freeName(std::string_view(toBytes(name))); }

}  // namespace folder_host
