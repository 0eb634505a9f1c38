#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>

#include "Refusal.h"
#include "commands/Approval.h"
#include "commands/Commands.h"
#include "folder_host/text/Utf.h"
#include "judgement/Judge.h"
#include "judgement/Mending.h"
#include "judgement/ProfileRisks.h"
#include "judgement/Unlabelled.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "output/Report.h"
#include "receipt/FoundReceipt.h"
#include "settings/OpenProject.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"
#include "words/Profiles.h"

namespace project_share {

using folder_host::LabelRecord;
using folder_host::WorkingCopy;

namespace {

void printUnlabelled(const WorkingCopy& copy, std::size_t index, std::size_t below) {
  const folder_host::Entry& entry = copy.table()[index];
  Json object{{"type", "unlabelled"}};
  object.update(jsonOf(entry));
  object["labels"] = jsonOfLabels(copy, index);
  const std::string more = below > 0 ? fmt::format("  (and {} below)", counted(below, "entry", "entries")) : "";
  item("unlabelled  " + freeName(nameOf(entry)) + more, object);
}

// By entry: whether the last share knew nothing of it, by whichever profile. A receipt of a part knows of that alone.
std::vector<bool> newSinceLastShare(const folder_host::FolderProject& project, const WorkingCopy& copy,
                                    std::vector<Risk>& notes) {
  std::vector<bool> isNew(copy.table().size());
  std::vector<KeptReceipt> all = keptReceipts(project);
  const auto isOther = [](const KeptReceipt& kept) { return !kept.isComplete || !kept.head.from.empty(); };
  all.erase(std::remove_if(all.begin(), all.end(), isOther), all.end());
  auto last = firstReadable(project, all, roomForEntries(isNew.size()), notes);
  if (!last) return isNew;
  isNew.assign(isNew.size(), true);
  const auto know = [&](const auto& entry) {
    if (const auto index = copy.table().find(entry.path)) isNew[*index] = false;
  };
  last->receipt.forEachShared(know);
  last->receipt.forEachHeldBack(know);
  return isNew;
}

// What has come since, and nobody has said anything of: people get a few of them, and programs each.
void printNew(const std::vector<bool>& isNew, const WorkingCopy& copy, const std::vector<bool>& labelled) {
  constexpr std::size_t MOST = 20;
  std::size_t count = 0;
  for (std::size_t i = 0; i < isNew.size(); ++i) {
    const folder_host::Entry& entry = copy.table()[i];
    if (!isNew[i] || labelled[i] || entry.kind == folder_host::EntryKind::folder) continue;
    if (++count > MOST && !manner().json) continue;
    Json object{{"type", "new"}};
    object.update(jsonOf(entry));
    item("new since the last share, without a label  " + freeName(nameOf(entry)), object);
  }
  if (count > MOST && !manner().json)
    line(fmt::format("new since the last share: {} more without a label", count - MOST));
}

// A folder in which nothing has a label is told of once, with all that lies in it. In a project that nobody has
// labelled yet there may be many all the same: people get a few of them, and programs each entry.
void printUnlabelled(const WorkingCopy& copy, const std::vector<bool>& labelled, bool all) {
  constexpr std::size_t MOST = 20;
  const auto& table = copy.table();
  const std::vector<std::size_t> tops = unlabelledTops(table, labelled);
  std::vector<std::size_t> below(table.size());  // of a top, how many entries it stands for besides itself
  for (std::size_t i = 0; i < table.size(); ++i) below[tops[i]] += tops[i] == i ? 0U : 1U;
  std::size_t told = 0;
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (labelled[i] || (!all && tops[i] != i)) continue;
    if (all || ++told <= MOST) printUnlabelled(copy, i, all ? 0 : below[i]);
  }
  if (!all && told > MOST) line(fmt::format("unlabelled: {} more; 'status --all' lists each", told - MOST));
}

void printProfile(const folder_host::FolderProject& project, WorkingCopy& copy,
                  const profiles::ExportProfile& profile) {
  // By each profile, as a share would judge: what is told here is what a share would be refused for.
  Judgement judgement = judge(copy, profile);
  sinceLastShare(project, copy, &profile, judgement);
  const std::string prefix = fmt::format("profile {}: ", freeName(judgement.name));
  const Json more{{"profile", jsonOf(profile)}};
  const Allowances told{risks::LABEL_ON_MISSING_PATH.identifier, risks::RULE_IDLE.identifier,
                        risks::MEMORY_UNREADABLE.identifier, risks::RECEIPT_DAMAGED.identifier};
  printNotes(refusedAmong(judgement.found.notes, told), prefix, more);
  printRisks(judgement.found.risks, prefix, more);
}

// A name that can be taken for another, and a label that no filter names.
// The program makes no two names that look alike, but another host, or an older version, may have.
std::vector<Risk> doubtfulNames(const std::vector<LabelRecord>& labels, profiles::ExportProfileManager& manager) {
  std::vector<Risk> notes;
  const auto add = [&](const char* what, const std::optional<std::string>& one, const std::string& other,
                       const Command& command) {
    if (!one) return;
    notes.push_back({risks::LOOKS_ALIKE.identifier,
                     {},
                     fmt::format("the {} {} and {} look alike", what, inQuotes(*one), inQuotes(other)),
                     {},
                     {{"give one another name", command}}});
  };
  // Commands name what is in doubt by its UUID. No command renames a category: the way is to make labels in another
  // one.
  Looks labelLooks, categoryLooks, profileLooks;
  std::set<std::u16string> categories;
  for (const LabelRecord& label : labels) {
    const Command rename = typedCommand({"label", "rename", folder_host::toBytes(label.uuid), "NAME"});
    add("labels", labelLooks.add(label.categoryName, label.name), nameOf(label), rename);
    if (!categories.insert(label.categoryUUID).second) continue;
    add("categories", categoryLooks.add(label.categoryName), folder_host::toBytes(label.categoryName),
        typedCommand({"label", "create", "CATEGORY/NAME"}));
  }
  for (const auto& profile : profilesByName(manager)) {
    add("profiles", profileLooks.add(nameOf(*profile)), folder_host::toBytes(nameOf(*profile)),
        typedCommand({"profile", "rename", folder_host::toBytes(profile->getUUID()), "NAME"}));
  }
  std::set<std::u16string> named;
  forEachItem(manager, [&](const auto&, const auto&, const auto& item) { named.insert(item.labelUUID); });
  for (const LabelRecord& label : labels) {
    if (named.count(label.uuid) != 0) continue;
    notes.push_back({risks::LABEL_UNNAMED.identifier, {}, fmt::format("no profile names {}", inQuotes(nameOf(label)))});
    notes.back().labels = {label};
  }
  return notes;
}

}  // namespace

