#include "judgement/Judgement.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string_view>

#include "Refusal.h"
#include "folder_host/Error.h"
#include "folder_host/text/Utf.h"
#include "judgement/Mending.h"
#include "judgement/TraceRisks.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/Lookup.h"
#include "words/StoredFilters.h"

namespace project_share {

using folder_host::inQuotes;
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

bool names(const Items& items, const LabelRecord& label) { return items.count({label.categoryUUID, label.uuid}) != 0; }

std::string nameInQuotes(const LabelRecord& label) { return inQuotes(nameOf(label)); }

std::vector<LeavingLabel> leavingLabels(const WorkingCopy& left) {
  const auto leaving = left.labelsThatLeave();
  std::vector<LeavingLabel> labels;
  for (LabelRecord& label : left.labels().list()) {
    const auto found = leaving.find(label.uuid);
    if (found != leaving.end()) labels.push_back({std::move(label), found->second});
  }
  return labels;
}

Risk nothingShared() {
  return {refusals::NOTHING_SHARED, {}, "no entry would be shared; 'project-share preview PROFILE' tells why"};
}

// Labels, of those that concern, on paths at which nothing is: what was renamed or moved has lost them. Of a folder
// that is gone, with what was below it, the folder alone, unless there were other labels below.
std::vector<Risk> missingPathRisks(const std::vector<MissingPath>& gone, const std::vector<LabelRecord>& all,
                                   const Mending& mending, const std::function<bool(const LabelRecord&)>& concerns) {
  if (gone.empty()) return {};
  std::map<std::u16string, const LabelRecord*> concerned;
  for (const LabelRecord& label : all) {
    if (concerns(label)) concerned.emplace(label.uuid, &label);
  }
  std::vector<Risk> risks;
  const MissingPath* folder = nullptr;  // that was told of last
  for (const MissingPath& one : gone) {
    const auto& [path, labels] = one;
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
    risks.push_back({refusals::LABEL_ON_MISSING_PATH, path,
                     fmt::format("{} is gone but labelled {}; where it was renamed or moved, label what it is now; "
                                 "then: {}",
                                 inQuotes(path), told, commands)});
  }
  return risks;
}

// The risks and notes of one share, from the filters themselves to what they leave.
class Assessing {
 public:
  Assessing(const WorkingCopy& copy, const ExportProfile& profile)
      : copy_(copy),
        profile_(profile),
        mending_(profile.getFilters(), copy),
        labels_(copy.labels().list()),
        dropped_(itemsOf(profile, profiles::EXCLUDE_FILES_WITH_LABEL)) {
    assessment_.name = nameOf(profile);
    assessment_.uuid = profile.getUUID();
  }

  Assessment run() {
    const auto clone = copy_.clone();
    weighFilters(*clone->getMetadataManager());
    weighMissingPaths();
    noteIdleLabels();
    assessment_.preview = previewOf(profile_.getFilters(), *clone);
    assessment_.leaving = leavingLabels(*clone);
    noteIdleFilters();
    weighSparedFolders();
    weighWhatIsLeft(*clone);
    weighLeavingLabels();
    return std::move(assessment_);
  }

 private:
  void add(const char* identifier, const std::string& path, const std::string& message) {
    assessment_.risks.push_back({identifier, path, message});
  }

  void note(const char* identifier, const std::string& path, const std::string& message) {
    assessment_.notes.push_back({identifier, path, message});
  }

  void append(std::vector<Risk> risks) { std::move(risks.begin(), risks.end(), std::back_inserter(assessment_.risks)); }

  // A filter selects nothing by a label that is gone, and one of an unknown kind does nothing.
  void weighFilters(project::metadata::MetadataManager& metadata) {
    Items known;
    for (const LabelRecord& label : labels_) known.emplace(label.categoryUUID, label.uuid);
    const std::string profile = folder_host::toBytes(assessment_.name);
    for (const auto& filter : profile_.getFilters()) {
      for (const auto& [category, uuid] : itemsOf(*filter)) {
        if (known.count({category, uuid}) != 0) continue;
        const std::string kind = wordOf(filter->getType());
        const std::string label = folder_host::toBytes(uuid);
        add(refusals::LABEL_DELETED, {},
            fmt::format("the {} filter names the label {}, which is gone; take it out: {}", kind, inQuotes(label),
                        commandOf({"profile", "remove-filter", profile, kind, label})));
      }
    }
    for (const std::string& what : skippedIn(profile_, metadata)) {
      add(refusals::FILTER_SKIPPED, {}, fmt::format("the profile holds {}, which does nothing here", what));
    }
  }

