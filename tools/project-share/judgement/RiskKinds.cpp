#include "judgement/RiskKinds.h"

#include <algorithm>
#include <set>

namespace project_share {

// Taken from the table, so that a new risk can be allowed, completed and found in the help without a second list.
const std::vector<std::string>& allowableRisks() {
  static const std::vector<std::string> identifiers = [] {
    std::vector<std::string> all;
    for (const RiskKind* kind : risks::ALL) {
      if (kind->level == Level::risk) all.emplace_back(kind->identifier);
    }
    return all;
  }();
  return identifiers;
}

// Every path that the risk is about has to be allowed: who allowed one of three twins has not seen the other two.
bool isRefused(const Risk& risk, const Allowances& allowed) {
  const auto isAllowed = [&](const std::string& path) { return allowed.allows(risk.identifier, path); };
  const auto& others = risk.otherPaths;
  return !isAllowed(risk.path) || !std::all_of(others.begin(), others.end(), isAllowed);
}

std::vector<Risk> refusedAmong(const std::vector<Risk>& risks, const Allowances& allowed) {
  std::vector<Risk> refused;
  for (const Risk& risk : risks) {
    if (isRefused(risk, allowed)) refused.push_back(risk);
  }
  return refused;
}

// A note of a kind that is never a risk cannot be allowed, so no option is told that the command line would refuse.
std::string allowingFlags(const std::vector<Risk>& risks) {
  const auto& allowable = allowableRisks();
  std::set<std::string> identifiers;
  for (const Risk& risk : risks) {
    if (std::find(allowable.begin(), allowable.end(), risk.identifier) == allowable.end()) continue;
    identifiers.insert(risk.identifier);
  }
  std::string flags;
  for (const std::string& identifier : identifiers) flags += (flags.empty() ? "" : " ") + ("--allow " + identifier);
  return flags;
}

}  // namespace project_share
