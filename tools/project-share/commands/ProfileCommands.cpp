#include <fmt/format.h>

#include <filesystem>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/labels/LabelSources.h"
#include "folder_host/text/Utf.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::FolderProject;
using profiles::ExportFilter;
using profiles::ExportProfile;
using profiles::ExportProfileManager;
using profiles::ExportStrategyItem;

namespace {

// A name that is free for the profile of this UUID (empty: for a new one).
// Profiles are named in commands. Two that look alike would sooner or later be taken for each other, and the wrong one
// would hand out.
std::u16string unusedName(ExportProfileManager& manager, const std::string& word, const std::u16string& uuid = {}) {
  std::u16string name = folder_host::fromBytes(word);
  if (name.empty()) throw Refusal(folder_host::errors::NAME_EMPTY, "a profile needs a name");
  Looks looks;
  for (const auto& profile : manager.getProfiles()) {
    if (profile->getUUID() != uuid) looks.add(nameOf(*profile));
  }
  if (const auto other = looks.add(name)) {
    throw Refusal(refusals::PROFILE_NAME_TAKEN,
                  fmt::format("there is already a profile {}{}; choose another name", inQuotes(*other),
                              *other == word ? "" : ", which looks the same"));
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

// A deleted label is named by its UUID, as `profile show` gives it.
// A deleted label can be taken out, too: that is what a share refuses for and tells to do.
ExportStrategyItem itemIn(const ExportFilter& filter, const LabelIndex& labels, const std::string& word) {
  const std::u16string text = folder_host::fromBytes(word);
  for (const ExportStrategyItem& item : filter.getItems()) {
    if (item.labelUUID == text || labels.named(item).name == word) return item;
  }
  throw Refusal(refusals::LABEL_NOT_IN_FILTER, fmt::format("the filter does not name {}", inQuotes(word)));
}

Json shownAsJson(const ExportProfile& profile, const LabelIndex& labels) {
  Json object = jsonOf(profile);
  object["filters"] = Json::array();
  for (const auto& filter : profile.getFilters()) {
    Json items = Json::array();
    for (const ExportStrategyItem& item : filter->getItems()) {
      const auto* label = labels.find(item);
      // A deleted label has no name any more, and is shown all the same: the filter names it, and a share is refused
      // for it.
      items.push_back(label != nullptr ? jsonOf(*label) : Json{{"uuid", utf8(item.labelUUID)}, {"deleted", true}});
    }
    object["filters"].push_back({{"kind", wordOf(filter->getType())}, {"labels", items}});
  }
  return object;
}

}  // namespace

void createProfile(const std::string& word) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  // The name is looked for in the scope in which the profile is made, or two programs could make two of one name.
  const auto uuid = edit(project, [&] { return manager->createProfile(unusedName(*manager, word))->getUUID(); });
  done(fmt::format("Created profile {} ({}).", inQuotes(word), freeName(uuid)),
       {{"uuid", utf8(uuid)}, {"name", utf8(word)}});
}

void listProfiles() {
  const FolderProject project = openProject();
  const auto scope = project.metadata()->beginReadScope();
  for (const auto& profile : profilesByName(*profiles::createManager(project.metadata()))) {
    const std::size_t filters = profile->getFilters().size();
    Json object{{"type", "profile"}};
    object.update(jsonOf(*profile));
    object["filters"] = filters;
    item(fmt::format("{}  {}  {}", freeName(profile->getUUID()), freeName(nameOf(*profile)),
                     counted(filters, "filter", "filters")),
         object);
  }
}

namespace {

// What nobody has labelled stays at home under keep-files, unless a label comes to it by itself.
void printComingIn(const FolderProject& project, const profiles::ExportFilter& filter) {
  const folder_host::LabelSources sources(project.labels());
  for (const auto& item : filter.getItems()) {
    const auto label = sources.find(item.labelUUID);
    for (const auto& [place, kind] : sources.marks()) {
      const std::string& path = place.first;
      const auto status = std::filesystem::symlink_status(folder_host::joined(project.root(), path));
      if (place.second != label || kind != folder_host::MarkKind::reach || !std::filesystem::is_directory(status))
        continue;
      line(fmt::format("     whatever comes into {} is shared", inQuotes(path.empty() ? "./" : path + "/")));
    }
    for (const auto& rule : sources.rules()) {
      if (rule.label != label || folder_host::isNegated(rule.pattern)) continue;
      line(fmt::format("     whatever comes that {} matches is shared", inQuotes(rule.pattern)));
    }
  }
}

}  // namespace

void showProfile(const std::string& word) {
  const FolderProject project = openProject();
  // In one scope, so that no filter is told with labels that it had before or has after.
  const auto scope = project.metadata()->beginReadScope();
  const auto profile = findProfile(*profiles::createManager(project.metadata()), word);
  const LabelIndex labels(project.labels().list());
  if (manner().json) return item({}, shownAsJson(*profile, labels));
  line(fmt::format("{} ({})", freeName(nameOf(*profile)), freeName(profile->getUUID())));
  std::size_t position = 0;
  for (const auto& filter : profile->getFilters()) {
    line(fmt::format("  {}. {}", ++position, wordOf(filter->getType())));
    for (const NamedLabel& label : labels.namedBy(*filter)) line("     " + textOf(label));
    if (keepsFiles(filter->getType())) printComingIn(project, *filter);
  }
}

void renameProfile(const std::string& word, const std::string& name) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  const auto uuid = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    profile->setName(unusedName(*manager, name, profile->getUUID()));
    return profile->getUUID();
  });
  done(fmt::format("Renamed profile {} to {} ({}).", inQuotes(word), inQuotes(name), freeName(uuid)),
       {{"uuid", utf8(uuid)}, {"name", utf8(name)}});
}

