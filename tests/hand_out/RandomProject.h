#pragma once

#include <map>
#include <string>
#include <vector>

namespace hand_out {

struct Planted {
  std::map<std::u16string, int> named;  // all labels, categories and profiles: the canary in the name, by UUID
  std::vector<int> deleted;             // labels and profiles that are not there any more
  std::u16string profile;               // the UUID of the one to hand out by
};

// Makes the folder a project with random entries, labels and profiles, each name and each content with a canary of its
// own. The same seed gives the same, UUIDs aside. Canary 0 is for what lies beside the folder, which links lead to.
Planted plant(const std::string& folder, unsigned seed);

}  // namespace hand_out
