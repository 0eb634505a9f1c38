#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

// Everything in a project is marked by a canary, by which a copy tells what it gives away.
namespace hand_out {

// The text for a number below 1000000, which a file name takes and nothing else contains: "cNry000123x".
std::string canary(int number);

// ASCII text as the bytes of UTF-8, UTF-16LE and UTF-16BE.
std::array<std::string, 3> encoded(const std::string& ascii);

struct Planted {
  std::map<std::u16string, int> named;  // all labels, categories and profiles: the canary in the name, by UUID
  std::vector<int> deleted;             // labels and profiles that are not there any more
  std::u16string profile;               // the UUID of the one to hand out by
};

// Makes the folder a project with random entries, labels and profiles, each name and each content with a canary of its
// own. The same seed gives the same, UUIDs aside. Canary 0 is for what lies beside the folder, which links lead to.
Planted plant(const std::string& folder, unsigned seed);

}  // namespace hand_out
