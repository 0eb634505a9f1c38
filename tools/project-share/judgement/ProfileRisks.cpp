#include "judgement/ProfileRisks.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "folder_host/files/Path.h"
#include "folder_host/text/Utf.h"
#include "judgement/SelectionProbe.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/StoredFilters.h"

namespace project_share {

using folder_host::LabelRecord;
using folder_host::WorkingCopy;
using profiles::ExportProfile;

namespace {

using Items = std::set<std::pair<std::u16string, std::u16string>>;  // category and UUID

Items itemsOf(const profiles::ExportFilter& filter) {
  Items items;
  for (const auto& item : filter.getItems()) items.emplace(item.category, item.labelUUID);
  return items;
}

// Of all filters of the kinds that `isMeant` tells.
Items itemsOf(const ExportProfile& profile, bool (*isMeant)(const std::u16string&)) {
  Items items;
  for (const auto& filter : profile.getFilters()) {
    if (isMeant(filter->getType())) items.merge(itemsOf(*filter));
  }
  return items;
}

// By category and UUID, as a filter selects: by the name alone, another label could be taken for the one that it names.
bool names(const Items& items, const LabelRecord& label) { return items.count({label.categoryUUID, label.uuid}) != 0; }

std::string nameInQuotes(const LabelRecord& label) { return inQuotes(nameOf(label)); }

// What carried a label and is not there. Of a folder that is missing, with what was below it, the folder alone, unless
// there were other labels below; of what had no mark of its own, what was in one folder together.
// A label lets something out only where a drop-files filter names it; of the others it is worth knowing. What is gone
// for good harms nobody either: that is told from what was renamed as far as files can be told by their identity.
class MissingPaths {
 public:
  MissingPaths(const WorkingCopy& project, const Mending& mending) : project_(project), mending_(mending) {}

  template <class IsDropped>
  void addTo(Findings& found, const IsDropped& isDropped) {
    std::map<std::pair<std::string, folder_host::LabelSet>, Group> unmarked;  // by folder and labels
    for (const Lost& lost : project_.followed().lost()) {
      if (!lost.isMarked && !isBelow(lost)) unmarked[{folder_host::parentOf(lost.path), lost.labels}].push_back(&lost);
      if (!lost.isMarked) continue;
      addGroup({&lost}, found, isDropped);
      if (!isBelow(lost)) folder_ = &lost;
    }
    folder_ = nullptr;
    for (const auto& one : unmarked) addGroup(one.second, found, isDropped);
  }

 private:
  using Lost = folder_host::Followed::Lost;
  using Group = std::vector<const Lost*>;  // of one kind, with the same labels
  using Labels = std::vector<const LabelRecord*>;
  using Candidates = std::vector<std::size_t>;

  template <class IsDropped>
  void addGroup(const Group& group, Findings& found, const IsDropped& isDropped) {
    Labels dropped, others;
    for (const std::size_t index : group.front()->labels) {
      const LabelRecord& label = project_.effective().sources().labels()[index];
      if (!isTold(*group.front(), index)) (isDropped(label) ? dropped : others).push_back(&label);
    }
    const Lost& first = *group.front();
    const bool isRisk = !first.isMeant && (first.isFolder || first.isUncertain);
    if (!dropped.empty()) add(group, dropped, isRisk ? found.risks : found.notes);
    if (!others.empty()) add(group, others, found.notes);
  }

  bool isBelow(const Lost& lost) const {
    return folder_ != nullptr && lost.path.compare(0, folder_->path.size() + 1, folder_->path + "/") == 0;
  }

  // A folder that was renamed takes a thousand labelled paths with it: one line tells of them all, unless what was
  // below had labels of its own, which the folder's line does not name.
  bool isTold(const Lost& lost, std::size_t label) const {
    return isBelow(lost) && std::find(folder_->labels.begin(), folder_->labels.end(), label) != folder_->labels.end();
  }

