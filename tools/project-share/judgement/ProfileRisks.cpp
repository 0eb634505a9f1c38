#include "judgement/ProfileRisks.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <utility>

#include "folder_host/text/Utf.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/StoredFilters.h"

namespace project_share {

using folder_host::LabelRecord;
using folder_host::MissingPath;
using folder_host::WorkingCopy;
using profiles::ExportProfile;

namespace {

using Items = std::set<std::pair<std::u16string, std::u16string>>;  // category and UUID

Items itemsOf(const profiles::ExportFilter& filter) {
  Items items;
  for (const auto& item : filter.getItems()) items.emplace(item.category, item.labelUUID);
  return items;
}

// Of all filters of one kind.
Items itemsOf(const ExportProfile& profile, const std::u16string& kind) {
  Items items;
  for (const auto& filter : profile.getFilters()) {
    if (filter->getType() == kind) items.merge(itemsOf(*filter));
  }
  return items;
}

// By category and UUID, as a filter selects: by the name alone, another label could be taken for the one that it names.
bool names(const Items& items, const LabelRecord& label) { return items.count({label.categoryUUID, label.uuid}) != 0; }

std::string nameInQuotes(const LabelRecord& label) { return inQuotes(nameOf(label)); }

// Labels, of those that concern, on paths at which nothing is: what was renamed or moved has lost them. Of a folder
// that is missing, with what was below it, the folder alone, unless there were other labels below.
std::vector<Risk> missingPathRisks(const std::vector<MissingPath>& missing, const std::vector<LabelRecord>& all,
                                   const Mending& mending, const std::function<bool(const LabelRecord&)>& concerns) {
  if (missing.empty()) return {};
  std::map<std::u16string, const LabelRecord*> concerned;
  for (const LabelRecord& label : all) {
    if (concerns(label)) concerned.emplace(label.uuid, &label);
  }
  std::vector<Risk> risks;
  const MissingPath* folder = nullptr;  // that was told of last
  for (const MissingPath& one : missing) {
    const auto& [path, labels] = one;
    // A folder that was renamed takes a thousand labelled paths with it: one line tells of them all, unless what was
    // below had labels of its own, which the folder's line does not name.
    const bool isBelow = folder != nullptr && path.compare(0, folder->path.size() + 1, folder->path + "/") == 0;
    std::string told, commands;
    for (const std::u16string& uuid : labels) {
      const auto label = concerned.find(uuid);
      if (label == concerned.end()) continue;
      if (isBelow && std::binary_search(folder->labels.begin(), folder->labels.end(), uuid)) continue;
      told += (told.empty() ? "" : ", ") + nameInQuotes(*label->second);
      commands += (commands.empty() ? "" : " && ") + mending.detach(*label->second, {path});
    }
    if (told.empty()) continue;
    if (!isBelow) folder = &one;
    risks.push_back({risks::LABEL_ON_MISSING_PATH.identifier, path,
                     fmt::format("nothing is at {}, which is labelled {}; where it was renamed or moved, label what it "
                                 "is now; then: {}",
                                 inQuotes(path), told, commands)});
  }
  return risks;
}

class ProfileRisks {
 public:
  ProfileRisks(WorkingCopy& project, const ExportProfile& profile, const Mending& mending, Judgement& judgement)
      : project_(project),
        profile_(profile),
        mending_(mending),
        judgement_(judgement),
        found_(judgement.found),
        dropped_(itemsOf(profile, profiles::EXCLUDE_FILES_WITH_LABEL)) {}

  void add() {
    addFilters();
    addMissingPaths();
    addIdleLabels();
    addIdleFilters();
    addSparedFolders();
    addLeavingLabels();
  }

 private:
  // A filter selects nothing by a label that was deleted, and one of an unknown kind does nothing.
  void addFilters() {
    Items known;
    for (const LabelRecord& label : judgement_.labels) known.emplace(label.categoryUUID, label.uuid);
    const std::string profile = folder_host::toBytes(judgement_.name);
    for (const auto& filter : profile_.getFilters()) {
      for (const auto& [category, uuid] : itemsOf(*filter)) {
        if (known.count({category, uuid}) != 0) continue;
        const std::string kind = wordOf(filter->getType());
        // By its UUID: its name was deleted with it.
        const std::string label = folder_host::toBytes(uuid);
        found_.add(risks::LABEL_DELETED, {},
                   fmt::format("the {} filter names the label {}, which was deleted; take it out: {}", kind,
                               inQuotes(label), commandOf({"profile", "remove-filter", profile, kind, label})));
      }
    }
    for (const std::string& what : skippedIn(profile_, *project_.getMetadataManager())) {
      found_.add(risks::FILTER_SKIPPED, {}, fmt::format("the profile holds {}, which does nothing here", what));
    }
  }

  // Losing a label lets something out only where a drop-files filter names it.
  void addMissingPaths() {
    const std::vector<MissingPath> missing = labelledMissingPaths(project_);
    const auto isDropped = [&](const LabelRecord& label) { return names(dropped_, label); };
    const auto& labels = judgement_.labels;
    for (Risk& risk : missingPathRisks(missing, labels, mending_, isDropped)) found_.risks.push_back(std::move(risk));
    for (Risk& note : missingPathRisks(missing, labels, mending_, std::not_fn(isDropped))) {
      found_.notes.push_back(std::move(note));
    }
  }

