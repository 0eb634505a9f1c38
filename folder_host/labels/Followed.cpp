#include "folder_host/labels/Followed.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Path.h"
#include "folder_host/files/Times.h"
#include "folder_host/text/FoldedName.h"
#include "folder_host/text/SideNames.h"

namespace folder_host {

namespace {

using Indices = std::vector<std::size_t>;

// Whether a program leaves under this name what it makes of that file or folder.
bool isSideName(std::string_view name, std::string_view of) {
  const std::string folded = foldedName(of);
  const std::string stem = folded.substr(0, folded.rfind('.'));
  const std::vector<Original> originals = originalsOf(name);
  return std::any_of(originals.begin(), originals.end(), [&](const Original& original) {
    return !original.isCopy && original.name == (original.isStem ? stem : folded);
  });
}

// Files by their size and, with it, by their name, their time, or both. A checkout of a rename makes a file anew, with
// another name and time: where files have an identity, a new one of the same size alone is alike, too.
class Likeness {
 public:
  Likeness(const EntryTable& entries, const Selection& without, const timespec& since, bool bySizeAlone) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const Entry& entry = entries[i];
      // A file that was there when all was noted last is not what was lost since; where files have no identity, their
      // status has no time of its own either.
      const bool wasThere = isEarlier(entry.changed, since) && entries.listing().identityOf(entry);
      if (without[i] || entry.kind != EntryKind::file || wasThere) continue;
      for (const Key& key : keysOf(entry.path, entry.size, entry.modified)) {
        const bool isOfSizeAlone = key == Key{entry.size, 0, 0, {}};
        if (!isOfSizeAlone || (bySizeAlone && !isEarlier(entry.born, since))) entries_[key].push_back(i);
      }
    }
  }

  // Asked for many that are alike and have the same labels, the first answer is as good as each.
  Indices find(const Remembered& lost) {
    if (lost.kind != EntryKind::file || lost.size == 0) return {};
    std::vector<Key> keys = keysOf(lost.at, lost.size, lost.modified);
    const std::vector<Key> archived = keysOf(lost.at, lost.size, {lost.modified.tv_sec, 0});
    keys.insert(keys.begin() + 2, archived.begin(), archived.begin() + 2);
    if (!lost.labels) keys.resize(4);  // a guess by less would take labels away from what is new
    for (const Key& key : keys) {
      const auto alike = entries_.find(key);
      if (alike == entries_.end()) continue;
      return asked_.emplace(key, lost.labels).second ? alike->second : Indices{alike->second.front()};
    }
    return {};
  }

  // Those of its size and time. Archives keep whole seconds.
  Indices findSame(const Remembered& one) const {
    if (one.kind != EntryKind::file || one.size == 0) return {};
    auto same = entries_.find({one.size, one.modified.tv_sec, one.modified.tv_nsec, {}});
    if (same == entries_.end()) same = entries_.find({one.size, one.modified.tv_sec, 0, {}});
    return same != entries_.end() ? same->second : Indices();
  }

 private:
  using Key = std::tuple<std::uint64_t, std::int64_t, std::int64_t, std::string>;

  // The likeliest first.
  static std::vector<Key> keysOf(const std::string& path, std::uint64_t size, const timespec& modified) {
    const std::string name(nameOf(path));
    return {{size, modified.tv_sec, modified.tv_nsec, name},
            {size, modified.tv_sec, modified.tv_nsec, {}},
            {size, 0, 0, name},
            {size, 0, 0, {}}};
  }

  std::map<Key, Indices> entries_;
  std::set<std::pair<Key, LabelNames>> asked_;
};

}  // namespace

class Followed::Search {
 public:
  explicit Search(Followed& result)
      : result_(result),
        entries_(result.entries_),
        has_(result.has_),
        remembered_(result.memory_.entries),
        by_(remembered_.size(), By::nothing),
        isFoundByIdentity_(entries_.size()),
        hasOwnMark_(entries_.size()) {
    result_.found_.resize(remembered_.size());
    result_.claims_.resize(entries_.size(), NONE);
    for (const auto& mark : has_.sources().marks()) {
      if (const auto entry = entries_.find(mark.first.first)) hasOwnMark_[*entry] = true;
    }
  }