  // Losing a label lets something out only where a drop-files filter names it.
  void weighMissingPaths() {
    const std::vector<MissingPath> gone = labelledMissingPaths(copy_);
    append(missingPathRisks(gone, labels_, mending_, [&](const auto& label) { return names(dropped_, label); }));
    assessment_.notes =
        missingPathRisks(gone, labels_, mending_, [&](const auto& label) { return !names(dropped_, label); });
  }

  // A file that lies in a folder that is to go takes the folder with it, whatever its own labels are. Told of the
  // topmost folder for each such file.
  void weighSparedFolders() {
    std::set<const folder_host::Entry*> told;
    for (const Spared& spared : assessment_.preview.spared) {
      if (!spared.isDropped || !told.insert(spared.because).second) continue;
      const LabelRecord& label = assessment_.preview.labels[spared.labels.front()];
      const std::string& folder = spared.folder->path;
      add(refusals::FOLDER_SPARED, folder,
          fmt::format(
              "{} carries {} and stays all the same, because of what in it does not carry it: {}; take the label "
              "off the folder alone: {}; or label all of it: {}",
              inQuotes(folder), nameInQuotes(label), staysBelow(folder), mending_.detachFolderOnly(label, folder),
              mending_.attach(label, {folder})));
    }
  }

  std::string staysBelow(const std::string& folder) const {
    constexpr std::size_t MOST = 20;
    std::string names;
    std::size_t count = 0;
    for (const folder_host::Entry* entry : assessment_.preview.stays) {
      const bool isBelow = entry->path.compare(0, folder.size() + 1, folder + "/") == 0;
      if (!isBelow || entry->kind == folder_host::EntryKind::folder) continue;
      if (++count <= MOST) names += (names.empty() ? "" : ", ") + inQuotes(entry->path);
    }
    return count <= MOST ? names : fmt::format("{} and {} more", names, count - MOST);
  }

  void weighWhatIsLeft(WorkingCopy& left) {
    const Preview& preview = assessment_.preview;
    for (Risk& risk : risksAmong(left)) {
      if (std::string_view(risk.identifier) == folder_host::errors::NESTED_PROJECT) {
        risk.message += "; " + mending_.holdBack({risk.path});
      }
      assessment_.risks.push_back(std::move(risk));
    }
    append(storeRisks(preview, left, mending_));
    const bool holdsBack = std::any_of(preview.filters.begin(), preview.filters.end(),
                                       [](const FilterEffect& filter) { return !filter.gone.empty(); });
    if (holdsBack) append(traceRisks(preview, left, mending_));
    if (preview.stays.empty()) assessment_.risks.push_back(nothingShared());
  }

  // The name of what was to be held back is in the copy then.
  void weighLeavingLabels() {
    const Items removed = itemsOf(profile_, profiles::EXCLUDE_LABEL);
    const std::string profile = folder_host::toBytes(assessment_.name);
    for (const auto& [label, entries] : assessment_.leaving) {
      if (names(removed, label)) {
        add(refusals::LABEL_PROTECTED, {},
            fmt::format("{} leaves, though a drop-labels filter names it, because no filter may remove it; let it: {}",
                        nameInQuotes(label), commandOf({"label", "unprotect", nameOf(label)})));
      } else if (names(dropped_, label)) {
        add(refusals::LABEL_LEAVES, {},
            fmt::format("{}, by which files are held back, leaves with what stays; remove it from the copy: {}",
                        nameInQuotes(label),
                        commandOf({"profile", "add-filter", profile, "drop-labels", nameOf(label)})));
      }
    }
  }