  void add(const Group& group, const Labels& labels, std::vector<Risk>& found) const {
    const Lost& first = *group.front();
    Risk risk{risks::LABEL_ON_MISSING_PATH.identifier, first.path, {}};
    for (std::size_t i = 1; i < group.size(); ++i) risk.otherPaths.push_back(group[i]->path);
    const std::string folder = folder_host::parentOf(first.path);
    const std::string top = group.size() == 1 || folder.empty() ? first.path : folder;
    std::string what = inQuotes(first.path);
    if (group.size() > 1) what += fmt::format(" and {} more", group.size() - 1);
    constexpr std::size_t ENOUGH = 20;  // a look at all entries for each of thousands would take too long
    const auto candidates = found.size() < ENOUGH ? project_.followed().candidatesFor(first) : Candidates();
    std::string perhaps, told;
    Command attach, detach;
    for (const std::size_t one : candidates) {
      perhaps += (perhaps.empty() ? "; perhaps it is now " : ", ") + inQuotes(project_.table()[one].path);
    }
    for (const LabelRecord* label : labels) {
      risk.labels.push_back(*label);
      told += (told.empty() ? "" : ", ") + nameInQuotes(*label);
      if (!candidates.empty()) attach.append(mending_.attach(*label, {project_.table()[candidates.front()].path}));
      detach.append(mending_.detach(*label, {first.path}));
    }
    risk.what = fmt::format("nothing is at {}, which had {}{}", what, told, perhaps);
    risk.mends.push_back({"where it was renamed or moved, label what it is now", attach});
    if (!first.isMeant) risk.mends.push_back({"where it is meant to be missing", mending_.callMissing(top)});
    // Somebody else's folder may still have it.
    if (first.isMarked && project_.address().empty()) risk.mends.push_back({"where it is gone for good", detach});
    found.push_back(std::move(risk));
  }

  const WorkingCopy& project_;
  const Mending& mending_;
  const Lost* folder_ = nullptr;  // that was told of last
};

// What had other labels under another name, folder by folder.
class FollowedNotes {
 public:
  FollowedNotes(const WorkingCopy& project, const Mending& mending)
      : project_(project), differing_(project.followed().differing()), mending_(mending) {}

  void addTo(Findings& found, const std::vector<FollowedEntry>& followed) {
    std::map<std::pair<std::size_t, bool>, std::vector<std::size_t>> byTop;
    for (const auto& [entry, byWhatItHas, from] : followed) {
      // What takes a labelled name is held back by that, as anybody would expect.
      if (!byWhatItHas || !from->empty()) byTop[{topOf(entry), byWhatItHas}].push_back(entry);
    }
    for (const auto& [top, entries] : byTop) found.notes.push_back(note(top.first, top.second, entries));
  }

 private:
  // Who moved a folder moved all that is in it: of that, what came from the folder's old place is told with the folder.
  std::size_t topOf(std::size_t entry) {
    const auto [known, isNew] = tops_.emplace(entry, entry);
    if (!isNew) return known->second;
    const std::size_t folder = project_.table().parentOf(entry);
    const auto moved = folder == folder_host::EntryTable::ROOT ? differing_.end() : differing_.find(folder);
    if (moved == differing_.end()) return entry;
    const std::string& path = project_.table()[entry].path;
    const std::string name = path.substr(project_.table()[folder].path.size());
    const std::string& from = moved->second.from;
    if (differing_.at(entry).from != (from.empty() ? from : from + name)) return entry;
    const std::size_t top = topOf(folder);
    return tops_[entry] = top;
  }