  void run() {
    seekByIdentity();
    seekInMovedFolders();
    seekAlike();
    claim();
    inferFromClaims();
    inferFromNeighbours();
    addLost();
  }

 private:
  // In ascending order of what counts, where two come to one path.
  enum class By { nothing, likeness, place, identity, identityAtPlace };

  void seekByIdentity() {
    std::vector<std::pair<Identity, std::size_t>> identities;
    for (std::size_t i = 0; i < entries_.size() && !remembered_.empty(); ++i) {
      if (const auto identity = entries_.listing().identityOf(entries_[i])) identities.emplace_back(*identity, i);
    }
    std::sort(identities.begin(), identities.end());
    std::size_t found = 0, byIdentity = 0;
    for (std::size_t r = 0; r < remembered_.size(); ++r) {
      Indices same;
      const auto& identity = remembered_[r].identity;
      auto next = identity
                      ? std::lower_bound(identities.begin(), identities.end(), std::pair(*identity, std::size_t{0}))
                      : identities.end();
      for (; next != identities.end() && next->first == *identity; ++next) same.push_back(next->second);
      place(r, std::move(same));
      found += by_[r] != By::nothing && !remembered_[r].isWay ? 1U : 0U;
      byIdentity += by_[r] >= By::identity && !remembered_[r].isWay ? 1U : 0U;
    }
    result_.isUncertain_ = 2 * byIdentity < found;
  }

  // Of one that is remembered, by the entries that have its identity: where it is now.
  void place(std::size_t r, Indices same) {
    const auto at = entries_.find(remembered_[r].at);
    const bool isThere = at && std::find(same.begin(), same.end(), *at) != same.end();
    for (const std::size_t entry : same) isFoundByIdentity_[entry] = true;
    if (isThere) return set(r, {*at}, By::identityAtPlace);
    if (!at) return set(r, withSavedBeside(r, std::move(same)), By::identity);
    // Editors move the file aside and write the name anew: the document is still the one of that name.
    const auto isAside = [&](std::size_t entry) {
      return entries_.parentOf(entry) == entries_.parentOf(*at) &&
             isSideName(nameOf(entries_[entry].path), nameOf(entries_[*at].path));
    };
    same.erase(std::remove_if(same.begin(), same.end(), isAside), same.end());
    if (same.empty()) return set(r, {*at}, By::place);
    set(r, std::move(same), By::identity);
    if (!remembered_[r].isWay) newcomers_.emplace_back(*at, r);
  }

  // What was moved aside and saved anew, in a folder that was then moved, is there under both names.
  Indices withSavedBeside(std::size_t r, Indices same) const {
    const std::string name(nameOf(remembered_[r].at));
    for (std::size_t i = same.size(); i-- > 0;) {
      const std::string& path = entries_[same[i]].path;
      const auto saved = entries_.find(folder_host::joined(parentOf(path), name));
      if (saved && isSideName(nameOf(path), name)) same.push_back(*saved);
    }
    return same;
  }

  void set(std::size_t r, Indices entries, By by) {
    by_[r] = entries.empty() ? By::nothing : by;
    result_.found_[r] = std::move(entries);
  }

  // What was saved as another file, in a folder that was then moved, is known by its name there.
  void seekInMovedFolders() {
    std::map<std::string, std::size_t> moved;  // by where they were
    for (std::size_t r = 0; r < remembered_.size(); ++r) {
      if (remembered_[r].kind == EntryKind::folder && by_[r] == By::identity) moved.emplace(remembered_[r].at, r);
    }
    for (std::size_t r = 0; r < remembered_.size() && !moved.empty(); ++r) {
      const std::string& at = remembered_[r].at;
      auto folder = moved.end();
      std::string top = at;
      while (folder == moved.end() && !top.empty()) folder = moved.find(top = parentOf(top));
      if (by_[r] != By::nothing || folder == moved.end()) continue;
      Indices there;
      for (const std::size_t now : result_.found_[folder->second]) {
        const auto entry = entries_.find(entries_[now].path + at.substr(top.size()));
        if (entry && !isFoundByIdentity_[*entry]) there.push_back(*entry);
      }
      set(r, std::move(there), By::place);
    }
  }

