#include "folder_host/labels/Following.h"

#include <algorithm>
#include <set>

#include "folder_host/files/Path.h"

namespace folder_host {

namespace {

// Marks are changed in `sources` first, which tells what they come to, and are then written.
class Following {
 public:
  Following(const EntryTable& entries, LabelStore& labels, bool leavesOld)
      : entries_(entries), labels_(labels), sources_(labels), leavesOld_(leavesOld) {}

  // Whether the entry has just what it had. A folder is followed before what lies in it, so that a mark with reach is
  // there when its entries are looked at.
  bool follow(const Entry& entry, const Followed::Had& had) {
    moveMarks(had.from, entry.path);
    const auto exceptions = moveExceptions(had.from, entry.path);
    bool isSame = true;
    for (std::size_t label = 0; label < sources_.labels().size(); ++label) {
      const bool hadIt = std::binary_search(had.labels.begin(), had.labels.end(), label);
      if (hadIt && !has(entry, label)) put(entry.path, label, MarkKind::reach);
      isSame = isSame && has(entry, label) == hadIt;
    }
    // What keeps some label by its place keeps all of them.
    for (std::size_t i = 0; i < exceptions.size() && !isSame; ++i) {
      remove(entry.path, exceptions[i]);
      put(had.from, exceptions[i], MarkKind::exception);
    }
    return isSame;
  }

  // Of what was done above, the entry loses no label and, unless it may, gets none.
  void keep(const Entry& entry, const LabelSet& labels, bool andNoOther) {
    for (std::size_t label = 0; label < sources_.labels().size(); ++label) {
      const bool hadIt = std::binary_search(labels.begin(), labels.end(), label);
      if (has(entry, label) == hadIt || (!hadIt && !andNoOther)) continue;
      put(entry.path, label, hadIt ? MarkKind::reach : MarkKind::exception);
    }
  }

  // Exceptions that were left at the old paths have nothing to except from there.
  void write() {
    const LabelSources before(labels_);
    std::set<std::size_t> touched;
    for (const auto& place : changed_) touched.insert(place.second);
    for (const std::size_t label : touched) {
      for (const std::string& path : exceptionsMadeIdle(before, sources_, label)) remove(path, label);
    }
    for (const auto& [path, label] : changed_) {
      const std::u16string& uuid = sources_.labels()[label].uuid;
      const auto mark = sources_.markOn(path, label);
      if (mark) labels_.attach(uuid, {path}, *mark);
      if (!mark) labels_.detach(uuid, {path});
    }
  }

 private:
  bool has(const Entry& entry, std::size_t label) const {
    return sources_.sourceOf(entry.path, entry.kind == EntryKind::folder, label).gives();
  }

  void moveMarks(const std::string& from, const std::string& to) {
    const bool isFree = !leavesOld_ && !entries_.find(from);
    for (std::size_t label = 0; label < sources_.labels().size(); ++label) {
      const auto mark = sources_.markOn(from, label);
      if (!mark || *mark == MarkKind::exception) continue;
      put(to, label, *mark);
      if (isFree) remove(from, label);
    }
  }

  // Those of the labels that are given; where something else is at the old path, none.
  std::vector<std::size_t> moveExceptions(const std::string& from, const std::string& to) {
    std::vector<std::size_t> moved;
    for (std::size_t label = 0; label < sources_.labels().size() && !entries_.find(from); ++label) {
      if (sources_.markOn(from, label) != MarkKind::exception || sources_.markOn(to, label)) continue;
      put(to, label, MarkKind::exception);
      if (!leavesOld_) remove(from, label);
      moved.push_back(label);
    }
    return moved;
  }

  void put(const std::string& path, std::size_t label, MarkKind kind) {
    sources_.put(path, label, kind);
    changed_.emplace(path, label);
  }

  void remove(const std::string& path, std::size_t label) {
    sources_.remove(path, label);
    changed_.emplace(path, label);
  }

  const EntryTable& entries_;
  LabelStore& labels_;
  LabelSources sources_;
  bool leavesOld_;
  std::set<std::pair<std::string, std::size_t>> changed_;
};

}  // namespace

std::vector<std::pair<std::string, std::string>> followIn(const Followed& followed, const EntryTable& entries,
                                                          const std::vector<std::string>& scope, LabelStore& labels,
                                                          bool leavesOld) {
  const std::set<std::string> tops(scope.begin(), scope.end());
  std::vector<std::pair<std::string, std::string>> moves;
  Following following(entries, labels, leavesOld);
  Selection isTouched(entries.size());  // what lies below may have other labels by what is done there
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::size_t folder = entries.parentOf(i);
    isTouched[i] = folder != EntryTable::ROOT && isTouched[folder];
    const auto differs = followed.differing().find(i);
    const bool isMoved = differs != followed.differing().end() && !differs->second.from.empty();
    if (isMoved && isAtOrBelow(entries[i].path, tops)) {
      if (following.follow(entries[i], differs->second)) {
        moves.emplace_back(entries[i].path, differs->second.from);
      } else {
        following.keep(entries[i], followed.has().of(i), false);  // an exception of its folder may have moved
      }
      isTouched[i] = true;
    } else if (isTouched[i]) {
      following.keep(entries[i], followed.has().of(i), true);
    }
  }
  following.write();
  return moves;
}

}  // namespace folder_host
