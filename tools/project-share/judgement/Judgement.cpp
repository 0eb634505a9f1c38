#include "judgement/Judgement.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "folder_host/share/Strip.h"
#include "judgement/SelectionProbe.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::LabelRecord;
using folder_host::Selection;
using folder_host::Turn;
using folder_host::WorkingCopy;
using profiles::ExportFilter;

void Reasons::set(std::size_t entry, const Reason& reason) {
  const auto next = static_cast<std::uint32_t>(reasons_.size());
  const auto number = reason.from != nullptr
                          ? next
                          : known_.try_emplace({reason.rule, reason.filter, reason.labels}, next).first->second;
  if (number == next) reasons_.push_back(reason);
  of_[entry] = number;
}

namespace {

using Indices = std::vector<std::size_t>;

project::management::FileLabel fileLabel(const LabelRecord& label) {
  return {project::management::CategoryIdentifier(label.categoryUUID),
          project::management::LabelIdentifier(label.uuid, label.isProtected ? 0 : 1)};
}

// Tells by which filter and by which labels each entry is held back. What is held back is known from the turns of the
// transformation; why is asked of the filters themselves, each with the labels that the entries had when its turn came.
class Explanation {
 public:
  Explanation(const WorkingCopy& project, Judgement& judgement) : project_(project), judgement_(judgement) {
    judgement_.reasons = Reasons(project.table().size());
    judgement_.dropped.resize(project.table().size());
    heldBack_.resize(project.table().size());
    removed_.resize(judgement_.labels.size());
    for (std::size_t i = 0; i < judgement_.labels.size(); ++i) labelIndices_[judgement_.labels[i].uuid] = i;
  }

  void run(const Filters& filters, const std::vector<Turn>& turns) {
    auto turn = turns.begin();
    for (const auto& filter : filters) {
      const std::u16string kind = filter->getType();
      judgement_.filters.push_back({kind, {}, {}, {}, false, namedBy(*filter)});
      const bool isOfFiles = isFileKind(kind);
      Indices selected;
      if (isOfFiles) selected = selectedBy(*filter);
      judgement_.filters.back().matches = isOfFiles ? matchesAlone(*filter, selected) : removesAny(*filter);
      if (!isOfFiles && filter->getItems().empty()) continue;  // it asks for nothing, and has no turn
      const auto of = isOfFiles ? Turn::Of::files : Turn::Of::labels;
      // The turns are the truth about what is held back. Were they told of the wrong filters, the reasons would be
      // lies: so each filter has to have taken its own turn, or nothing is told at all.
      if (turn == turns.end() || turn->of != of) throw std::logic_error("a filter did not take its turn");
      isOfFiles ? explain(*filter, selected, turn->heldBack) : note(turn->labelsRemoved);
      ++turn;
    }
    if (turn != turns.end()) throw std::logic_error("a turn was taken by no filter");
    addSpared();
  }

  // The folders that are selected and not held back by a filter; for whose sake is not known yet.
  void addSpared() {
    for (std::size_t i = 0; i < heldBack_.size(); ++i) {
      if (heldBack_[i] || !isSpared(i)) continue;
      const auto dropped = dropped_.find(i);
      const Reason& reason = dropped != dropped_.end() ? dropped->second : spared_.at(i);
      judgement_.spared.push_back(
          {&project_.table()[i], dropped != dropped_.end(), reason.filter, nullptr, reason.labels});
    }
  }

 private:
  Indices namedBy(const ExportFilter& filter) const {
    Indices named;
    for (const auto& item : filter.getItems()) {
      const auto label = labelIndices_.find(item.labelUUID);
      if (label != labelIndices_.end()) named.push_back(label->second);
    }
    return named;
  }

  // The labels that the entry has, less those that filters have removed. A filter sees a label no more that one before
  // it has removed, so neither may the question why.
  Labels labelsOf(std::size_t entry) const {
    Labels labels = project_.effective().fileLabelsOf(entry);
    const auto isRemoved = [&](const auto& label) { return removed_[labelIndices_.at(label.getUUID())]; };
    labels.erase(std::remove_if(labels.begin(), labels.end(), isRemoved), labels.end());
    return labels;
  }