  void seekAlike() {
    const auto isOpen = [&](std::size_t r) { return by_[r] == By::nothing || isRewritten(r); };
    Indices open;
    for (std::size_t r = 0; r < remembered_.size(); ++r) {
      if (!remembered_[r].isWay && isOpen(r)) open.push_back(r);
    }
    if (open.empty()) return;
    Likeness likeness(entries_, isFoundByIdentity_, result_.memory_.written, !result_.isUncertain_);
    for (const std::size_t r : open) {
      if (by_[r] == By::nothing) {
        set(r, likeness.find(remembered_[r]), By::likeness);
      } else {
        for (const std::size_t entry : likeness.findSame(remembered_[r])) strays_.emplace_back(entry, r);
      }
    }
  }

  // Whether something else, by its size or time, stands at the place of what cannot be told by its identity: the same
  // after it was saved, or another, while it was moved elsewhere.
  bool isRewritten(std::size_t r) const {
    if (by_[r] != By::place) return false;
    const Entry& entry = entries_[result_.found_[r].front()];
    return entry.size != remembered_[r].size || entry.modified.tv_sec != remembered_[r].modified.tv_sec;
  }

  void claim() {
    for (std::size_t r = 0; r < remembered_.size(); ++r) {
      if (remembered_[r].isWay) continue;
      for (const std::size_t entry : result_.found_[r]) {
        std::size_t& claim = result_.claims_[entry];
        if (claim == NONE || by_[claim] < by_[r]) {
          claim = r;
          claimed_.erase(entry);
        } else if (by_[claim] == by_[r]) {
          // Neither is likelier: it may have been either, and had what both had.
          LabelSet& labels = claimed_.try_emplace(entry, labelsOf(claim)).first->second;
          labels = joined(labels, labelsOf(r));
        }
      }
    }
  }

