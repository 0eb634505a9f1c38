#include "folder_host/labels/EffectiveLabels.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace folder_host {

using project::management::CategoryIdentifier;
using project::management::FileLabel;
using project::management::LabelIdentifier;

// Goes down the tree, a folder before what lies in it. An entry at which neither a mark stands nor a rule decides
// anything new has its folder's state, and costs no more than a number.
class EffectiveLabels::Walk {
 public:
  Walk(const EntryTable& entries, EffectiveLabels& labels)
      : entries_(entries), labels_(labels), used_(labels.sources_.rules().size()) {}

  void run() {
    addMarks();
    std::vector<std::size_t> deciding;
    auto mark = marks_.begin();
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const std::size_t parent = entries_.parentOf(i);
      const std::size_t above = parent == EntryTable::ROOT ? TOP : labels_.stateOf_[parent];
      labels_.sources_.patterns().match(entries_[i].path, entries_[i].kind == EntryKind::folder, deciding);
      std::vector<Change> changes;
      for (; mark != marks_.end() && mark->first == i; ++mark) changes.push_back(mark->second);
      addRules(above, deciding, changes);
      labels_.stateOf_.push_back(
          static_cast<std::uint32_t>(changes.empty() ? above : stateOf(above, std::move(changes))));
    }
    for (std::size_t rule = 0; rule < used_.size(); ++rule) {
      if (!used_[rule]) labels_.idleRules_.push_back(rule);
    }
  }

 private:
  static constexpr std::size_t TOP = 0;

  // A mark at which nothing is says nothing here; it is told of as a risk.
  void addMarks() {
    labels_.states_.push_back({TOP, {}});
    for (const auto& [place, kind] : labels_.sources_.marks()) {
      const auto& [path, label] = place;
      const Change change{label, kind == MarkKind::exception ? Verdict::excepted : Verdict::marked};
      const auto entry = entries_.find(path);
      if (path.empty()) labels_.states_[TOP].changes.push_back(change);
      if (!entry) continue;
      if (kind == MarkKind::entry) {
        labels_.own_.emplace_back(*entry, label);
      } else {
        marks_.emplace_back(*entry, change);
      }
    }
    std::sort(labels_.own_.begin(), labels_.own_.end());
    std::sort(marks_.begin(), marks_.end());
  }

  // Rules say nothing where a mark reaches, be it one that stands here.
  void addRules(std::size_t above, const std::vector<std::size_t>& deciding, std::vector<Change>& changes) {
    for (const std::size_t rule : deciding) {
      used_[rule] = true;
      const auto& [label, pattern] = labels_.sources_.rules()[rule];
      const auto isOfLabel = [of = label](const Change& change) { return change.first == of; };
      if (std::any_of(changes.begin(), changes.end(), isOfLabel)) continue;
      const auto before = verdictOf(above, isOfLabel);
      const Verdict verdict = isNegated(pattern) ? Verdict::ruledOut : Verdict::ruledIn;
      if (before == Verdict::marked || before == Verdict::excepted || before == verdict) continue;
      changes.emplace_back(label, verdict);
    }
  }

  template <class IsOfLabel>
  std::optional<Verdict> verdictOf(std::size_t state, const IsOfLabel& isOfLabel) const {
    while (true) {
      const auto& [above, changes] = labels_.states_[state];
      const auto found = std::find_if(changes.begin(), changes.end(), isOfLabel);
      if (found != changes.end()) return found->second;
      if (state == TOP) return std::nullopt;
      state = above;
    }
  }

  std::size_t stateOf(std::size_t above, std::vector<Change> changes) {
    const auto [known, isNew] = numbers_.try_emplace({above, changes}, labels_.states_.size());
    if (isNew) labels_.states_.push_back({above, std::move(changes)});
    return known->second;
  }

  const EntryTable& entries_;
  EffectiveLabels& labels_;
  std::vector<bool> used_;                             // rules
  std::vector<std::pair<std::size_t, Change>> marks_;  // by entry, those that say something of what lies below
  std::map<std::pair<std::size_t, std::vector<Change>>, std::size_t> numbers_;  // of states
};

EffectiveLabels::EffectiveLabels(const EntryTable& entries, const LabelStore& labels, const LabelsByEntry& instead)
    : sources_(labels) {
  for (const LabelRecord& label : sources_.labels()) {
    fileLabels_.emplace_back(CategoryIdentifier(label.categoryUUID),
                             LabelIdentifier(label.uuid, label.isProtected ? 0 : 1));
  }
  stateOf_.reserve(entries.size());
  Walk(entries, *this).run();
  std::map<LabelsByEntry::mapped_type, std::shared_ptr<const LabelSet>> known;
  for (const auto& [entry, uuids] : instead) {
    std::shared_ptr<const LabelSet>& set = known[uuids];
    if (!set) set = std::make_shared<const LabelSet>(sources_.setOf(*uuids));
    instead_[entry] = set;
  }
}

LabelSet EffectiveLabels::of(std::size_t entry) const {
  const auto other = instead_.find(entry);
  if (other != instead_.end()) return *other->second;
  LabelSet set = givenBy(stateOf_[entry]);
  auto own = std::lower_bound(own_.begin(), own_.end(), std::pair(entry, std::size_t{0}));
  if (own == own_.end() || own->first != entry) return set;
  for (; own != own_.end() && own->first == entry; ++own) set.push_back(own->second);
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
  return set;
}

std::vector<FileLabel> EffectiveLabels::fileLabelsOf(std::size_t entry) const {
  std::vector<FileLabel> labels;
  for (const std::size_t label : of(entry)) labels.push_back(fileLabels_[label]);
  return labels;
}

std::vector<std::size_t> EffectiveLabels::counts() const {
  std::vector<std::size_t> counts(fileLabels_.size());
  for (std::size_t entry = 0; entry < stateOf_.size(); ++entry) {
    for (const std::size_t label : of(entry)) ++counts[label];
  }
  return counts;
}

// The nearest change of a label counts, so of those that were collected on the way up the first.
LabelSet EffectiveLabels::givenBy(std::size_t state) const {
  std::vector<Change> verdicts;
  for (;; state = states_[state].above) {
    const auto& changes = states_[state].changes;
    verdicts.insert(verdicts.end(), changes.begin(), changes.end());
    if (state == 0) break;
  }
  const auto byLabel = [](const Change& a, const Change& b) { return a.first < b.first; };
  if (!std::is_sorted(verdicts.begin(), verdicts.end(), byLabel)) {
    std::stable_sort(verdicts.begin(), verdicts.end(), byLabel);
  }
  LabelSet set;
  for (std::size_t i = 0; i < verdicts.size(); ++i) {
    const bool isNearest = i == 0 || verdicts[i - 1].first != verdicts[i].first;
    const bool gives = verdicts[i].second == Verdict::marked || verdicts[i].second == Verdict::ruledIn;
    if (isNearest && gives) set.push_back(verdicts[i].first);
  }
  return set;
}

}  // namespace folder_host
