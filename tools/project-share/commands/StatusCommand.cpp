#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "commands/Commands.h"
#include "folder_host/text/Utf.h"
#include "judgement/Judge.h"
#include "judgement/Mending.h"
#include "judgement/ProfileRisks.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::LabelRecord;
using folder_host::WorkingCopy;

namespace {

Entries unlabelledIn(WorkingCopy& copy) {
  const std::vector<bool> labelled = copy.labelled();
  Entries unlabelled;
  for (std::size_t i = 0; i < labelled.size(); ++i) {
    if (!labelled[i]) unlabelled.push_back(&copy.listing().entries[i]);
  }
  return unlabelled;
}

void printUnlabelled(const Entries& unlabelled) {
  // In a project that nobody has labelled yet these are all entries: people get a few of them, and programs all.
  constexpr std::size_t MOST = 20;
  const std::size_t shownOnes = manner().json ? unlabelled.size() : std::min(unlabelled.size(), MOST);
  for (std::size_t i = 0; i < shownOnes; ++i) {
    Json object{{"type", "unlabelled"}};
    object.update(jsonOf(*unlabelled[i]));
    item("unlabelled  " + freeName(nameOf(*unlabelled[i])), object);
  }
  if (shownOnes < unlabelled.size()) {
    line(fmt::format("unlabelled: {} more; --json lists all", unlabelled.size() - shownOnes));
  }
}

void printProfile(WorkingCopy& copy, const profiles::ExportProfile& profile) {
  // By each profile, as a share would judge: what is told here is what a share would be refused for.
  const Judgement judgement = judge(copy, profile);
  const std::string prefix = fmt::format("profile {}: ", freeName(judgement.name));
  const Json more{{"profile", jsonOf(profile)}};
  printNotes(refusedAmong(judgement.found.notes, {risks::LABEL_ON_MISSING_PATH.identifier}), prefix,
             more);  // it has been told
  printRisks(judgement.found.risks, prefix, more);
}

// A name that can be taken for another, and a label that no filter names.
// The program makes no two names that look alike, but another host, or an older version, may have.
std::vector<Risk> doubtfulNames(const std::vector<LabelRecord>& labels, profiles::ExportProfileManager& manager) {
  std::vector<Risk> notes;
  const auto add = [&](const char* what, const std::optional<std::string>& one, const std::string& other,
                       const std::string& command) {
    if (!one) return;
    notes.push_back({risks::LOOKS_ALIKE.identifier,
                     {},
                     fmt::format("the {} {} and {} look alike; give one another name: {}", what, inQuotes(*one),
                                 inQuotes(other), command)});
  };
  // Commands name what is in doubt by its UUID. No command renames a category: the way is to make labels in another
  // one.
  Looks labelLooks, categoryLooks, profileLooks;
  std::set<std::u16string> categories;
  for (const LabelRecord& label : labels) {
    const std::string rename = commandOf({"label", "rename", folder_host::toBytes(label.uuid), "NAME"});
    add("labels", labelLooks.add(label.categoryName, label.name), nameOf(label), rename);
    if (!categories.insert(label.categoryUUID).second) continue;
    add("categories", categoryLooks.add(label.categoryName), folder_host::toBytes(label.categoryName),
        commandOf({"label", "create", "CATEGORY/NAME"}));
  }
  for (const auto& profile : profilesByName(manager)) {
    add("profiles", profileLooks.add(nameOf(*profile)), folder_host::toBytes(nameOf(*profile)),
        commandOf({"profile", "rename", folder_host::toBytes(profile->getUUID()), "NAME"}));
  }
  std::set<std::u16string> named;
  forEachItem(manager, [&](const auto&, const auto&, const auto& item) { named.insert(item.labelUUID); });
  for (const LabelRecord& label : labels) {
    if (named.count(label.uuid) != 0) continue;
    notes.push_back({risks::LABEL_UNNAMED.identifier, {}, fmt::format("no profile names {}", inQuotes(nameOf(label)))});
  }
  return notes;
}

}  // namespace

void showStatus() {
  const auto copy = openProject().workingCopy();  // store and folder at one moment
  const folder_host::LabelStore& labels = copy->getLabelManager();
  const auto listed = profilesByName(*managerOf(*copy));
  const std::vector<LabelRecord> records = labels.list();
  const auto unlabelled = unlabelledIn(*copy);

  std::map<std::u16string, std::size_t> paths;
  for (const auto& attachment : labels.attachments()) ++paths[attachment.second];
  for (const LabelRecord& label : records) printLabel(label, paths[label.uuid]);
  printUnlabelled(unlabelled);
  printSkipped(copy->listing());
  printNotes(missingPaths(*copy));
  printNotes(doubtfulNames(records, *managerOf(*copy)));
  for (const auto& profile : listed) printProfile(*copy, *profile);
  const std::size_t entries = copy->listing().entries.size();
  Json summary{{"type", "summary"},
               {"entries", entries},
               {"unlabelled", unlabelled.size()},
               {"labels", records.size()},
               {"profiles", listed.size()}};
  putPath(summary, "project", copy->root());
  item(fmt::format("{}: {}, {} without a label; {}; {}.", freeName(copy->root()), counted(entries, "entry", "entries"),
                   unlabelled.size(), counted(records.size(), "label", "labels"),
                   counted(listed.size(), "profile", "profiles")),
       summary);
}

}  // namespace project_share