  void inferFromClaims() {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const std::size_t claim = result_.claims_[i];
      if (claim == NONE || remembered_[claim].from == entries_[i].path) continue;
      const Remembered& one = remembered_[claim];
      const auto several = claimed_.find(i);
      const LabelSet& labels = several != claimed_.end() ? several->second : labelsOf(claim);
      // What its place gave it counts when it goes on from there: it was there with these labels. So does what has been
      // put on its old path since, by whoever did not see that it is elsewhere: it is about what was there.
      const bool isThere = one.at == entries_[i].path;
      const LabelSet atFrom =
          one.from.empty() ? LabelSet() : has_.sources().labelsOf(one.from, one.kind == EntryKind::folder);
      infer(i, joined(atFrom, isThere ? labels : joined(labels, setOf(one.place))),
            one.from.empty() && !isThere ? one.at : one.from);
    }
    inferFromNewcomers();
    for (const auto& [entry, r] : strays_) {
      const std::size_t claim = result_.claims_[entry];
      const bool isSettled = claim != NONE && by_[claim] != By::likeness && !isRewritten(claim);
      if (isSettled || labelsOf(r).empty() || remembered_[r].from == entries_[entry].path) continue;
      isNewcomer_.insert(entry);
      // It may be either, and has no label less for that.
      const LabelSet labels = claim == NONE ? labelsOf(r) : joined(labelsOf(claim), labelsOf(r));
      infer(entry, labels, remembered_[r].from.empty() ? remembered_[r].at : remembered_[r].from);
    }
  }

  void inferFromNewcomers() {
    for (const auto& [entry, r] : newcomers_) {
      if (result_.claims_[entry] != NONE) continue;
      isNewcomer_.insert(entry);
      const LabelSet has = has_.of(entry), labels = labelsOf(r);
      const bool isGiven = std::includes(has.begin(), has.end(), labels.begin(), labels.end());
      // Made since then, it is what the name stands for now, and has its labels as anything that is added has.
      if (isGiven && !isEarlier(entries_[entry].born, result_.memory_.written)) continue;
      const std::string& from = remembered_[r].from;
      const bool isElsewhere = !from.empty() && from != entries_[entry].path;
      infer(entry, isGiven ? LabelSet() : labels,
            isGiven       ? std::string()
            : isElsewhere ? from
                          : entries_[result_.found_[r].front()].path);
    }
  }

  // Of what has neither a mark nor anything remembered: side files, and what is new in a folder that was moved. A
  // folder comes before what lies in it.
  void inferFromNeighbours() {
    const auto originals = originalsByFolder();
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (result_.claims_[i] != NONE || hasOwnMark_[i] || isNewcomer_.count(i) != 0) continue;
      const std::size_t folder = entries_.parentOf(i);
      const auto beside = originals.find(folder);
      if (beside != originals.end() && inferFromOriginals(i, beside->second)) continue;
      const auto moved = folder == EntryTable::ROOT ? result_.differing_.end() : result_.differing_.find(folder);
      if (moved == result_.differing_.end()) continue;
      const std::string& from = moved->second.from;
      infer(i, joined(moved->second.labels, byItsNameAlone(i)),
            from.empty() ? from : from + "/" + std::string(nameOf(entries_[i].path)));
    }
  }

  // The labels that the entry has and its folder has not.
  LabelSet byItsNameAlone(std::size_t entry) const {
    const std::size_t folder = entries_.parentOf(entry);
    const LabelSet has = has_.of(entry), above = folder == EntryTable::ROOT ? LabelSet() : has_.of(folder);
    LabelSet labels;
    std::set_difference(has.begin(), has.end(), above.begin(), above.end(), std::back_inserter(labels));
    return labels;
  }

  using Originals = std::vector<std::pair<std::string, std::size_t>>;  // entries by name, folded, and by stem; sorted

  // Of the folders in which something has, or had, other labels than all that lies beside it.
  std::map<std::size_t, Originals> originalsByFolder() const {
    std::map<std::size_t, Originals> originals;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const std::size_t folder = entries_.parentOf(i);
      const bool isOther = has_.of(i) != (folder == EntryTable::ROOT ? LabelSet() : has_.of(folder));
      if (isOther || result_.differing_.count(i) != 0) originals[folder];
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const auto beside = originals.find(entries_.parentOf(i));
      if (beside == originals.end()) continue;
      const std::string name = foldedName(nameOf(entries_[i].path));
      beside->second.emplace_back(name, i);
      const std::size_t dot = name.rfind('.');
      if (dot != std::string::npos && dot > 0) beside->second.emplace_back(name.substr(0, dot) + '/', i);
    }
    for (auto& beside : originals) std::sort(beside.second.begin(), beside.second.end());
    return originals;
  }

  bool inferFromOriginals(std::size_t entry, const Originals& beside) {
    std::optional<std::string> from;
    LabelSet labels = byItsNameAlone(entry);
    for (const Original& original : originalsOf(nameOf(entries_[entry].path))) {
      if (original.isCopy) continue;
      const std::string name = original.isStem ? original.name + '/' : original.name;
      auto one = std::lower_bound(beside.begin(), beside.end(), std::pair(name, std::size_t{0}));
      for (; one != beside.end() && one->first == name; ++one) {
        const auto differs = result_.differing_.find(one->second);
        const bool isOther = differs != result_.differing_.end();
        if (!from) from = isOther ? differs->second.from : entries_[one->second].path;
        labels = joined(labels, has_.of(one->second));
        if (isOther) labels = joined(labels, differs->second.labels);
      }
    }
    if (from) infer(entry, labels, *from);
    return from.has_value();
  }

  void infer(std::size_t entry, const LabelSet& labels, const std::string& from) {
    result_.differing_.erase(entry);
    if (labels == has_.of(entry)) return;
    result_.differing_.emplace(entry, Had{*result_.sets_.insert(labels).first, from});
  }

  // A mark whose entry is found under another name is not lost.
  void addLost() {
    std::multimap<std::string, std::size_t> byPath;
    for (std::size_t r = 0; r < remembered_.size(); ++r) {
      if (remembered_[r].isWay) continue;
      byPath.emplace(remembered_[r].at, r);
      if (remembered_[r].from != remembered_[r].at) byPath.emplace(remembered_[r].from, r);
    }
    std::map<std::string, LabelSet> marked;
    for (const auto& [place, kind] : has_.sources().marks()) {
      const bool isThere = place.first.empty() || entries_.find(place.first);
      if (!isThere && kind != MarkKind::exception) marked[place.first].push_back(place.second);
    }
    for (const auto& [path, labels] : marked) {
      Lost lost{path, labels, true, false, false, false};
      const auto [first, last] = byPath.equal_range(path);
      lost.isUncertain = first == last;
      bool isFound = false;
      for (auto one = first; one != last; ++one) {
        isFound = isFound || by_[one->second] != By::nothing;
        describe(remembered_[one->second], lost);
      }
      if (!isFound) result_.lost_.push_back(std::move(lost));
    }
    for (std::size_t r = 0; r < remembered_.size(); ++r) {
      const Remembered& one = remembered_[r];
      if (by_[r] != By::nothing || one.kind == EntryKind::folder || marked.count(one.at) + marked.count(one.from) != 0)
        continue;
      Lost lost{one.at, labelsOf(r), false, false, false, false};
      describe(one, lost);
      if ((lost.isUncertain || lost.isMeant) && !lost.labels.empty()) result_.lost_.push_back(std::move(lost));
    }
    std::sort(result_.lost_.begin(), result_.lost_.end(),
              [](const Lost& a, const Lost& b) { return beforeInTree(a.path, b.path); });
  }

  void describe(const Remembered& one, Lost& lost) const {
    lost.isFolder = lost.isFolder || one.kind == EntryKind::folder;
    lost.isMeant = lost.isMeant || one.missing == Remembered::Missing::meant;
    lost.isUncertain = lost.isUncertain || result_.isUncertain(one);
  }

  const LabelSet& labelsOf(std::size_t r) { return setOf(remembered_[r].labels); }

  const LabelSet& setOf(const LabelNames& names) {
    const auto [known, isNew] = sets_.try_emplace(names);
    if (isNew && names) known->second = has_.sources().setOf(*names);
    return known->second;
  }

  static LabelSet joined(const LabelSet& a, const LabelSet& b) {
    LabelSet both;
    std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(both));
    return both;
  }

  Followed& result_;
  const EntryTable& entries_;
  const EffectiveLabels& has_;
  const std::vector<Remembered>& remembered_;
  std::vector<By> by_;  // by what is remembered
  Selection isFoundByIdentity_;
  Selection hasOwnMark_;
  std::vector<std::pair<std::size_t, std::size_t>> newcomers_;  // an entry, and whose name it took
  std::vector<std::pair<std::size_t, std::size_t>> strays_;     // an entry, and whose size and time it has
  std::set<std::size_t> isNewcomer_;
  std::map<LabelNames, LabelSet> sets_;
  std::map<std::size_t, LabelSet> claimed_;  // by entry, where several have the same claim
};

