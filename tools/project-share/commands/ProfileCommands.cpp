#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "folder_host/text/Utf.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"
#include "words/Profiles.h"
#include "words/StoredFilters.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::FolderProject;
using folder_host::LabelRecord;
using profiles::ExportFilter;
using profiles::ExportProfile;
using profiles::ExportProfileManager;
using profiles::ExportStrategyItem;

namespace {

using Typed = std::vector<std::string>;

// A name that is free for the profile of this UUID (empty: for a new one).
// Profiles are named in commands. Two that look alike would sooner or later be taken for each other, and the wrong one
// would hand out.
std::u16string unusedName(ExportProfileManager& manager, const std::string& word, const std::u16string& uuid = {}) {
  std::u16string name = folder_host::fromBytes(word);
  if (name.empty()) throw Refusal(folder_host::errors::NAME_EMPTY, "a profile needs a name; give it one");
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

// A deleted label is named by its UUID, as `profile show` gives it, and can be taken out, too: that is what a share
// refuses for and tells to do.
ExportStrategyItem itemIn(const ExportProfile& profile, const ExportFilter& filter, const LabelIndex& labels,
                          const std::string& word) {
  const std::vector<ExportStrategyItem> items = filter.getItems();
  std::vector<LabelRecord> records = labels.records();
  for (const ExportStrategyItem& item : items) {
    if (labels.find(item.labelUUID) == nullptr) records.push_back({item.labelUUID, {}, item.category, {}});
  }
  const LabelIndex known(std::move(records));
  const std::u16string uuid = known.isNamed(word) ? known.named(word).uuid : std::u16string();
  for (const ExportStrategyItem& item : items) {
    if (item.labelUUID == uuid) return item;
  }
  throw Refusal(refusals::LABEL_NOT_IN_FILTER,
                fmt::format("the filter does not name {}; to see what it names: {}", inQuotes(word),
                            commandOf({"profile", "show", folder_host::toBytes(nameOf(profile))})));
}

// The filter of that kind gets the labels, and is made where there is none: stored filters of one kind would become
// one. Gives those that it did not have.
std::vector<ExportStrategyItem> extend(ExportProfile& profile, const std::u16string& kind,
                                       const std::vector<ExportStrategyItem>& items) {
  const auto filter = filterOf(profile, kind);
  std::vector<ExportStrategyItem> had, added;
  if (filter) had = filter->getItems();
  for (const ExportStrategyItem& item : items) {
    if (std::find(had.begin(), had.end(), item) == had.end()) added.push_back(item);
  }
  if (filter) filter->addItems(items);
  if (!filter) profile.addFilter(kind, items);
  return added;
}

// What one command does to the filter of files and to that of labels: the label by which files stay at home is mostly
// to stay there with them.
struct Intent {
  const char* files;  // kinds, as they are typed
  const char* labels;
  const char* before;  // and behind the labels, in a sentence about the profile
  const char* behind;  // {}: "the label" or "these labels"
};

constexpr Intent HOLD_BACK{"drop-files", "drop-labels", "holds back what has ", " and removes {} from copies"};
constexpr Intent SHARE_ONLY{"keep-files", "keep-labels", "shares only what has ",
                            " and removes other labels from copies"};

struct Intended {
  std::vector<LabelRecord> added, wasThere;
};

Intended intend(const Intent& intent, ExportProfile& profile, const LabelIndex& known, const Typed& labels) {
  std::vector<ExportStrategyItem> items, added;
  items.reserve(labels.size());
  for (const std::string& label : labels) items.push_back(itemOf(known.named(label)));
  for (const char* kind : {intent.files, intent.labels}) {
    for (const ExportStrategyItem& item : extend(profile, kindNamed(kind).text, items)) added.push_back(item);
  }
  Intended result;
  const auto has = [](const std::vector<ExportStrategyItem>& all, const LabelRecord& label) {
    return std::find(all.begin(), all.end(), itemOf(label)) != all.end();
  };
  for (const LabelRecord& label : known.records()) {
    if (has(items, label)) (has(added, label) ? result.added : result.wasThere).push_back(label);
  }
  return result;
}

std::string quotedNames(const std::vector<LabelRecord>& labels) {
  std::string names;
  for (const LabelRecord& label : labels) names += (names.empty() ? "" : ", ") + inQuotes(nameOf(label));
  return names;
}

std::string sentenceOf(const Intent& intent, const std::vector<LabelRecord>& labels) {
  return intent.before + quotedNames(labels) +
         fmt::format(fmt::runtime(intent.behind), labels.size() == 1 ? "the label" : "these labels");
}

Json jsonOfRecords(const std::vector<LabelRecord>& labels) {
  Json all = Json::array();
  for (const LabelRecord& label : labels) all.push_back(jsonOf(label));
  return all;
}

// Every word is looked up before the profile is changed, and a profile that is not there is not made: a mistyped name
// would else leave the profile that was meant without its filter.
void extendBy(const Intent& intent, const std::string& word, const Typed& labels) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  Intended result;
  const Json profile = edit(project, [&] {
    const auto found = findProfile(*manager, word);
    result = intend(intent, *found, LabelIndex(project.labels().list()), labels);
    if (!result.added.empty()) saveFilters(*found, *project.metadata());
    return jsonOf(*found);
  });
  const std::string name = inQuotes(word);
  std::string text =
      fmt::format("Nothing was to be changed: profile {} {}.", name, sentenceOf(intent, result.wasThere));
  if (!result.added.empty()) text = fmt::format("Profile {} now {}.", name, sentenceOf(intent, result.added));
  if (!result.added.empty() && !result.wasThere.empty()) {
    text += fmt::format(" It did so already for {}.", quotedNames(result.wasThere));
  }
  done(text, {{"profile", profile},
              {"kinds", {intent.files, intent.labels}},
              {"added", jsonOfRecords(result.added)},
              {"wasThere", jsonOfRecords(result.wasThere)}});
}

}  // namespace