  // Labels of a drop-files filter that hold nothing back, beside others that do.
  void noteIdleLabels() {
    std::set<std::u16string> attached;
    for (const auto& attachment : copy_.labels().attachments()) attached.insert(attachment.second);
    for (const auto& filter : profile_.getFilters()) {
      if (filter->getType() != profiles::EXCLUDE_FILES_WITH_LABEL) continue;
      const Items items = itemsOf(*filter);
      const auto isIdle = [&](const LabelRecord& label) {
        return names(items, label) && attached.count(label.uuid) == 0;
      };
      const auto idle = std::count_if(labels_.begin(), labels_.end(), isIdle);
      if (static_cast<std::size_t>(idle) >= items.size()) continue;  // the filter is told of
      for (const LabelRecord& label : labels_) {
        if (!isIdle(label)) continue;
        note(refusals::LABEL_IDLE, {},
             fmt::format("the drop-files filter names {}, which hangs on nothing", nameInQuotes(label)));
      }
    }
  }

  void noteIdleFilters() {
    const Preview& preview = assessment_.preview;
    for (std::size_t i = 0; i < preview.filters.size(); ++i) {
      if (!preview.filters[i].matches)
        note(refusals::FILTER_IDLE, {}, nameOfFilter(preview, i + 1) + ", takes nothing out");
    }
    if (preview.filters.empty()) note(refusals::FILTER_IDLE, {}, "the profile has no filter: everything leaves");
  }

  const WorkingCopy& copy_;
  const ExportProfile& profile_;
  const Mending mending_;
  const std::vector<LabelRecord> labels_;
  const Items dropped_;  // named by drop-files filters
  Assessment assessment_;
};

}  // namespace

// By the reserved UUID everything would be shared, whatever the profile's filters are.
Assessment assess(const WorkingCopy& copy, const ExportProfile& profile) {
  if (profile.getUUID() == profiles::getWholeProjectUUID()) {
    throw Refusal(refusals::PROFILE_DAMAGED,
                  fmt::format("the profile {} has the UUID that means the whole project: duplicate it under another "
                              "name, and delete it",
                              inQuotes(nameOf(profile))));
  }
  return Assessing(copy, profile).run();
}

std::vector<Risk> missingPaths(const WorkingCopy& copy) {
  return missingPathRisks(labelledMissingPaths(copy), copy.labels().list(), Mending({}, copy),
                          [](const LabelRecord&) { return true; });
}

Assessment assessWhole(const WorkingCopy& copy) {
  const auto clone = copy.clone();
  Assessment assessment{{}, profiles::getWholeProjectUUID(), previewOf({}, *clone), leavingLabels(*clone), {}, {}};
  assessment.risks = risksAmong(*clone);
  if (assessment.preview.stays.empty()) assessment.risks.push_back(nothingShared());
  return assessment;
}

const std::vector<std::string>& allowableRisks() {
  static const std::vector<std::string> all{
      refusals::LABEL_DELETED,
      refusals::FILTER_SKIPPED,
      refusals::FOLDER_SPARED,
      refusals::LABEL_ON_MISSING_PATH,
      refusals::HISTORY_INSIDE,
      refusals::LEFTOVER,
      refusals::SAME_CONTENT,
      folder_host::errors::NESTED_PROJECT,
      refusals::LABEL_LEAVES,
      refusals::LABEL_PROTECTED,
      folder_host::errors::NAMES_COLLIDE,
      refusals::NOTHING_SHARED,
      folder_host::errors::ENTRY_CHANGED,
  };
  return all;
}

std::vector<Risk> refusedAmong(const std::vector<Risk>& risks, const Allowances& allowed) {
  std::vector<Risk> refused;
  for (const Risk& risk : risks) {
    const auto isAllowed = [&](const std::string& path) { return allowed.allows(risk.identifier, path); };
    const auto& others = risk.otherPaths;
    if (!isAllowed(risk.path) || !std::all_of(others.begin(), others.end(), isAllowed)) refused.push_back(risk);
  }
  return refused;
}

std::string allowingFlags(const std::vector<Risk>& risks) {
  std::set<std::string> identifiers;
  for (const Risk& risk : risks) {
    const auto& all = allowableRisks();
    if (std::find(all.begin(), all.end(), risk.identifier) != all.end()) identifiers.insert(risk.identifier);
  }
  std::string flags;
  for (const std::string& identifier : identifiers) flags += (flags.empty() ? "" : " ") + ("--allow " + identifier);
  return flags;
}

}  // namespace project_share
