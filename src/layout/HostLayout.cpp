#include "project/sharing/profiles/HostLayout.h"

#include <algorithm>

namespace project::sharing::profiles {

std::vector<std::string> hostLayoutDifferences(const HostLayout& ofCaller) {
  // Each file has its own hostLayout(): this one tells what the library was compiled against.
  const HostLayout own = hostLayout();
  std::vector<std::string> differences;
  for (const HostLayoutFact& fact : ofCaller) {
    const auto known = std::find_if(own.begin(), own.end(), [&](const auto& one) { return one.name == fact.name; });
    if (known == own.end() || known->value == fact.value) continue;
    std::string& line = differences.emplace_back(fact.name);
    line.append(": ").append(known->value).append(" in the library, ").append(fact.value).append(" in its caller");
  }
  return differences;
}

}  // namespace project::sharing::profiles