void createProfile(const std::string& word, const Typed& heldBack, const Typed& sharedOnly) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  Json object;
  std::string text;
  // The name is looked for in the scope in which the profile is made, or two programs could make two of one name.
  const auto profile = edit(project, [&] {
    auto made = manager->createProfile(unusedName(*manager, word));
    const LabelIndex known(project.labels().list());
    object = jsonOf(*made);
    const auto add = [&](const Intent& intent, const Typed& labels, const char* field) {
      if (labels.empty()) return;
      const Intended result = intend(intent, *made, known, known.split(labels));
      object[field] = jsonOfRecords(result.added);
      text += fmt::format(" It {}.", sentenceOf(intent, result.added));
    };
    add(HOLD_BACK, heldBack, "holdBack");
    add(SHARE_ONLY, sharedOnly, "shareOnly");
    made->save();
    return made;
  });
  done(fmt::format("Created profile {}{}.{}", inQuotes(word), uuidBehind(profile->getUUID()), text), object);
}

void holdBack(const std::string& profile, const Typed& labels) { extendBy(HOLD_BACK, profile, labels); }

void shareOnly(const std::string& profile, const Typed& labels) { extendBy(SHARE_ONLY, profile, labels); }

void listProfiles() {
  const FolderProject project = openProject();
  const auto scope = project.metadata()->beginReadScope();
  for (const auto& profile : profilesByName(*profiles::createManager(project.metadata()))) {
    const std::size_t filters = profile->getFilters().size();
    Json object{{"type", "profile"}};
    object.update(jsonOf(*profile));
    object["filters"] = filters;
    item(fmt::format("{}{}  {}", uuidBefore(profile->getUUID()), freeName(nameOf(*profile)),
                     counted(filters, "filter", "filters")),
         object);
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
  done(fmt::format("Renamed profile {} to {}{}.", inQuotes(word), inQuotes(name), uuidBehind(uuid)),
       {{"uuid", utf8(uuid)}, {"name", utf8(name)}});
}

void duplicateProfile(const std::string& word, const std::string& name) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  const auto uuid = edit(project, [&] {
    const auto original = findProfile(*manager, word);
    const auto copy = manager->createProfile(unusedName(*manager, name));
    // As they are stored: the library would leave out what only a newer version knows, and the duplicate hold back
    // less.
    copyFilters(*original, *copy, *project.metadata());
    return copy->getUUID();
  });
  done(fmt::format("Duplicated profile {} as {}{}.", inQuotes(word), inQuotes(name), uuidBehind(uuid)),
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
  done(fmt::format("Deleted profile {}{}. To have it back: {}", inQuotes(word), uuidBehind(uuid),
                   commandOf({"undo", std::to_string(project.lastEdit())})),
       {{"uuid", utf8(uuid)}, {"edit", project.lastEdit()}});
}

void addFilter(const std::string& word, const std::string& kindWord, const Typed& labels) {
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
    const bool isThere = filterOf(*profile, kind) != nullptr;
    extend(*profile, kind, items);
    saveFilters(*profile, *project.metadata());
    return isThere;
  });
  const std::string what = counted(labels.size(), "label", "labels");
  done(wasThere ? fmt::format("Added {} to the {} filter that profile {} has already.", what, kindWord, inQuotes(word))
                : fmt::format("Added a {} filter with {} to profile {}.", kindWord, what, inQuotes(word)),
       {{"kind", kindWord}, {"labels", labels.size()}, {"wasThere", wasThere}});
}

void removeFilter(const std::string& word, const std::string& kindWord, const Typed& labels) {
  const FolderProject project = openProject();
  const auto manager = profiles::createManager(project.metadata());
  const bool isDeleted = edit(project, [&] {
    const auto profile = findProfile(*manager, word);
    const std::u16string kind = textOfKind(kindWord);
    if (labels.empty() && removeUnknownFilter(*profile, kind, *project.metadata())) return true;
    const auto filter = filterOf(*profile, kind);
    if (!filter) {
      throw Refusal(refusals::FILTER_NOT_FOUND,
                    fmt::format("profile {} has no {} filter; to see what it has: {}", inQuotes(word), kindWord,
                                commandOf({"profile", "show", word})));
    }
    const LabelIndex known(project.labels().list());
    // The library takes the last item for one that is absent (docs/decisions/0002), so each is found in the filter
    // first: a word that names none must not take another label out, and let its files be shared.
    for (const std::string& label : labels) filter->removeItems({itemIn(*profile, *filter, known, label)});
    if (labels.empty()) profile->removeFilter(filter);
    saveFilters(*profile, *project.metadata());
    return labels.empty();
  });
  done(isDeleted ? fmt::format("Removed the {} filter from profile {}.", kindWord, inQuotes(word))
                 : fmt::format("Removed {} from the {} filter of profile {}.",
                               counted(labels.size(), "label", "labels"), kindWord, inQuotes(word)),
       {{"kind", kindWord}, {"labels", labels.size()}, {"wholeFilter", isDeleted}});
}

}  // namespace project_share
