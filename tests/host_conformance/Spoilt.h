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
inline Text composed(const Text& given) {
  Text text = given;
  for (std::size_t at = 0; (at = text.find(u"e\u0301")) != Text::npos;) text.replace(at, 2, u"\u00E9");
  return text;
}
inline Text trimmed(const Text& text) { return text.substr(0, text.find_last_not_of(u" \t\r\n") + 1); }
inline Text wellFormed(const Text& given) {
  Text text = given;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isPair = text[i] >> 10 == 0x36 && i + 1 < text.size() && text[i + 1] >> 10 == 0x37;
    if (!isPair && text[i] >> 11 == 0x1B) text[i] = u'\uFFFD';
    if (isPair) ++i;
  }
  return text;
}
inline Text cut(const Text& text) { return text.substr(0, 255); }
inline Text toNul(const Text& text) { return text.substr(0, text.find(u'\0')); }
inline Text toNumber(const Text& text) { return text == u"01" || text == u"1.0" ? u"1" : text; }
inline Text toNothing(const Text&) { return {}; }

enum class Place { LOCATION, TYPE, KEY, VALUE, CATEGORY, LABELLED, REMOVED };

constexpr struct Spoil {
  const char* fault;
  Place place;
  Text (*change)(const Text&);
} SPOILS[] = {
    {"STORE_008 STORE_009 STORE_014 SHARE_004: locations have no case", Place::LOCATION, lower},
    {"STORE_008 STORE_009: locations are composed", Place::LOCATION, composed},
    {"STORE_008: locations are trimmed", Place::LOCATION, trimmed},
    {"STORE_008: locations are well-formed", Place::LOCATION, wellFormed},
    {"STORE_008: locations have 255 units", Place::LOCATION, cut},
    {"STORE_008: U+0000 ends a location", Place::LOCATION, toNul},
    {"STORE_008: locations may be numbers", Place::LOCATION, toNumber},
    {"STORE_010: types do not count", Place::TYPE, toNothing},
    {"STORE_010: types have no case", Place::TYPE, lower},
    {"STORE_011: keys have no case", Place::KEY, lower},
    {"STORE_011: values are composed", Place::VALUE, composed},
    {"STORE_011: values are trimmed", Place::VALUE, trimmed},
    {"STORE_011: values are well-formed", Place::VALUE, wellFormed},
    {"STORE_011: values have 255 units", Place::VALUE, cut},
    {"STORE_011: U+0000 ends a value", Place::VALUE, toNul},
    {"LABEL_001: categories have no case", Place::CATEGORY, lower},
    {"LABEL_001: categories are composed", Place::CATEGORY, composed},
    {"FILE_004 SHARE_002: labels go by names without case", Place::LABELLED, lower},
    {"FILE_004 SHARE_002: labels go by trimmed names", Place::LABELLED, trimmed},
    {"FILE_005 FILE_006: removals have no case", Place::REMOVED, lower},
    {"FILE_005 FILE_006: removals go by composed names", Place::REMOVED, composed},
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
