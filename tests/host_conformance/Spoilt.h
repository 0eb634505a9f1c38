#pragma once

#include <string>
#include <string_view>

// What careless code makes of texts.
namespace memory_host {

enum class Place { LOCATION, TYPE, KEY, VALUE, CATEGORY, ENTRY, REMOVED };

// The text as the fault of this process's host has it at that place.
std::u16string spoilt(Place place, const std::u16string& text);

// As SQL's LIKE.
bool matches(std::u16string_view pattern, std::u16string_view text);

// Of paths: whether it is `top` or lies in it.
bool isBelow(const std::u16string& text, const std::u16string& top);
std::u16string leafOf(const std::u16string& path);

}  // namespace memory_host