void duplicateProfile(const std::string& word, const std::string& name) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  const auto uuid = edit(project, [&] {
    const auto original = findProfile(*manager, word);
    const auto copy = manager->createProfile(unusedName(*manager, name));
    // By the items and not by the filter objects, which would belong to two profiles.
    for (const auto& filter : original->getFilters()) copy->addFilter(filter->getType(), filter->getItems());
    copy->save();
    return copy->getUUID();
  });
  done(fmt::format("Duplicated profile {} as {} ({}).", inQuotes(word), inQuotes(name), freeName(uuid)),
       {{"uuid", utf8(uuid)}, {"name", utf8(name)}});
}

void deleteProfile(const std::string& word) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  const auto uuid = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    manager->deleteProfile(profile);
    return profile->getUUID();
  });
  done(fmt::format("Deleted profile {} ({}).", inQuotes(word), freeName(uuid)), {{"uuid", utf8(uuid)}});
}

void addFilter(const std::string& word, const std::string& kindWord, const std::vector<std::string>& labels) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  const bool wasThere = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    const LabelIndex known(project.labels().list());
    std::vector<ExportStrategyItem> items;
    // Every word is looked up before the profile is changed.
    items.reserve(labels.size());
    for (const std::string& label : labels) items.push_back(itemOf(known.named(label)));
    const std::u16string& kind = kindNamed(kindWord).text;
    const auto filter = filterOf(*profile, kind);
    // A second filter of one kind would become one with the first when the profile is read again.
    if (filter) {
      filter->addItems(items);
    } else {
      profile->addFilter(kind, items);
    }
    profile->save();
    return filter != nullptr;
  });
  const std::string what = counted(labels.size(), "label", "labels");
  done(wasThere ? fmt::format("Added {} to the {} filter that profile {} has already.", what, kindWord, inQuotes(word))
                : fmt::format("Added a {} filter with {} to profile {}.", kindWord, what, inQuotes(word)),
       {{"kind", kindWord}, {"labels", labels.size()}, {"wasThere", wasThere}});
}

void removeFilter(const std::string& word, const std::string& kindWord, const std::vector<std::string>& labels) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  const bool isDeleted = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    const auto filter = filterOf(*profile, kindNamed(kindWord).text);
    if (!filter) {
      throw Refusal(refusals::FILTER_NOT_FOUND,
                    fmt::format("profile {} has no {} filter; 'project-share profile show' shows what it has",
                                inQuotes(word), kindWord));
    }
    const LabelIndex known(project.labels().list());
    // The library takes the last item for one that is absent (docs/decisions/0002), so each is found in the filter
    // first: a word that names none must not take another label out, and let its files be shared.
    for (const std::string& label : labels) filter->removeItems({itemIn(*filter, known, label)});
    if (labels.empty()) profile->removeFilter(filter);
    profile->save();
    return labels.empty();
  });
  done(isDeleted ? fmt::format("Removed the {} filter from profile {}.", kindWord, inQuotes(word))
                 : fmt::format("Removed {} from the {} filter of profile {}.",
                               counted(labels.size(), "label", "labels"), kindWord, inQuotes(word)),
       {{"kind", kindWord}, {"labels", labels.size()}, {"wholeFilter", isDeleted}});
}

}  // namespace project_share
