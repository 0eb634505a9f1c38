#include "words/Lookup.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include "Refusal.h"
#include "folder_host/text/Utf.h"

namespace project_share {

using folder_host::LabelRecord;

namespace {

const std::vector<std::pair<std::string, std::u16string>>& kinds() {
  static const std::vector<std::pair<std::string, std::u16string>> all{
      {"keep-labels", profiles::INCLUDE_LABEL},
      {"drop-labels", profiles::EXCLUDE_LABEL},
      {"keep-files", profiles::INCLUDE_FILES_WITH_LABEL},
      {"drop-files", profiles::EXCLUDE_FILES_WITH_LABEL},
  };
  return all;
}

template <class Found>
auto theOnly(const Found& found, const char* ambiguous, const char* absent, const std::string& word, const char* what) {
  if (found.empty()) {
    throw Refusal(absent,
                  fmt::format("there is no {0} {1}; 'project-share {0} list' shows them", what, inQuotes(word)));
  }
  if (found.size() > 1) {
    throw Refusal(ambiguous, fmt::format("{2} {0}s are named {1}; give the UUID, which 'project-share {0} list' shows",
                                         what, inQuotes(word), found.size()));
  }
  return found.front();
}

profiles::ExportStrategyItem itemOf(const LabelRecord& label) { return {label.categoryUUID, label.uuid}; }

}  // namespace

const std::vector<std::string>& kindWords() {
  static const std::vector<std::string> words = [] {
    std::vector<std::string> all;
    for (const auto& kind : kinds()) all.push_back(kind.first);
    return all;
  }();
  return words;
}

std::u16string kindOf(const std::string& word) {
  const auto is = [&](const auto& kind) { return kind.first == word; };
  return std::find_if(kinds().begin(), kinds().end(), is)->second;
}

std::string wordOf(const std::u16string& kind) {
  const auto is = [&](const auto& known) { return known.second == kind; };
  const auto found = std::find_if(kinds().begin(), kinds().end(), is);
  return found != kinds().end() ? found->first : inQuotes(kind);
}

bool isFileKind(const std::u16string& kind) {
  return kind == profiles::INCLUDE_FILES_WITH_LABEL || kind == profiles::EXCLUDE_FILES_WITH_LABEL;
}

LabelRecord findLabel(const std::vector<LabelRecord>& labels, const std::string& word) {
  const std::u16string text = folder_host::fromBytes(word);
  std::vector<LabelRecord> named;
  std::vector<LabelRecord> identified;
  for (const LabelRecord& label : labels) {
    if (label.categoryName + u"/" + label.name == text) named.push_back(label);
    if (label.uuid == text) identified.push_back(label);
  }
  return theOnly(named.empty() ? identified : named, refusals::LABEL_AMBIGUOUS, folder_host::errors::LABEL_NOT_FOUND,
                 word, "label");
}

std::pair<std::u16string, std::u16string> splitLabel(const std::string& word) {
  const std::size_t slash = word.find('/');
  if (slash == std::string::npos) {
    throw Refusal(refusals::LABEL_MALFORMED, fmt::format("{} is no label; write CATEGORY/NAME", inQuotes(word)));
  }
  return {folder_host::fromBytes(word.substr(0, slash)), folder_host::fromBytes(word.substr(slash + 1))};
}

std::u16string nameOf(const profiles::ExportProfile& profile) {
  try {
    return profile.getName();
  } catch (const std::out_of_range&) {
    return {};
  }
}

std::string nameOf(const LabelRecord& label) { return folder_host::toBytes(label.categoryName + u"/" + label.name); }

std::string nameOf(const folder_host::Entry& entry) {
  return entry.path + (entry.kind == folder_host::EntryKind::folder ? "/" : "");
}

std::string nameOf(const profiles::ExportStrategyItem& item, const std::vector<LabelRecord>& labels) {
  const auto is = [&](const LabelRecord& label) { return itemOf(label) == item; };
  const auto found = std::find_if(labels.begin(), labels.end(), is);
  return found != labels.end() ? nameOf(*found) : folder_host::toBytes(item.labelUUID);
}

std::unique_ptr<profiles::ExportProfileManager> managerOf(folder_host::WorkingCopy& copy) {
  return profiles::createManager(copy.getMetadataManager());
}

std::vector<std::shared_ptr<profiles::ExportProfile>> profilesByName(profiles::ExportProfileManager& manager) {
  std::multimap<std::u16string, std::shared_ptr<profiles::ExportProfile>> byName;
  for (const auto& profile : manager.getProfiles()) byName.emplace(nameOf(*profile), profile);
  std::vector<std::shared_ptr<profiles::ExportProfile>> sorted;
  for (const auto& [name, profile] : byName) sorted.push_back(profile);
  return sorted;
}

std::string textOf(const NamedLabel& label) { return freeName(label.name) + (label.isDeleted ? "  (gone)" : ""); }

std::vector<NamedLabel> namedBy(const profiles::ExportFilter& filter, const std::vector<LabelRecord>& labels) {
  std::map<profiles::ExportStrategyItem, std::string> known;
  for (const LabelRecord& label : labels) known.emplace(itemOf(label), nameOf(label));
  std::vector<NamedLabel> named;
  for (const auto& item : filter.getItems()) {
    const auto found = known.find(item);
    const bool isDeleted = found == known.end();
    named.push_back({isDeleted ? folder_host::toBytes(item.labelUUID) : found->second, isDeleted});
  }
  std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return named;
}

std::shared_ptr<profiles::ExportProfile> findProfile(profiles::ExportProfileManager& manager, const std::string& word) {
  const std::u16string text = folder_host::fromBytes(word);
  std::vector<std::shared_ptr<profiles::ExportProfile>> named;
  std::vector<std::shared_ptr<profiles::ExportProfile>> identified;
  for (const auto& profile : manager.getProfiles()) {
    if (nameOf(*profile) == text) named.push_back(profile);
    if (profile->getUUID() == text) identified.push_back(profile);
  }
  return theOnly(named.empty() ? identified : named, refusals::PROFILE_AMBIGUOUS, refusals::PROFILE_NOT_FOUND, word,
                 "profile");
}

bool namesProfile(profiles::ExportProfileManager& manager, const std::string& word) {
  const std::u16string text = folder_host::fromBytes(word);
  const auto all = manager.getProfiles();
  return std::any_of(all.begin(), all.end(),
                     [&](const auto& profile) { return nameOf(*profile) == text || profile->getUUID() == text; });
}

}  // namespace project_share