Followed::Followed(std::shared_ptr<const EntryTable> entries, std::shared_ptr<const EffectiveLabels> has,
                   std::shared_ptr<const Memory> memory)
    : table_(std::move(entries)),
      labels_(std::move(has)),
      noted_(std::move(memory)),
      entries_(*table_),
      has_(*labels_),
      memory_(*noted_) {
  Search(*this).run();
}

// Where nothing at all is found, its own file system tells whether it could have been.
bool Followed::isUncertain(const Remembered& lost) const {
  const auto& systems = entries_.listing().fileSystems;
  const auto isOf = [&](const auto& system) { return lost.identity && system.second == lost.identity->fileSystem; };
  return lost.missing == Remembered::Missing::uncertain || isUncertain_ ||
         std::none_of(systems.begin(), systems.end(), isOf);
}

std::vector<std::size_t> Followed::candidatesFor(const Lost& lost) const {
  constexpr std::size_t MOST = 3;
  const auto remembered = std::find_if(memory_.entries.begin(), memory_.entries.end(),
                                       [&](const Remembered& one) { return one.at == lost.path; });
  std::vector<std::pair<int, std::size_t>> ranked;  // the best, which is the least, first
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    if ((entry.kind == EntryKind::folder) != lost.isFolder && remembered != memory_.entries.end()) continue;
    if (claims_[i] != NONE) continue;  // it is something else that was remembered
    int rank = nameOf(entry.path) == nameOf(lost.path) ? -2 : 0;
    if (remembered != memory_.entries.end() && entry.kind == EntryKind::file && entry.size != 0) {
      const bool sameTime = isSameTime(entry.modified, remembered->modified);
      rank -= (entry.size == remembered->size ? 2 : 0) + (sameTime ? 1 : 0);
    }
    if (rank < -1) ranked.emplace_back(rank, i);
  }
  std::sort(ranked.begin(), ranked.end());
  std::vector<std::size_t> candidates;
  for (const auto& one : ranked) {
    if (candidates.size() < MOST) candidates.push_back(one.second);
  }
  return candidates;
}