  // Of the entries that are not held back yet, those that the filter selects by their labels.
  Indices selectedBy(ExportFilter& filter) const {
    Indices asked;
    for (std::size_t i = 0; i < heldBack_.size(); ++i) {
      if (!heldBack_[i]) asked.push_back(i);
    }
    const Selection selected =
        project_share::selectedBy(filter, asked.size(), [&](std::size_t i) { return labelsOf(asked[i]); });
    Indices result;
    for (std::size_t i = 0; i < asked.size(); ++i) {
      if (selected[i]) result.push_back(asked[i]);
    }
    return result;
  }

  // Whether the filter would select anything, were it the only one. `selected` is what it does select, in its turn.
  // A filter that would take nothing out even alone is a mistake more often than not: its label is attached to nothing
  // any more, or to nothing yet. One that merely comes after another that takes the same is none.
  bool matchesAlone(ExportFilter& filter, const Indices& selected) {
    const bool drops = dropsFiles(filter.getType());
    if (judgement_.filters.size() == 1) {  // it is the first, and so it is alone
      for (const std::size_t entry : selected) judgement_.dropped[entry] = judgement_.dropped[entry] || drops;
      return !selected.empty();
    }
    const Selection alone = project_share::selectedBy(
        filter, project_.table().size(), [&](std::size_t entry) { return project_.effective().fileLabelsOf(entry); });
    for (std::size_t i = 0; drops && i < alone.size(); ++i) judgement_.dropped[i] = judgement_.dropped[i] || alone[i];
    return std::find(alone.begin(), alone.end(), true) != alone.end();
  }

  bool removesAny(ExportFilter& filter) const {
    Labels all;
    for (const LabelRecord& label : judgement_.labels) all.push_back(fileLabel(label));
    return takesAwayAny(filter, all);
  }

  // What the filter selects and does not hold back is spared, until a later filter holds it back.
  void explain(ExportFilter& filter, const Indices& selected, const Indices& heldBack) {
    FilterEffect& effect = judgement_.filters.back();
    for (const std::size_t entry : selected) spared_[entry] = {Reason::Rule::filter, position(), {}};
    addSufficientLabels(filter, selected);
    if (dropsFiles(effect.kind)) {
      for (const std::size_t entry : selected) {
        if (project_.table()[entry].kind == EntryKind::folder) dropped_[entry] = spared_[entry];
      }
    }
    // What the filter did not select was removed with the folder that it lies in, whatever selected and spared it
    // before.
    for (const std::size_t entry : heldBack) {
      heldBack_[entry] = true;
      effect.heldBack.push_back(&project_.table()[entry]);
      const auto noted = spared_.find(entry);
      const bool isSelected = noted != spared_.end() && noted->second.filter == position();
      judgement_.reasons.set(entry, isSelected ? noted->second : Reason{Reason::Rule::folder, position(), {}});
      if (noted != spared_.end()) spared_.erase(noted);
    }
    for (const std::size_t entry : selected) {
      if (!heldBack_[entry] && isSpared(entry)) effect.spared.push_back(&project_.table()[entry]);
    }
  }

  // Each label of each entry is tried alone.
  // A person wants to know which label to take off, so it is asked of each one alone: of three labels, of which one
  // suffices to hold the entry back, that one is the answer.
  void addSufficientLabels(ExportFilter& filter, const Indices& selected) {
    std::vector<std::pair<std::size_t, std::size_t>> tries;  // of an entry, by one label
    for (const std::size_t entry : selected) {
      for (const auto& label : labelsOf(entry)) tries.emplace_back(entry, labelIndices_.at(label.getUUID()));
    }
    if (tries.empty()) return;
    const auto labelOf = [&](std::size_t i) { return Labels{fileLabel(judgement_.labels[tries[i].second])}; };
    const Selection suffices = project_share::selectedBy(filter, tries.size(), labelOf);
    for (std::size_t i = 0; i < tries.size(); ++i) {
      if (suffices[i]) spared_[tries[i].first].labels.push_back(tries[i].second);
    }
  }

