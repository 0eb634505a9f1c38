#include <fmt/format.h>

#include "Commands.h"
#include "Edit.h"
#include "Lookup.h"
#include "Output.h"
#include "Refusal.h"
#include "folder_host/Text.h"

namespace project_share {

using folder_host::FolderProject;
using profiles::ExportFilter;
using profiles::ExportProfile;
using profiles::ExportProfileManager;
using profiles::ExportStrategyItem;

namespace {

// A name that is free for the profile of this UUID (empty: for a new one).
std::u16string freeName(ExportProfileManager& manager, const std::string& word, const std::u16string& uuid = {}) {
  std::u16string name = folder_host::fromBytes(word);
  if (name.empty()) throw Refusal(folder_host::errors::NAME_EMPTY, "a profile needs a name");
  for (const auto& profile : manager.getProfiles()) {
    if (profile->getName() == name && profile->getUUID() != uuid) {
      throw Refusal(refusals::PROFILE_NAME_TAKEN,
                    fmt::format("a profile \"{}\" is there already; choose another name", shown(name)));
    }
  }
  return name;
}

// Empty where there is none.
std::shared_ptr<ExportFilter> filterOf(const ExportProfile& profile, const std::u16string& kind) {
  for (const auto& filter : profile.getFilters()) {
    if (filter->getType() == kind) return filter;
  }
  return nullptr;
}

// Whether the profile had a filter of this kind before.
bool addItems(ExportProfile& profile, const std::u16string& kind, const std::vector<ExportStrategyItem>& items) {
  const auto filter = filterOf(profile, kind);
  if (!filter) {
    profile.addFilter(kind, items);
    return false;
  }
  filter->addItems(items);
  return true;
}

std::vector<ExportStrategyItem> itemsOf(const folder_host::LabelStore& labels, const std::vector<std::string>& words) {
  std::vector<ExportStrategyItem> items;
  for (const std::string& word : words) {
    const folder_host::LabelRecord label = findLabel(labels, word);
    items.emplace_back(label.categoryUUID, label.uuid);
  }
  return items;
}

// A label that is gone is named by its UUID, as `profile show` gives it.
ExportStrategyItem itemIn(const ExportFilter& filter, const std::vector<folder_host::LabelRecord>& labels,
                          const std::string& word) {
  const std::u16string text = folder_host::fromBytes(word);
  for (const ExportStrategyItem& item : filter.getItems()) {
    if (item.labelUUID == text || nameOf(item, labels) == shown(word)) return item;
  }
  throw Refusal(refusals::LABEL_NOT_IN_FILTER, fmt::format("the filter does not name \"{}\"", shown(word)));
}

void removeItems(ExportFilter& filter, const std::vector<folder_host::LabelRecord>& labels,
                 const std::vector<std::string>& words) {
  for (const std::string& word : words) filter.removeItems({itemIn(filter, labels, word)});
}

const char* meaningOf(const std::u16string& kind) {
  if (kind == profiles::EXCLUDE_FILES_WITH_LABEL) return "Files and folders go that carry any of these labels:";
  if (kind == profiles::INCLUDE_FILES_WITH_LABEL) {
    return "Files and folders go that carry no label, or any label but these:";
  }
  if (kind == profiles::EXCLUDE_LABEL) return "These labels go, unless they are kept:";
  return "All labels go but these and kept ones:";
}

}  // namespace

void createProfile(const std::string& word) {
  const FolderProject project = FolderProject::open(".");
  const auto manager = profiles::createManager(project.metadata());
  const auto profile = edit(project, [&] { return manager->createProfile(freeName(*manager, word)); });
  line(fmt::format("Created profile {} ({}).", shown(word), shown(profile->getUUID())));
}

void listProfiles() {
  const FolderProject project = FolderProject::open(".");
  const auto scope = project.metadata()->beginReadScope();
  for (const auto& profile : profiles::createManager(project.metadata())->getProfiles()) {
    line(fmt::format("{}  {}  {}", shown(profile->getUUID()), shown(profile->getName()),
                     counted(profile->getFilters().size(), "filter", "filters")));
  }
}

void showProfile(const std::string& word) {
  const FolderProject project = FolderProject::open(".");
  const auto scope = project.metadata()->beginReadScope();
  const auto profile = findProfile(*profiles::createManager(project.metadata()), word);
  const auto labels = project.labels().list();
  line(fmt::format("{} ({})", shown(profile->getName()), shown(profile->getUUID())));
  std::size_t position = 0;
  for (const auto& filter : profile->getFilters()) {
    line(fmt::format("  {}. {}", ++position, wordOf(filter->getType())));
    for (const ExportStrategyItem& item : filter->getItems()) line("     " + nameOf(item, labels));
  }
}

void renameProfile(const std::string& word, const std::string& name) {
  const FolderProject project = FolderProject::open(".");
  const auto manager = profiles::createManager(project.metadata());
  const auto uuid = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    profile->setName(freeName(*manager, name, profile->getUUID()));
    return profile->getUUID();
  });
  line(fmt::format("Renamed profile {} to {} ({}).", shown(word), shown(name), shown(uuid)));
}

