#include "judgement/Preview.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <unordered_map>
#include <utility>

#include "folder_host/files/EntryTable.h"
#include "judgement/SelectionProbe.h"
#include "words/Lookup.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::LabelRecord;
using folder_host::WorkingCopy;
using profiles::ExportFilter;

namespace {

// Both in the order of the listing.
Entries missing(const Entries& before, const Entries& after) {
  Entries gone;
  std::set_difference(before.begin(), before.end(), after.begin(), after.end(), std::back_inserter(gone));
  return gone;
}

project::management::FileLabel fileLabel(const LabelRecord& label) {
  return {project::management::CategoryIdentifier(label.categoryUUID),
          project::management::LabelIdentifier(label.uuid, label.kept ? 0 : 1)};
}

class Previewing {
 public:
  explicit Previewing(WorkingCopy& copy) : copy_(copy), labels_(copy.getLabelManager()) {
    preview_.labels = labels_.list();
    preview_.reasons.resize(copy.table().size());
    preview_.dropped.resize(copy.table().size());
    for (std::size_t i = 0; i < preview_.labels.size(); ++i) labelIndices_[preview_.labels[i].uuid] = i;
  }

  Preview run(const std::vector<std::shared_ptr<ExportFilter>>& filters) {
    for (const auto& filter : filters) preview_.filters.push_back({filter->getType(), {}, 0, {}, matches(*filter)});
    for (position_ = 1; position_ <= filters.size(); ++position_) apply(*filters[position_ - 1]);
    applyHostRules();
    preview_.stays = copy_.entries();
    noteSpared();
    return std::move(preview_);
  }

 private:
  std::size_t indexOf(const Entry* entry) const {
    return static_cast<std::size_t>(entry - copy_.listing().entries.data());
  }

  void apply(ExportFilter& filter) {
    FilterEffect& effect = preview_.filters[position_ - 1];
    const Entries before = copy_.entries();
    const bool isOfFiles = isFileKind(effect.kind);
    const std::vector<LabelRecord> labelsBefore = isOfFiles ? std::vector<LabelRecord>() : labels_.list();
    const Entries selected = isOfFiles ? selectedAmong(filter, before) : Entries();
    filter.apply(copy_);
    const Entries after = copy_.entries();
    effect.gone = missing(before, after);
    noteReasons(filter, effect.gone, selected);
    for (const Entry* entry : missing(selected, effect.gone)) effect.spared += isSpared(entry) ? 1U : 0U;
    if (!isOfFiles) noteLabelsGone(labelsBefore, effect.labelsGone);
  }

  // By a label: a folder that was to go for the want of one is on the way to what stays.
  bool isSpared(const Entry* entry) const {
    const auto noted = spared_.find(indexOf(entry));
    return dropped_.count(indexOf(entry)) != 0 || (noted != spared_.end() && !noted->second.labels.empty());
  }

  // Asked before anything is taken out.
  bool matches(ExportFilter& filter) {
    if (isFileKind(filter.getType())) {
      const Entries selected = selectedAmong(filter, copy_.entries());
      if (filter.getType() == profiles::EXCLUDE_FILES_WITH_LABEL) {
        for (const Entry* entry : selected) preview_.dropped[indexOf(entry)] = true;
      }
      return !selected.empty();
    }
    Labels all;
    for (const LabelRecord& label : preview_.labels) all.push_back(fileLabel(label));
    return takesAwayAny(filter, all);
  }

  Entries selectedAmong(ExportFilter& filter, const Entries& entries) {
    const auto labelsOf = [&](std::size_t i) { return copy_.labelsOf(*entries[i]); };
    const std::vector<bool> selected = selectedBy(filter, entries.size(), labelsOf);
    Entries result;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (selected[i]) result.push_back(entries[i]);
    }
    return result;
  }

