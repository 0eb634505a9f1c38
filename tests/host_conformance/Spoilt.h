#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "memory_host/MemoryHost.h"

// What careless code makes of texts.
namespace memory_host {

using Text = std::u16string;

inline Text lower(const Text& given) {
  Text text = given;
  for (char16_t& unit : text) unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
  return text;
}
inline Text cut(const Text& text) { return text.substr(0, 255); }
inline Text toNul(const Text& text) { return text.substr(0, text.find(u'\0')); }
inline Text toNothing(const Text&) { return {}; }

enum class Place { LOCATION, TYPE, KEY, VALUE, CATEGORY, REMOVED };

constexpr struct Spoil {
  const char* fault;
  Place place;
  Text (*change)(const Text&);
} SPOILS[] = {
    {"STORE_008 STORE_009 STORE_014 SHARE_004: locations have no case", Place::LOCATION, lower},
    {"STORE_010: types do not count", Place::TYPE, toNothing},
    {"STORE_011: keys have no case", Place::KEY, lower},
    {"STORE_011: values have 255 units", Place::VALUE, cut},
    {"STORE_011: U+0000 ends a value", Place::VALUE, toNul},
    {"LABEL_001: categories have no case", Place::CATEGORY, lower},
    {"FILE_005 FILE_006: removals have no case", Place::REMOVED, lower},
};

// The text as the fault of this process's host has it at that place.
inline Text spoilt(Place place, const Text& text) {
  for (const Spoil& spoil : SPOILS) {
    if (spoil.place == place && is(spoil.fault)) return spoil.change(text);
  }
  return text;
}

// As SQL's LIKE.
inline bool matches(std::u16string_view pattern, std::u16string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == u'%' && matches(pattern.substr(1), text)) return true;
  if (text.empty() || (pattern[0] != u'%' && pattern[0] != u'_' && pattern[0] != text[0])) return false;
  return matches(pattern[0] == u'%' ? pattern : pattern.substr(1), text.substr(1));
}

}  // namespace memory_host
