#include "folder_host/text/FoldedName.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "folder_host/text/Printable.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

struct Free {
  void operator()(utf8proc_uint8_t* bytes) const { std::free(bytes); }
};

std::string lowerCase(std::string_view ascii) {
  std::string lower(ascii);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace

// Most names are ASCII, and folded faster without the tables.
std::string foldedName(std::string_view bytes) {
  if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    return lowerCase(bytes);
  }
  // Decomposed, too: a letter with an accent is one character or two, and some disks take both for one name.
  constexpr auto OPTIONS = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD);
  utf8proc_uint8_t* result = nullptr;
  const utf8proc_ssize_t length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                                               static_cast<utf8proc_ssize_t>(bytes.size()), &result, OPTIONS);
  const std::unique_ptr<utf8proc_uint8_t, Free> owned(result);
  // What is no UTF-8 has no case, and is equal to itself alone.
  if (length < 0) return std::string(bytes);
  return {reinterpret_cast<const char*>(result), static_cast<std::size_t>(length)};
}

// A blank of any kind looks like a space, and what is not seen like nothing: names that differ in these alone cannot be
// told apart on a screen.
std::string lookOf(std::string_view name) {
  std::string seen;
  for (std::string_view rest = name; !rest.empty();) {
    const Character first = firstCharacter(rest);
    const bool isBlank =
        first.isValid && utf8proc_category(static_cast<utf8proc_int32_t>(first.point)) == UTF8PROC_CATEGORY_ZS;
    if (isBlank) {
      seen += ' ';
    } else if (!first.isValid || !isUnseen(first.point)) {
      seen += rest.substr(0, first.length);
    }
    rest.remove_prefix(first.length);
  }
  const std::size_t begin = seen.find_first_not_of(' ');
  if (begin == std::string::npos) return {};
  return foldedName(std::string_view(seen).substr(begin, seen.find_last_not_of(' ') - begin + 1));
}

}  // namespace folder_host