// Puts together what is to be remembered.
class Followed::Renewal {
 public:
  Renewal(const Followed& followed, const Settled& settled)
      : followed_(followed),
        entries_(followed.entries_),
        settled_(settled),
        tops_(settled.paths.begin(), settled.paths.end()),
        label_(followed.has_.sources().find(settled.label)),
        isNoted_(entries_.size()) {
    next_.written = entries_.listing().begun;
    for (const auto& [place, kind] : followed_.has_.sources().marks()) {
      if (kind == MarkKind::exception) exceptions_.insert(place.first);
      if (place.first.empty() || entries_.find(place.first)) continue;
      missing_.insert(place.first);
      if (kind != MarkKind::exception) left_.insert(place.first);
    }
  }

  Memory run() {
    for (std::size_t i = 0; i < entries_.size(); ++i) addEntry(i);
    addWays();
    for (std::size_t r = 0; r < followed_.found_.size(); ++r) {
      const Remembered& one = followed_.memory_.entries[r];
      if (one.isWay) continue;
      followed_.found_[r].empty() ? keepLost(one) : keepMark(one);
    }
    return std::move(next_);
  }

 private:
  void addEntry(std::size_t i) {
    const Entry& entry = entries_[i];
    const auto differs = followed_.differing_.find(i);
    const std::size_t claim = followed_.claims_[i];
    const LabelSet has = followed_.has_.of(i);
    const LabelSet had = differs != followed_.differing_.end() ? settledOf(entry.path, differs->second, has) : has;
    const bool isLeft = claim != NONE && !isSettled(entry.path) && isMarkLeft(i, followed_.memory_.entries[claim].from);
    const bool isOpen = had != has;
    // What has no label any more is remembered for that: else the next look would infer one from what lies beside it.
    const bool isKnown = differs != followed_.differing_.end() || claim != NONE;
    if (has.empty() && had.empty() && !isKnown && exceptions_.count(entry.path) == 0) return;
    std::string from = isOpen ? differs->second.from : entry.path;
    // To have the same by another way settles nothing: that may go again.
    if (!isOpen && claim != NONE && !isSettled(entry.path)) from = followed_.memory_.entries[claim].from;
    if (isLeft) from = leftAt_[i] = followed_.memory_.entries[claim].from;
    told_.insert(from);
    next_.entries.push_back({namesOf(had), isOpen ? namesOf(has) : nullptr, from, entry.path, entry.kind,
                             entries_.listing().identityOf(entry), entry.size, entry.modified});
    isNoted_[i] = true;
  }

  const LabelNames& namesOf(const LabelSet& labels) {
    const auto [names, isNew] = names_.try_emplace(labels);
    if (isNew) names->second = followed_.namesOf(labels);
    return names->second;
  }

  // Whether a mark stands at the old path, and nothing else, or does at that of the folder with which the entry was
  // moved: as long as it does, that is where the entry has its labels from, whatever else gives it some.
  bool isMarkLeft(std::size_t entry, const std::string& from) const {
    if (left_.count(from) != 0) return true;
    const auto folder = leftAt_.find(entries_.parentOf(entry));
    return folder != leftAt_.end() && from == joined(folder->second, std::string(nameOf(entries_[entry].path)));
  }

  // What an entry that had other labels than it has is to have had from now on.
  LabelSet settledOf(const std::string& path, const Had& had, const LabelSet& has) const {
    if (!isSettled(path)) return had.labels;
    if (settled_.label.empty() || had.from.empty()) return has;
    LabelSet labels = had.labels;
    labels.erase(std::remove(labels.begin(), labels.end(), label_), labels.end());
    if (label_ && std::binary_search(has.begin(), has.end(), *label_)) labels.push_back(*label_);
    std::sort(labels.begin(), labels.end());
    return labels;
  }

