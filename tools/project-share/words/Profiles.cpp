#include "words/Profiles.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include "Refusal.h"
#include "folder_host/text/Utf.h"
#include "words/Names.h"

namespace project_share {

using profiles::ExportProfile;
using profiles::ExportProfileManager;

namespace {

// Those of that name or, where there is none, the one of that UUID. The name first, as people see names: a profile that
// is named like the UUID of another is the one that is meant.
std::vector<std::shared_ptr<ExportProfile>> profilesOf(ExportProfileManager& manager, const std::string& word) {
  const std::u16string text = folder_host::fromBytes(word);
  std::vector<std::shared_ptr<ExportProfile>> named, identified;
  for (const auto& profile : manager.getProfiles()) {
    if (nameOf(*profile) == text) named.push_back(profile);
    if (profile->getUUID() == text) identified.push_back(profile);
  }
  return named.empty() ? identified : named;
}

}  // namespace

std::unique_ptr<ExportProfileManager> managerOf(folder_host::WorkingCopy& copy) {
  return profiles::createManager(copy.getMetadataManager());
}

// A store may have lost one value. The profile must still be found, or it could not be deleted.
std::u16string nameOf(const ExportProfile& profile) {
  try {
    return profile.getName();
  } catch (const std::out_of_range&) {
    return {};
  }
}

std::shared_ptr<ExportProfile> findProfile(ExportProfileManager& manager, const std::string& word) {
  const auto found = profilesOf(manager, word);
  requireOne(found.size(), "profile", word, refusals::PROFILE_NOT_FOUND, refusals::PROFILE_AMBIGUOUS);
  return found.front();
}

bool namesProfile(ExportProfileManager& manager, const std::string& word) { return !profilesOf(manager, word).empty(); }

std::vector<std::shared_ptr<ExportProfile>> profilesByName(ExportProfileManager& manager) {
  std::multimap<std::u16string, std::shared_ptr<ExportProfile>> byName;
  for (const auto& profile : manager.getProfiles()) byName.emplace(nameOf(*profile), profile);
  std::vector<std::shared_ptr<ExportProfile>> sorted;
  for (const auto& [name, profile] : byName) sorted.push_back(profile);
  return sorted;
}

}  // namespace project_share