  // A file that lies in a folder that a drop-files filter selects takes the folder with it, whatever its own labels
  // are. Of the folders above one file that carry one label the topmost alone is told of.
  void addSparedFolders() {
    std::set<std::pair<const folder_host::Entry*, std::size_t>> told;  // the file, and the label
    for (const Spared& spared : judgement_.spared) {
      if (!spared.isDropped || !told.insert({spared.because, spared.labels.front()}).second) continue;
      // Any of the labels will do: each of them suffices for the filter.
      const LabelRecord& label = judgement_.labels[spared.labels.front()];
      const std::string& folder = spared.folder->path;
      found_.add(risks::FOLDER_SPARED, folder,
                 fmt::format("{} carries {} and is shared all the same, because of what in it does not carry it: {}; "
                             "take the label off the folder alone: {}; or label all of it: {}",
                             inQuotes(folder), nameInQuotes(label), sharedBelow(folder),
                             mending_.detachFolderOnly(label, folder), mending_.attach(label, {folder})));
    }
  }

  // The list ends somewhere: it is one line, for people, and a hundred names would hide the two commands behind them.
  std::string sharedBelow(const std::string& folder) const {
    constexpr std::size_t MOST = 20;
    std::string names;
    std::size_t count = 0;
    for (const folder_host::Entry* entry : judgement_.shared) {
      const bool isBelow = entry->path.compare(0, folder.size() + 1, folder + "/") == 0;
      if (!isBelow || entry->kind == folder_host::EntryKind::folder) continue;
      if (++count <= MOST) names += (names.empty() ? "" : ", ") + inQuotes(entry->path);
    }
    return count <= MOST ? names : fmt::format("{} and {} more", names, count - MOST);
  }

  // The name of what was to be held back is in the copy then.
  void addLeavingLabels() {
    const Items removed = itemsOf(profile_, profiles::EXCLUDE_LABEL);
    const std::string profile = folder_host::toBytes(judgement_.name);
    for (const auto& [label, entries] : judgement_.leaving) {
      // Asked first: the drop-labels filter is there already, and to add the label to it again would mend nothing.
      if (names(removed, label)) {
        found_.add(risks::LABEL_PROTECTED, {},
                   fmt::format("{} leaves, though a drop-labels filter names it, because it is protected; let filters "
                               "remove it: {}",
                               nameInQuotes(label), commandOf({"label", "unprotect", nameOf(label)})));
      } else if (names(dropped_, label)) {
        found_.add(risks::LABEL_LEAVES, {},
                   fmt::format("{}, by which files are held back, leaves with what is shared; remove it from the copy: "
                               "{}",
                               nameInQuotes(label),
                               commandOf({"profile", "add-filter", profile, "drop-labels", nameOf(label)})));
      }
    }
  }

  // Labels of a drop-files filter that hold nothing back, beside others that do.
  void addIdleLabels() {
    std::set<std::u16string> attached;
    for (const auto& attachment : project_.labels().attachments()) attached.insert(attachment.second);
    for (const auto& filter : profile_.getFilters()) {
      if (!dropsFiles(filter->getType())) continue;
      const Items items = itemsOf(*filter);
      const auto isIdle = [&](const LabelRecord& label) {
        return names(items, label) && attached.count(label.uuid) == 0;
      };
      const auto idle = std::count_if(judgement_.labels.begin(), judgement_.labels.end(), isIdle);
      // Where all of them are idle the filter as a whole is, which is told once.
      if (static_cast<std::size_t>(idle) >= items.size()) continue;  // the filter is told of
      for (const LabelRecord& label : judgement_.labels) {
        if (!isIdle(label)) continue;
        found_.add(risks::LABEL_IDLE, {},
                   fmt::format("the drop-files filter names {}, which is attached to nothing", nameInQuotes(label)));
      }
    }
  }

  void addIdleFilters() {
    for (std::size_t i = 0; i < judgement_.filters.size(); ++i) {
      if (judgement_.filters[i].matches) continue;
      found_.add(risks::FILTER_IDLE, {}, nameOfFilter(judgement_, i + 1) + ", takes nothing out");
    }
    if (judgement_.filters.empty()) {
      found_.add(risks::FILTER_IDLE, {}, "the profile has no filter: everything is shared");
    }
  }

  WorkingCopy& project_;
  const ExportProfile& profile_;
  const Mending& mending_;
  Judgement& judgement_;
  Findings& found_;
  const Items dropped_;  // named by drop-files filters
};

}  // namespace

void addProfileRisks(WorkingCopy& project, const ExportProfile& profile, const Mending& mending, Judgement& judgement) {
  ProfileRisks(project, profile, mending, judgement).add();
}

// Of every label: which profile will be shared by is not known here.
std::vector<Risk> missingPaths(const WorkingCopy& project) {
  return missingPathRisks(labelledMissingPaths(project), project.labels().list(), Mending({}, project),
                          [](const LabelRecord&) { return true; });
}

}  // namespace project_share