  // The folders above what is noted: what is saved as another file, and moved with its folder, is found by them.
  void addWays() {
    for (std::size_t i = entries_.size(); i-- > 0;) {
      const std::size_t folder = entries_.parentOf(i);
      if (!isNoted_[i] || folder == EntryTable::ROOT || isNoted_[folder]) continue;
      isNoted_[folder] = true;
      const Entry& way = entries_[folder];
      next_.entries.push_back({nullptr, nullptr, way.path, way.path, way.kind, entries_.listing().identityOf(way)});
      next_.entries.back().isWay = true;
    }
  }

  // Of what is found: its mark stands where it was, and it has other labels now, or the same by another way.
  void keepMark(const Remembered& found) {
    if (missing_.count(found.from) == 0 || !told_.insert(found.from).second) return;
    next_.entries.push_back(
        {found.labels, nullptr, found.from, found.from, found.kind, {}, 0, {}, Remembered::Missing::meant});
  }

  void keepLost(Remembered lost) {
    if (settled_.isTakenOff && (isSettled(lost.at) || isSettled(lost.from))) takeOff(lost);
    if (lost.missing == Remembered::Missing::unknown && followed_.isUncertain(lost)) {
      lost.missing = Remembered::Missing::uncertain;
    }
    const bool isMarked = missing_.count(lost.from) + missing_.count(lost.at) != 0;
    const bool isKept = isMarked || (lost.missing == Remembered::Missing::uncertain && lost.labels) ||
                        (lost.missing == Remembered::Missing::meant && lost.identity);
    if (isKept && told_.insert(lost.at).second) next_.entries.push_back(std::move(lost));
  }

  void takeOff(Remembered& lost) const {
    if (!lost.labels) return;
    std::vector<std::u16string> left = *lost.labels;
    left.erase(std::remove(left.begin(), left.end(), settled_.label), left.end());
    lost.labels = left.empty() ? nullptr : std::make_shared<const std::vector<std::u16string>>(std::move(left));
  }

  bool isSettled(const std::string& path) const {
    return settled_.withAllBelow ? isAtOrBelow(path, tops_) : tops_.count(path) != 0;
  }

  const Followed& followed_;
  const EntryTable& entries_;
  const Settled& settled_;
  const std::set<std::string> tops_;
  const std::optional<std::size_t> label_;
  Memory next_;
  Selection isNoted_;                          // entries
  std::map<std::size_t, std::string> leftAt_;  // by entry, the old path at which its mark, or its folder's, stands
  std::map<LabelSet, LabelNames> names_;
  std::set<std::string> exceptions_;  // paths
  std::set<std::string> left_;        // paths with a mark that gives a label, at which nothing is
  std::set<std::string> missing_;     // paths with a mark at which nothing is
  std::set<std::string> told_;        // paths from which something has its labels
};

Memory Followed::renewed(const Settled& settled) const { return Renewal(*this, settled).run(); }

// A mark that was lost before anything was remembered gets something to remember.
Memory Followed::renewedAsMeant(const std::vector<std::string>& paths) const {
  const std::set<std::string> tops(paths.begin(), paths.end());
  Memory next = renewed({});
  std::set<std::string> known;
  for (Remembered& one : next.entries) {
    if (one.isWay || entries_.find(one.at) || (!isAtOrBelow(one.at, tops) && !isAtOrBelow(one.from, tops))) continue;
    one.missing = Remembered::Missing::meant;
    known.insert({one.at, one.from});
  }
  for (const Lost& lost : lost_) {
    if (known.count(lost.path) != 0 || !isAtOrBelow(lost.path, tops)) continue;
    next.entries.push_back({namesOf(lost.labels),
                            nullptr,
                            lost.path,
                            lost.path,
                            EntryKind::folder,
                            {},
                            0,
                            {},
                            Remembered::Missing::meant});
  }
  return next;
}