  // Of all that was selected: what is not gone yet is spared, until a later filter takes it.
  void noteReasons(ExportFilter& filter, const Entries& gone, const Entries& selected) {
    for (const Entry* entry : selected) {
      spared_[indexOf(entry)] = {Reason::Rule::filter, position_, {}};
    }
    if (!selected.empty()) noteSufficientLabels(filter, selected);
    const bool drops = filter.getType() == profiles::EXCLUDE_FILES_WITH_LABEL;
    for (const Entry* entry : drops ? selected : Entries()) {
      if (entry->kind == EntryKind::folder) dropped_[indexOf(entry)] = spared_[indexOf(entry)];
    }
    for (const Entry* entry : gone) {
      const auto noted = spared_.find(indexOf(entry));
      Reason& reason = preview_.reasons[indexOf(entry)];
      reason = noted != spared_.end() ? std::move(noted->second) : Reason{Reason::Rule::folder, position_, {}};
      if (noted != spared_.end()) spared_.erase(noted);
    }
  }

  // Each label of each entry is tried alone.
  void noteSufficientLabels(ExportFilter& filter, const Entries& selected) {
    std::vector<std::pair<std::size_t, std::size_t>> tries;  // of an entry, by one label
    for (const Entry* entry : selected) {
      for (const auto& label : copy_.labelsOf(*entry)) {
        tries.emplace_back(indexOf(entry), labelIndices_.at(label.getUUID()));
      }
    }
    const auto labelOf = [&](std::size_t i) { return Labels{fileLabel(preview_.labels[tries[i].second])}; };
    const std::vector<bool> suffices = selectedBy(filter, tries.size(), labelOf);
    for (std::size_t i = 0; i < tries.size(); ++i) {
      if (suffices[i]) spared_[tries[i].first].labels.push_back(tries[i].second);
    }
  }

  void noteLabelsGone(const std::vector<LabelRecord>& before, std::vector<std::size_t>& gone) const {
    std::vector<bool> left(preview_.labels.size());
    for (const LabelRecord& label : labels_.list()) left[labelIndices_.at(label.uuid)] = true;
    for (const LabelRecord& label : before) {
      const std::size_t index = labelIndices_.at(label.uuid);
      if (!left[index]) gone.push_back(index);
    }
  }

  void applyHostRules() {
    const folder_host::HostRemovals removals = copy_.applyHostRules();
    const auto note = [&](const std::vector<std::string>& paths, Reason::Rule rule) {
      for (const std::string& path : paths) preview_.reasons[copy_.table().find(path).value()].rule = rule;
    };
    note(removals.links, Reason::Rule::link);
    note(removals.emptied, Reason::Rule::emptied);
  }

  // Each file tells the folders above it, up to the first that has been told.
  void noteSpared() {
    std::vector<const Entry*> because(preview_.reasons.size());
    for (const Entry* entry : preview_.stays) {
      if (entry->kind == EntryKind::folder) continue;
      tellFolders(entry, because);
    }
    for (const Entry* entry : preview_.stays) {
      const std::size_t index = indexOf(entry);
      if (because[index] == nullptr || !isSpared(entry)) continue;
      const auto dropped = dropped_.find(index);
      const Reason& reason = dropped != dropped_.end() ? dropped->second : spared_.at(index);
      preview_.spared.push_back({entry, dropped != dropped_.end(), reason.filter, because[index], reason.labels});
    }
  }

  void tellFolders(const Entry* entry, std::vector<const Entry*>& told) const {
    const EntryTable& table = copy_.table();
    for (auto folder = table.parentOf(indexOf(entry)); folder != EntryTable::ROOT; folder = table.parentOf(folder)) {
      if (told[folder] != nullptr) return;
      told[folder] = entry;
    }
  }

  WorkingCopy& copy_;
  folder_host::LabelStore& labels_;
  Preview preview_;
  std::map<std::u16string, std::size_t> labelIndices_;
  std::unordered_map<std::size_t, Reason> spared_;   // what was selected and is still there
  std::unordered_map<std::size_t, Reason> dropped_;  // what a drop-files filter selected
  std::size_t position_ = 0;                         // of the filter that is being applied, from 1
};

}  // namespace

Preview previewOf(const std::vector<std::shared_ptr<ExportFilter>>& filters, WorkingCopy& copy) {
  return Previewing(copy).run(filters);
}

std::string nameOfFilter(const Preview& preview, std::size_t position) {
  return fmt::format("filter {}, {}", position, wordOf(preview.filters[position - 1].kind));
}

}  // namespace project_share