  Risk note(std::size_t top, bool byWhatItHas, const std::vector<std::size_t>& entries) const {
    const std::string& path = project_.table()[top].path;
    const std::string& from = differing_.at(top).from;
    const bool isAlone = entries.size() == 1 && entries.front() == top;
    const std::string what = isAlone ? inQuotes(path) + " is"
                                     : fmt::format("of {}, {} {}", inQuotes(path), entries.size(),
                                                   entries.size() == 1 ? "entry is" : "entries are");
    Risk note{risks::LABEL_FOLLOWED.identifier, path, what + " held back"};
    for (const std::size_t label : byWhatItHas ? project_.effective().of(top) : differing_.at(top).labels) {
      note.labels.push_back(project_.effective().sources().labels()[label]);
    }
    if (byWhatItHas) {
      note.what += fmt::format(" by the labels of its place; as {} it was shared", inQuotes(from));
      note.mends.push_back({"to share it again", mending_.restore(top)});
    } else if (from.empty()) {
      note.what += ": its labels were those of something else, which is elsewhere now";
    } else {
      note.what += fmt::format(" by the labels that it had as {}", inQuotes(from));
      note.mends.push_back({"to keep it so for good", mending_.follow(path)});
    }
    if (!byWhatItHas) note.mends.push_back({"to share it by what it has now", mending_.settle(top)});
    if (!from.empty()) note.otherPaths.push_back(from);
    return note;
  }

  const WorkingCopy& project_;
  const std::map<std::size_t, folder_host::Followed::Had>& differing_;
  const Mending& mending_;
  std::map<std::size_t, std::size_t> tops_;
};

constexpr const char* MEMORY_TEXT =
    "what this folder noted of its labelled entries is damaged or strange; it is made anew by the next edit or share, "
    "and until then nothing that was renamed or moved is found again";

struct IdleRule {
  const LabelRecord* label;
  Risk note;
};

std::vector<IdleRule> idleRules(const WorkingCopy& project) {
  std::vector<IdleRule> idle;
  const auto& sources = project.effective().sources();
  for (const std::size_t index : project.effective().idleRules()) {
    const auto& rule = sources.rules()[index];
    const LabelRecord& label = sources.labels()[rule.label];
    Risk note{
        risks::RULE_IDLE.identifier,
        {},
        fmt::format("the rule {} of {} has no effect on what is there", inQuotes(rule.pattern), nameInQuotes(label))};
    note.labels = {label};
    idle.push_back({&label, std::move(note)});
  }
  return idle;
}

class ProfileRisks {
 public:
  ProfileRisks(WorkingCopy& project, const ExportProfile& profile, const Mending& mending, Judgement& judgement)
      : project_(project),
        profile_(profile),
        mending_(mending),
        judgement_(judgement),
        found_(judgement.found),
        filters_(profile.getFilters()),
        dropped_(itemsOf(profile, dropsFiles)) {
    for (const auto& filter : filters_) named_.merge(itemsOf(*filter));
  }

  void add() {
    addFilters();
    addMissingPaths();
    FollowedNotes(project_, mending_).addTo(found_, judgement_.followed);
    addIdleLabels();
    addIdleRules();
    addHiddenRules();
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
    for (std::size_t i = 0; i < filters_.size(); ++i) {
      for (const auto& [category, uuid] : itemsOf(*filters_[i])) {
        if (known.count({category, uuid}) != 0) continue;
        const std::string kind = wordOf(filters_[i]->getType());
        // By its UUID: its name was deleted with it.
        const std::string label = folder_host::toBytes(uuid);
        Risk& risk =
            found_.add(risks::LABEL_DELETED, {},
                       fmt::format("the {} filter names the label {}, which was deleted", kind, inQuotes(label)),
                       {{"take it out", typedCommand({"profile", "remove-filter", profile, kind, label})}});
        concern(risk, {uuid, {}, {}, {}}, i + 1);
      }
    }
    for (const std::string& what : skippedIn(profile_, *project_.getMetadataManager())) {
      found_.add(
          risks::FILTER_SKIPPED, {},
          fmt::format("the profile holds {}, which does nothing here; share with the version that knows it, or take "
                      "the filter away by profile remove-filter",
                      what));
    }
  }

  void addMissingPaths() {
    if (project_.memory().isUnreadable) {
      found_.add(risks::MEMORY_UNREADABLE, {}, MEMORY_TEXT);
    }
    MissingPaths(project_, mending_).addTo(found_, [&](const LabelRecord& label) { return names(dropped_, label); });
  }