void duplicateProfile(const std::string& word, const std::string& name) {
  const FolderProject project = FolderProject::open(".");
  const auto manager = profiles::createManager(project.metadata());
  const auto uuid = edit(project, [&] {
    const auto original = findProfile(*manager, word);
    const auto copy = manager->createProfile(freeName(*manager, name));
    for (const auto& filter : original->getFilters()) copy->addFilter(filter->getType(), filter->getItems());
    copy->save();
    return copy->getUUID();
  });
  line(fmt::format("Duplicated profile {} as {} ({}).", shown(word), shown(name), shown(uuid)));
}

void deleteProfile(const std::string& word) {
  const FolderProject project = FolderProject::open(".");
  const auto manager = profiles::createManager(project.metadata());
  const auto uuid = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    manager->deleteProfile(profile);
    return profile->getUUID();
  });
  line(fmt::format("Deleted profile {} ({}).", shown(word), shown(uuid)));
}

void addFilter(const std::string& word, const std::string& kindWord, const std::vector<std::string>& labels) {
  const FolderProject project = FolderProject::open(".");
  const auto manager = profiles::createManager(project.metadata());
  const bool wasThere = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    const bool there = addItems(*profile, kindOf(kindWord), itemsOf(project.labels(), labels));
    profile->save();
    return there;
  });
  const std::string what = counted(labels.size(), "label", "labels");
  line(wasThere ? fmt::format("Added {} to the {} filter that profile {} has already.", what, kindWord, shown(word))
                : fmt::format("Added a {} filter with {} to profile {}.", kindWord, what, shown(word)));
}

void removeFilter(const std::string& word, const std::string& kindWord, const std::vector<std::string>& labels) {
  const FolderProject project = FolderProject::open(".");
  const auto manager = profiles::createManager(project.metadata());
  const bool isGone = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    const auto filter = filterOf(*profile, kindOf(kindWord));
    if (!filter) {
      throw Refusal(refusals::FILTER_NOT_FOUND,
                    fmt::format("profile \"{}\" has no {} filter; 'project-share profile show' shows what it has",
                                shown(word), kindWord));
    }
    removeItems(*filter, project.labels().list(), labels);
    const bool whole = labels.empty();
    if (whole) profile->removeFilter(filter);
    profile->save();
    return whole;
  });
  line(isGone ? fmt::format("Removed the {} filter from profile {}.", kindWord, shown(word))
              : fmt::format("Removed {} from the {} filter of profile {}.", counted(labels.size(), "label", "labels"),
                            kindWord, shown(word)));
}

void explainProfile(const std::string& word) {
  const FolderProject project = FolderProject::open(".");
  const auto scope = project.metadata()->beginReadScope();
  const auto profile = findProfile(*profiles::createManager(project.metadata()), word);
  const auto labels = project.labels().list();
  line(fmt::format("Profile {} hands out everything but what its filters take out, one after the other:",
                   shown(profile->getName())));
  std::size_t position = 0;
  for (const auto& filter : profile->getFilters()) {
    line(fmt::format("  {}. {} {}", ++position, wordOf(filter->getType()), meaningOf(filter->getType())));
    const auto items = filter->getItems();
    for (const ExportStrategyItem& item : items) line("       " + nameOf(item, labels));
    const bool takesAll = filter->getType() == profiles::INCLUDE_FILES_WITH_LABEL;
    if (items.empty()) line(takesAll ? "       (none, so everything goes)" : "       (none, so nothing goes)");
  }
  line("A folder that a filter selects stays when a file below it stays. A folder that becomes empty goes.");
}

}  // namespace project_share