void showStatus(bool all) {
  const folder_host::FolderProject project = openProject();
  const auto copy = project.workingCopy();  // store and folder at one moment
  const folder_host::LabelStore& labels = copy->getLabelManager();
  const auto listed = profilesByName(*managerOf(*copy));
  const std::vector<LabelRecord> records = labels.list();
  const std::vector<bool> labelled = labelledIn(*copy);
  const auto unlabelled = std::count(labelled.begin(), labelled.end(), false);

  std::vector<Risk> notes;
  printNew(newSinceLastShare(project, *copy, notes), *copy, labelled);
  printLabels(records, copy->effective().sources());
  printUnlabelled(*copy, labelled, all || manner().json);
  printSkipped(copy->listing());
  printNotes(notes);
  printNotes(doubtsAboutLabels(*copy));
  printNotes(doubtfulNames(records, *managerOf(*copy)));
  for (const auto& profile : listed) printProfile(project, *copy, *profile);
  const std::size_t entries = copy->listing().entries.size();
  Json summary{{"type", "summary"},
               {"entries", entries},
               {"unlabelled", unlabelled},
               {"labels", records.size()},
               {"profiles", listed.size()}};
  putPath(summary, "project", copy->root());
  item(fmt::format("{}: {}, {} without a label; {}; {}.", freeName(copy->root()), counted(entries, "entry", "entries"),
                   unlabelled, counted(records.size(), "label", "labels"),
                   counted(listed.size(), "profile", "profiles")),
       summary);
}

}  // namespace project_share