  // A file that lies in a folder that a drop-files filter selects takes the folder with it, whatever its own labels
  // are. Of the folders above one file that carry one label the topmost alone is told of. Where the label is about what
  // lies below as well, the file was excepted from it, and to share the folder is what was asked for.
  void addSparedFolders() {
    std::set<std::pair<const folder_host::Entry*, std::size_t>> told;  // the file, and the label
    const auto& sources = project_.effective().sources();
    for (const Spared& spared : judgement_.spared) {
      const std::string& folder = spared.folder->path;
      const auto isAlone = [&](std::size_t label) {
        const auto index = sources.find(judgement_.labels[label].uuid);
        return index && sources.markOn(folder, *index) == folder_host::MarkKind::entry;
      };
      const auto alone = std::find_if(spared.labels.begin(), spared.labels.end(), isAlone);
      if (!spared.isDropped || alone == spared.labels.end() || !told.insert({spared.because, *alone}).second) continue;
      const LabelRecord& label = judgement_.labels[*alone];
      Risk& risk =
          found_.add(risks::FOLDER_SPARED, folder,
                     fmt::format("{} alone carries {} and is shared all the same, because of what in it does not carry "
                                 "it: {}",
                                 inQuotes(folder), nameInQuotes(label), sharedBelow(folder)),
                     {{"label all of it, now and later", mending_.attach(label, {folder})},
                      {"take the label off", mending_.detach(label, {folder})}});
      concern(risk, label, spared.filter);
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
    const std::string profile = folder_host::toBytes(judgement_.name);
    for (const LeavingLabel& leaving : judgement_.leaving) {
      const LabelRecord& label = leaving.label;
      const std::size_t remover = removerOf(label);
      const bool isNamed = remover != 0 && dropsLabels(filters_[remover - 1]->getType());
      const Mend unprotect{"let filters remove it", typedCommand({"label", "unprotect", nameOf(label)})};
      // Asked first: the drop-labels filter is there already, and to add the label to it again would mend nothing.
      if (isNamed) {
        addProtected(label, remover, "though a drop-labels filter names it", found_.risks, unprotect);
      } else if (names(dropped_, label)) {
        const Mend remove{"remove it from the copy",
                          typedCommand({"profile", "add-filter", profile, "drop-labels", nameOf(label)})};
        Risk& risk = found_.add(risks::LABEL_LEAVES, {},
                                nameInQuotes(label) + ", by which files are held back, leaves with what is shared",
                                {remover == 0 ? remove : unprotect});
        concern(risk, label, dropperOf(label));
      } else if (remover != 0) {
        addProtected(label, remover, "though no keep-labels filter lists it", found_.notes, unprotect);
      }
    }
  }

  void addProtected(const LabelRecord& label, std::size_t filter, const char* though, std::vector<Risk>& found,
                    const Mend& mend) {
    found.push_back({risks::LABEL_PROTECTED.identifier,
                     {},
                     fmt::format("{} leaves, {}, because it is protected", nameInQuotes(label), though),
                     {},
                     {mend}});
    concern(found.back(), label, filter);
  }

  // The filter that would remove the label that leaves, were it not protected: one that names it before one that does
  // not list it. 0 where there is none.
  std::size_t removerOf(const LabelRecord& label) const {
    const Labels alone{{project::management::CategoryIdentifier(label.categoryUUID),
                        project::management::LabelIdentifier(label.uuid, 1)}};
    std::size_t remover = 0;
    for (std::size_t i = 0; i < filters_.size(); ++i) {
      const std::u16string kind = filters_[i]->getType();
      if (isFileKind(kind) || filters_[i]->getItems().empty() || !takesAwayAny(*filters_[i], alone)) continue;
      if (remover == 0 || dropsLabels(kind)) remover = i + 1;
    }
    return remover;
  }

  // The first drop-files filter that names the label; 0 where none does.
  std::size_t dropperOf(const LabelRecord& label) const {
    for (std::size_t i = 0; i < filters_.size(); ++i) {
      if (dropsFiles(filters_[i]->getType()) && names(itemsOf(*filters_[i]), label)) return i + 1;
    }
    return 0;
  }

  void concern(Risk& risk, const LabelRecord& label, std::size_t filter) const {
    risk.labels = {label};
    setFilter(risk, judgement_, filter);
  }

  // Labels of a drop-files filter that hold nothing back, beside others that do.
  void addIdleLabels() {
    const auto& sources = project_.effective().sources();
    const std::vector<std::size_t> counts = project_.effective().counts();
    for (const auto& filter : profile_.getFilters()) {
      if (!dropsFiles(filter->getType())) continue;
      const Items items = itemsOf(*filter);
      const auto isIdle = [&](const LabelRecord& label) {
        return names(items, label) && counts[sources.find(label.uuid).value()] == 0;
      };
      const auto idle = std::count_if(judgement_.labels.begin(), judgement_.labels.end(), isIdle);
      // Where all of them are idle the filter as a whole is, which is told once.
      if (static_cast<std::size_t>(idle) >= items.size()) continue;  // the filter is told of
      for (const LabelRecord& label : judgement_.labels) {
        if (!isIdle(label)) continue;
        Risk& note =
            found_.add(risks::LABEL_IDLE, {},
                       fmt::format("the drop-files filter names {}, which nothing carries", nameInQuotes(label)));
        concern(note, label, dropperOf(label));
      }
    }
  }

  void addIdleRules() {
    for (IdleRule& rule : idleRules(project_)) {
      if (names(named_, *rule.label)) found_.notes.push_back(std::move(rule.note));
    }
  }

  // A rule says what must not leave whatever comes; an exception takes that back for one place, perhaps without knowing
  // of the rule.
  void addHiddenRules() {
    const auto& sources = project_.effective().sources();
    for (const auto& [place, kind] : sources.marks()) {
      const auto& [path, index] = place;
      const auto entry = project_.table().find(path);
      const LabelRecord& label = sources.labels()[index];
      if (kind != folder_host::MarkKind::exception || !entry || !names(dropped_, label)) continue;
      const auto rule = sources.ruleFor(path, project_.table()[*entry].kind == folder_host::EntryKind::folder, index);
      if (!rule.gives()) continue;
      Risk& note = found_.add(risks::EXCEPTION_HIDES_RULE, path,
                              fmt::format("{} is excepted from {}, which the rule {} would give it", inQuotes(path),
                                          nameInQuotes(label), inQuotes(rule.pattern)),
                              {{"to label it again", mending_.attach(label, {path})}});
      concern(note, label, dropperOf(label));
    }
  }

  void addIdleFilters() {
    for (std::size_t i = 0; i < judgement_.filters.size(); ++i) {
      if (judgement_.filters[i].matches) continue;
      Risk& note = found_.add(risks::FILTER_IDLE, {}, nameOfFilter(judgement_, i + 1) + ", takes nothing out");
      setFilter(note, judgement_, i + 1);
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
  const Filters filters_;
  const Items dropped_;  // named by drop-files filters
  Items named_;          // by any
};

}  // namespace

void addProfileRisks(WorkingCopy& project, const ExportProfile& profile, const Mending& mending, Judgement& judgement) {
  ProfileRisks(project, profile, mending, judgement).add();
}

// Of every label: which profile will be shared by is not known here.
std::vector<Risk> doubtsAboutLabels(const WorkingCopy& project) {
  Findings found;
  if (project.memory().isUnreadable) found.add(risks::MEMORY_UNREADABLE, {}, MEMORY_TEXT);
  MissingPaths(project, Mending({}, project)).addTo(found, [](const LabelRecord&) { return true; });
  for (Risk& note : found.notes) found.risks.push_back(std::move(note));
  for (IdleRule& rule : idleRules(project)) found.risks.push_back(std::move(rule.note));
  return std::move(found.risks);
}

}  // namespace project_share
