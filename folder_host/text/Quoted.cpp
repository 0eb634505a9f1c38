#include "folder_host/text/Quoted.h"

#include <utf8proc.h>

#include <initializer_list>

#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

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

bool readsAsMore(std::string_view name) {
  if (name.empty() || name.front() == ' ' || name.back() == ' ' || name.find('\'') != name.npos) return true;
  for (const std::string_view mark : {", ", ": ", "  "}) {
    if (name.find(mark) != name.npos) return true;
  }
  const std::string_view begin = name.substr(0, 2);
  return begin == "- " || begin == "~ " || holdsOtherBlank(name);
}

}  // namespace

std::string inQuotes(std::string_view name) {
  std::string quoted = "'";
  for (const char c : name) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

std::string inQuotes(std::u16string_view name) { return inQuotes(std::string_view(toBytes(name))); }

std::string freeName(std::string_view name) { return readsAsMore(name) ? inQuotes(name) : std::string(name); }

std::string freeName(std::u16string_view name) { return freeName(std::string_view(toBytes(name))); }

}  // namespace folder_host
