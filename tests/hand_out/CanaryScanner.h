#pragma once

#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

// Finds out what a folder gives away: everything in a project is marked by a canary, and a copy is searched for them.
namespace hand_out {

// The text for a number below 1000000, which a file name takes and nothing else contains: "cNry000123x".
std::string canary(int number);

// ASCII text as the bytes of UTF-8, UTF-16LE and UTF-16BE.
std::array<std::string, 3> encoded(std::string_view ascii);

// All that lies in the folder, in a fixed order: names, contents, link targets, and extended attributes, also its own.
// Throws where something cannot be read.
std::string everythingIn(const std::filesystem::path& folder);

// The numbers of the canaries in any of the encodings, at any offset.
std::set<int> canariesIn(std::string bytes);

// Whether the ASCII text is there in any of the encodings, at any offset.
bool holds(std::string_view bytes, std::string_view ascii);

}  // namespace hand_out
