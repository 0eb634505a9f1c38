#include "words/Profiles.h"

#include <map>
#include <stdexcept>
#include <utility>

#include "Refusal.h"
#include "folder_host/text/Utf.h"
#include "words/NameIndex.h"

namespace project_share {

using profiles::ExportProfile;
using profiles::ExportProfileManager;

namespace {

constexpr Naming PROFILES{"profile", refusals::PROFILE_NOT_FOUND, refusals::PROFILE_AMBIGUOUS};

using Profiles = std::vector<std::shared_ptr<ExportProfile>>;

// A profile whose name is lost has none, and is found by its UUID.
NameIndex nameIndexOf(const Profiles& profiles) {
  NameIndex names;
  for (const auto& profile : profiles) names.add(nameOf(*profile), {}, profile->getUUID());
  return names;
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
  const Profiles all = manager.getProfiles();
  return all[nameIndexOf(all).require(word, PROFILES)];
}

bool namesProfile(ExportProfileManager& manager, const std::string& word) {
  return !nameIndexOf(manager.getProfiles()).find(word).empty();
}

std::vector<std::shared_ptr<ExportProfile>> profilesByName(ExportProfileManager& manager) {
  std::multimap<std::u16string, std::shared_ptr<ExportProfile>> byName;
  for (const auto& profile : manager.getProfiles()) byName.emplace(nameOf(*profile), profile);
  std::vector<std::shared_ptr<ExportProfile>> sorted;
  for (const auto& [name, profile] : byName) sorted.push_back(profile);
  return sorted;
}

}  // namespace project_share
