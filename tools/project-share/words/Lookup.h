#pragma once

#include <memory>
#include <string>
#include <vector>

#include "folder_host/FolderProject.h"
#include "folder_host/text/Printable.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

// From the words that people type to what they mean, and back.
namespace project_share {

namespace profiles = project::sharing::profiles;

// Names are given as they are; in a sentence they are quoted, in lists they stand free where they can.
using folder_host::freeName;
using folder_host::inQuotes;

// The words for the kinds of filter, in the order in which help lists them.
const std::vector<std::string>& kindWords();
std::u16string kindOf(const std::string& word);  // one of kindWords()
std::string wordOf(const std::u16string& kind);  // an unknown kind: its own text, in quotes
bool isFileKind(const std::u16string& kind);

// The label of that CATEGORY/NAME or, where there is none, of that UUID. Errors: LABEL_NOT_FOUND; LABEL_AMBIGUOUS where
// only a UUID will do.
folder_host::LabelRecord findLabel(const std::vector<folder_host::LabelRecord>& labels, const std::string& word);

// CATEGORY and NAME, split at the first '/'. Error: LABEL_MALFORMED.
std::pair<std::u16string, std::u16string> splitLabel(const std::string& word);

std::string nameOf(const folder_host::LabelRecord& label);
std::string nameOf(const folder_host::Entry& entry);  // a folder's ends with a slash

// The label that an item names; of one that is gone its UUID.
std::string nameOf(const profiles::ExportStrategyItem& item, const std::vector<folder_host::LabelRecord>& labels);

// Empty where it is lost, which leaves the profile to be found by its UUID, and deleted.
std::u16string nameOf(const profiles::ExportProfile& profile);

// The profile of that name or, where there is none, of that UUID. Errors: PROFILE_NOT_FOUND; PROFILE_AMBIGUOUS where
// only a UUID will do.
std::shared_ptr<profiles::ExportProfile> findProfile(profiles::ExportProfileManager& manager, const std::string& word);

// Whether findProfile would find one, or several.
bool namesProfile(profiles::ExportProfileManager& manager, const std::string& word);

// Of the metadata of a working copy.
std::unique_ptr<profiles::ExportProfileManager> managerOf(folder_host::WorkingCopy& copy);

// Sorted by name.
std::vector<std::shared_ptr<profiles::ExportProfile>> profilesByName(profiles::ExportProfileManager& manager);

// A label that a filter names; of one that is gone the name is its UUID.
struct NamedLabel {
  std::string name;
  bool isDeleted;
};

// As it stands in a list: "audience/internal", "UUID  (gone)".
std::string textOf(const NamedLabel& label);

// Of all that the filter names, sorted by name.
std::vector<NamedLabel> namedBy(const profiles::ExportFilter& filter,
                                const std::vector<folder_host::LabelRecord>& labels);

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