  void note(const std::vector<std::u16string>& labelsRemoved) {
    Indices& indices = judgement_.filters.back().labelsRemoved;
    for (const std::u16string& uuid : labelsRemoved) {
      indices.push_back(labelIndices_.at(uuid));
      removed_[indices.back()] = true;
    }
    std::sort(indices.begin(), indices.end());
  }

  // By a label: a folder that a keep-files filter selects for the want of one is merely on the way to what is shared.
  bool isSpared(std::size_t entry) const {
    const auto noted = spared_.find(entry);
    return dropped_.count(entry) != 0 || (noted != spared_.end() && !noted->second.labels.empty());
  }

  std::size_t position() const { return judgement_.filters.size(); }

  const WorkingCopy& project_;
  Judgement& judgement_;
  std::map<std::u16string, std::size_t> labelIndices_;  // of Judgement::labels, by UUID
  Selection heldBack_;                                  // by the filters so far
  std::vector<bool> removed_;                           // labels, likewise
  std::unordered_map<std::size_t, Reason> spared_;      // what was selected and is not held back yet
  std::unordered_map<std::size_t, Reason> dropped_;     // folders that a drop-files filter selected
};

}  // namespace

namespace {

// What the host holds back nothing else does.
void addHostRules(const folder_host::HostRemovals& removals, Reasons& reasons) {
  for (const std::size_t link : removals.links) reasons.set(link, {Reason::Rule::link, 0, {}});
  for (const std::size_t folder : removals.emptied) reasons.set(folder, {Reason::Rule::emptied, 0, {}});
}

// Keeps of the spared folders those that are shared, each for the sake of what is shared below it. Each file that is
// shared tells the folders above it, up to the first that has been told.
void addReasonsOfSpared(const WorkingCopy& copy, Judgement& judgement) {
  const EntryTable& table = copy.table();
  const auto indexOf = [&](const Entry* entry) {
    return static_cast<std::size_t>(entry - copy.listing().entries.data());
  };
  std::vector<const Entry*> because(table.size());
  for (const Entry* entry : judgement.shared) {
    if (entry->kind == EntryKind::folder) continue;
    for (auto at = table.parentOf(indexOf(entry)); at != EntryTable::ROOT; at = table.parentOf(at)) {
      if (because[at] != nullptr) break;
      because[at] = entry;
    }
  }
  auto& spared = judgement.spared;
  for (Spared& one : spared) one.because = because[indexOf(one.folder)];
  const auto isHeldBack = [](const Spared& one) { return one.because == nullptr; };
  spared.erase(std::remove_if(spared.begin(), spared.end(), isHeldBack), spared.end());
}

// Judges by the labels that the entries of the project have there. Gives what is shared.
std::shared_ptr<WorkingCopy> judgeBy(const WorkingCopy& project, const Filters& filters, Judgement& judgement) {
  judgement.labels = project.labels().list();
  // Only the clone loses anything: which labels an entry had is asked of the project afterwards.
  auto copy = project.clone();
  const auto stripped = folder_host::strip(copy, profiles::ExportProfileTransformation(judgement.uuid));
  Explanation(project, judgement).run(filters, stripped.turns);
  addHostRules(stripped.byHost, judgement.reasons);
  return copy;
}

// Holds back in the copy, and in its judgement, what is not shared by the labels that the entries had.
void judgeByWhatTheyHad(const WorkingCopy& project, const Filters& filters, Judgement& judgement, WorkingCopy& copy) {
  const auto& differing = project.followed().differing();
  if (differing.empty()) return;
  Judgement before;
  before.uuid = judgement.uuid;
  const auto shared = judgeBy(*project.asItWas(), filters, before);
  for (const auto& [entry, had] : differing) {
    const bool isShared = !copy.heldBack()[entry], wasShared = !shared->heldBack()[entry];
    if (isShared != wasShared) judgement.followed.push_back({entry, wasShared, &had.from});
  }
  for (std::size_t i = 0; i < judgement.reasons.size(); ++i) {
    judgement.dropped[i] = judgement.dropped[i] || before.dropped[i];
    if (copy.heldBack()[i] || !shared->heldBack()[i]) continue;
    Reason reason = before.reasons[i];
    const auto differs = differing.find(i);
    if (differs != differing.end()) reason.from = &differs->second.from;
    judgement.reasons.set(i, reason);
  }
  for (std::size_t i = 0; i < judgement.filters.size(); ++i) {
    FilterEffect& effect = judgement.filters[i];
    effect.matches = effect.matches || before.filters[i].matches;
    for (const Entry* entry : before.filters[i].heldBack) {
      const auto index = static_cast<std::size_t>(entry - project.listing().entries.data());
      if (!copy.heldBack()[index]) effect.heldBack.push_back(entry);
    }
    std::sort(effect.heldBack.begin(), effect.heldBack.end());
  }
  copy.holdBack(shared->heldBack());
  // A folder of which one half was shared by the labels of each of both is empty now.
  addHostRules(copy.applyHostRules(), judgement.reasons);
}

// Narrowed after the judgement: a filter sees the same project whatever part of it is handed out.
void narrowToScope(WorkingCopy& copy, Judgement& judgement) {
  if (copy.scope() == EntryTable::ROOT) return;
  const Selection heldBack = copy.heldBack(), inside = copy.inScope();
  for (std::size_t i = 0; i < inside.size(); ++i) {
    if (!inside[i] && !heldBack[i]) judgement.reasons.set(i, {Reason::Rule::outside, 0, {}});
  }
  addHostRules(copy.narrowToScope(), judgement.reasons);
  const auto isOutside = [&](const Entry* entry) {
    return !inside[static_cast<std::size_t>(entry - copy.listing().entries.data())];
  };
  const auto eraseOutside = [](auto& items, const auto& isOut) {
    items.erase(std::remove_if(items.begin(), items.end(), isOut), items.end());
  };
  for (FilterEffect& effect : judgement.filters) {
    eraseOutside(effect.heldBack, isOutside);
    eraseOutside(effect.spared, isOutside);
  }
  eraseOutside(judgement.followed, [&](const FollowedEntry& one) { return !inside[one.entry]; });
  eraseOutside(judgement.spared, [&](const Spared& one) { return isOutside(one.folder); });
}

}  // namespace

