#include "host_conformance/Spoilt.h"

#include <algorithm>

#include "memory_host/MemoryHost.h"

namespace memory_host {

namespace {

std::u16string lower(std::u16string text) {
  for (char16_t& unit : text) {
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + 32);
  }
  return text;
}

std::u16string composed(std::u16string text) {
  for (std::size_t at = 0; (at = text.find(u"e\u0301")) != text.npos;) text.replace(at, 2, u"\u00E9");
  std::replace(text.begin(), text.end(), u'\u212A', u'K');
  return text;
}

std::u16string trimmed(std::u16string text) {
  const std::size_t last = text.find_last_not_of(u" \t\r\n");
  return text.substr(0, last == text.npos ? 0 : last + 1);
}

std::u16string wellFormed(std::u16string text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isFirst = (text[i] & 0xFC00) == 0xD800,
               isPair = isFirst && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
    if (isPair)
      ++i;
    else if ((text[i] & 0xF800) == 0xD800)
      text[i] = u'\uFFFD';
  }
  return text;
}

std::u16string short255(std::u16string text) { return text.substr(0, 255); }
std::u16string toNul(std::u16string text) { return text.substr(0, text.find(u'\0')); }
std::u16string none(std::u16string) { return u"all"; }
std::u16string asNumber(std::u16string text) { return text == u"01" || text == u"1.0" || text == u"1e0" ? u"1" : text; }

struct Spoil {
  const char* fault;
  Place place;
  std::u16string (*change)(std::u16string);
};

constexpr Spoil SPOILS[] = {
    {"STORE_008 STORE_009 STORE_014 SHARE_004: locations have no case", Place::LOCATION, lower},
    {"STORE_008 STORE_009: locations are composed", Place::LOCATION, composed},
    {"STORE_008: locations are trimmed", Place::LOCATION, trimmed},
    {"STORE_008: locations are well-formed", Place::LOCATION, wellFormed},
    {"STORE_008: locations have 255 units", Place::LOCATION, short255},
    {"STORE_008: U+0000 ends a location", Place::LOCATION, toNul},
    {"STORE_008: locations may be numbers", Place::LOCATION, asNumber},
    {"STORE_010: types do not count", Place::TYPE, none},
    {"STORE_010: types have no case", Place::TYPE, lower},
    {"STORE_011: keys have no case", Place::KEY, lower},
    {"STORE_011 STORE_008: values are composed", Place::VALUE, composed},
    {"STORE_011: values are trimmed", Place::VALUE, trimmed},
    {"STORE_011: values are well-formed", Place::VALUE, wellFormed},
    {"STORE_011: values have 255 units", Place::VALUE, short255},
    {"STORE_011: U+0000 ends a value", Place::VALUE, toNul},
    {"LABEL_001: categories have no case", Place::CATEGORY, lower},
    {"LABEL_001: categories are composed", Place::CATEGORY, composed},
    {"FILE_004 SHARE_002: labels go by names without case", Place::ENTRY, lower},
    {"FILE_004 SHARE_002: labels go by trimmed names", Place::ENTRY, trimmed},
    {"FILE_005 FILE_006: removals have no case", Place::REMOVED, lower},
    {"FILE_005 FILE_006: removals go by composed names", Place::REMOVED, composed},
};

}  // namespace

std::u16string spoilt(Place place, const std::u16string& text) {
  for (const Spoil& spoil : SPOILS) {
    if (spoil.place == place && is(spoil.fault)) return spoil.change(text);
  }
  return text;
}

bool matches(std::u16string_view pattern, std::u16string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == u'%' && matches(pattern.substr(1), text)) return true;
  if (text.empty() || (pattern[0] != u'%' && pattern[0] != u'_' && pattern[0] != text[0])) return false;
  return matches(pattern[0] == u'%' ? pattern : pattern.substr(1), text.substr(1));
}

bool isBelow(const std::u16string& text, const std::u16string& top) {
  return text == top || (text.size() > top.size() && text[top.size()] == u'/' && text.compare(0, top.size(), top) == 0);
}

std::u16string leafOf(const std::u16string& path) { return path.substr(path.rfind(u'/') + 1); }

}  // namespace memory_host