std::vector<Remembered> Followed::openAt(const std::vector<std::string>& paths, bool withAllBelow) const {
  const std::set<std::string> tops(paths.begin(), paths.end());
  const auto isIn = [&](const std::string& path) {
    return withAllBelow ? isAtOrBelow(path, tops) : tops.count(path) != 0;
  };
  std::vector<Remembered> open;
  for (const auto& [i, had] : differing_) {
    const Entry& entry = entries_[i];
    if (!isIn(entry.path) && !isIn(had.from)) continue;
    open.push_back({namesOf(had.labels), namesOf(has_.of(i)), had.from, entry.path, entry.kind,
                    entries_.listing().identityOf(entry), entry.size, entry.modified});
  }
  std::set<std::string> known;
  for (std::size_t r = 0; r < found_.size(); ++r) {
    const Remembered& one = memory_.entries[r];
    if (one.isWay || (!isIn(one.at) && !isIn(one.from))) continue;
    if (found_[r].empty()) known.insert({one.at, one.from});
    // Also what is elsewhere and has the same labels by its place: it is known by its old path.
    const bool isMoved =
        !found_[r].empty() && entries_[found_[r].front()].path != one.from && differing_.count(found_[r].front()) == 0;
    if (found_[r].empty() || isMoved) open.push_back(one);
  }
  for (const Lost& lost : lost_) {
    if (known.count(lost.path) != 0 || !isIn(lost.path)) continue;
    open.push_back({namesOf(lost.labels),
                    nullptr,
                    lost.path,
                    lost.path,
                    EntryKind::folder,
                    {},
                    0,
                    {},
                    Remembered::Missing::uncertain});
  }
  return open;
}

namespace {

// What of a memory is the same thing: by its identity or, where it has none, by its place.
class SameIn {
 public:
  explicit SameIn(const std::vector<Remembered>& entries) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].identity) byIdentity_.emplace(*entries[i].identity, i);
      byPlace_.emplace(entries[i].at, i);
    }
  }

  std::optional<std::size_t> find(const Remembered& one) const {
    if (one.identity) {
      const auto same = byIdentity_.find(*one.identity);
      return same != byIdentity_.end() ? std::optional(same->second) : std::nullopt;
    }
    const auto same = byPlace_.find(one.at);
    return same != byPlace_.end() ? std::optional(same->second) : std::nullopt;
  }

 private:
  std::map<Identity, std::size_t> byIdentity_;
  std::map<std::string, std::size_t> byPlace_;
};

LabelNames eitherOf(const LabelNames& a, const LabelNames& b) {
  if (!a || !b) return a ? a : b;
  auto both = std::make_shared<std::vector<std::u16string>>();
  std::set_union(a->begin(), a->end(), b->begin(), b->end(), std::back_inserter(*both));
  return both;
}

}  // namespace

// Of what is not remembered now, what it has counts.
std::vector<Remembered> Followed::nowOf(const std::vector<Remembered>& before) const {
  const SameIn same(memory_.entries);
  std::vector<Remembered> now;
  for (Remembered one : before) {
    if (const auto index = same.find(one)) {
      one = memory_.entries[*index];
    } else {
      one.labels = one.place = nullptr;
      one.from = one.at;
    }
    now.push_back(std::move(one));
  }
  return now;
}

Memory Followed::renewedAsBefore(const std::vector<Remembered>& before) const {
  Memory next = renewed({});
  const SameIn same(next.entries);
  for (const Remembered& one : before) {
    const auto index = same.find(one);
    if (!index) {
      next.entries.push_back(one);
      continue;
    }
    Remembered now = next.entries[*index];
    // What it was found by stays known for found: else a mark that stands there would be lost.
    if (now.from != one.from && !entries_.find(now.from)) {
      next.entries.push_back(
          {now.labels, nullptr, now.from, now.from, now.kind, {}, 0, {}, Remembered::Missing::meant});
    }
    // What is open by another name since then stays open.
    const bool isOpen = one.from != one.at && now.from != now.at && now.from != one.from;
    now.labels = isOpen ? eitherOf(now.labels, one.labels) : one.labels;
    now.place = isOpen ? eitherOf(now.place, one.place) : one.place;
    now.from = one.from;
    now.missing = one.missing;
    now.isWay = one.isWay;
    next.entries[*index] = std::move(now);
  }
  return next;
}

LabelNames Followed::namesOf(const LabelSet& labels) const {
  if (labels.empty()) return nullptr;
  std::vector<std::u16string> uuids;
  for (const std::size_t label : labels) uuids.push_back(has_.sources().labels()[label].uuid);
  return std::make_shared<const std::vector<std::u16string>>(std::move(uuids));
}

}  // namespace folder_host
