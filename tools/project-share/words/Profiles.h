#pragma once

#include <memory>
#include <string>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace project_share {

namespace profiles = project::sharing::profiles;

// Of the metadata of a working copy.
std::unique_ptr<profiles::ExportProfileManager> managerOf(folder_host::WorkingCopy& copy);

// Empty where it is lost, which leaves the profile to be found by its UUID, and deleted.
std::u16string nameOf(const profiles::ExportProfile& profile);

// The profile that the word means (see NameIndex): its name, its UUID or the beginning of one. Errors:
// PROFILE_NOT_FOUND, PROFILE_AMBIGUOUS.
std::shared_ptr<profiles::ExportProfile> findProfile(profiles::ExportProfileManager& manager, const std::string& word);

// Whether findProfile would find one, or several.
bool namesProfile(profiles::ExportProfileManager& manager, const std::string& word);

// All of them, sorted by name; those whose name is lost come first.
std::vector<std::shared_ptr<profiles::ExportProfile>> profilesByName(profiles::ExportProfileManager& manager);

// Every item of every stored profile: visit(profile, filter, item).
template <class Visit>
void forEachItem(profiles::ExportProfileManager& manager, const Visit& visit) {
  for (const auto& profile : manager.getProfiles()) {
    for (const auto& filter : profile->getFilters()) {
      for (const auto& item : filter->getItems()) visit(*profile, *filter, item);
    }
  }
}

}  // namespace project_share
