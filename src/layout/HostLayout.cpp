#include "project/sharing/profiles/HostLayout.h"

#include <algorithm>

namespace project::sharing::profiles {

std::vector<std::string> hostLayoutDifferences(const HostLayout& ofCaller) {
  const HostLayout own = hostLayout();
  std::vector<std::string> differences;
  for (const HostLayoutFact& fact : ofCaller) {
    const auto known =
        std::find_if(own.begin(), own.end(), [&](const auto& one) { return std::strcmp(one.name, fact.name) == 0; });
    if (known == own.end() || known->value == fact.value) continue;
    differences.push_back(std::string(fact.name) + ": " + std::to_string(known->value) + " in the library, " +
                          std::to_string(fact.value) + " in its caller");
  }
  return differences;
}

}  // namespace project::sharing::profiles