Judgement judged(const WorkingCopy& project, const std::u16string& uuid, const Filters& filters) {
  Judgement judgement;
  judgement.uuid = uuid;
  project.followed();  // once, for all clones
  const auto copy = judgeBy(project, filters, judgement);
  judgeByWhatTheyHad(project, filters, judgement, *copy);
  narrowToScope(*copy, judgement);
  judgement.copy = copy;
  const Selection inside = copy->inScope();
  judgement.entries = static_cast<std::size_t>(std::count(inside.begin(), inside.end(), true));
  judgement.shared = copy->entries();
  addReasonsOfSpared(*copy, judgement);
  const auto leaving = copy->labelsThatLeave();
  for (const LabelRecord& label : judgement.labels) {
    const auto found = leaving.find(label.uuid);
    if (found != leaving.end()) judgement.leaving.push_back({label, found->second});
  }
  return judgement;
}

std::string nameOfFilter(const Judgement& judgement, std::size_t position) {
  return fmt::format("filter {}, {}", position, wordOf(judgement.filters[position - 1].kind));
}

void setFilter(Risk& risk, const Judgement& judgement, std::size_t position) {
  if (position == 0) return;
  risk.filter = position;
  risk.filterKind = wordOf(judgement.filters[position - 1].kind);
}

}  // namespace project_share
