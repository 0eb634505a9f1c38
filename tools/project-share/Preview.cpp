#include "Preview.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "Lookup.h"
#include "SelectionProbe.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::LabelRecord;
using folder_host::WorkingCopy;

namespace {

using Entries = std::vector<const Entry*>;

// Both in the order of the listing, which is the order of their paths.
std::vector<std::string> missing(const Entries& before, const Entries& after) {
  Entries gone;
  std::set_difference(before.begin(), before.end(), after.begin(), after.end(), std::back_inserter(gone),
                      [](const Entry* a, const Entry* b) { return a->path < b->path; });
  std::vector<std::string> paths;
  for (const Entry* entry : gone) paths.push_back(entry->path);
  return paths;
}

std::string firstFileBelow(const std::string& folder, const Entries& entries) {
  const std::string prefix = folder + "/";
  auto entry = std::lower_bound(entries.begin(), entries.end(), prefix,
                                [](const Entry* one, const std::string& path) { return one->path < path; });
  while (entry != entries.end() && (*entry)->kind == EntryKind::folder) ++entry;
  return entry != entries.end() ? (*entry)->path : std::string();
}

std::vector<Spared> sparedAmong(std::vector<std::string> selected, const Entries& after) {
  std::vector<Spared> spared;
  std::sort(selected.begin(), selected.end());
  for (const Entry* entry : after) {
    if (std::binary_search(selected.begin(), selected.end(), entry->path)) {
      spared.push_back({entry->path, firstFileBelow(entry->path, after)});
    }
  }
  return spared;
}

std::vector<LabelRecord> missing(const std::vector<LabelRecord>& before, const std::vector<LabelRecord>& after) {
  std::vector<LabelRecord> gone;
  for (const LabelRecord& label : before) {
    const auto is = [&](const LabelRecord& other) { return other.uuid == label.uuid; };
    if (std::none_of(after.begin(), after.end(), is)) gone.push_back(label);
  }
  return gone;
}

FilterEffect effectOf(profiles::ExportFilter& filter, std::size_t position, WorkingCopy& copy) {
  FilterEffect effect;
  effect.name = fmt::format("filter {}, {}", position, wordOf(filter.getType()));
  std::vector<std::string> selected;
  if (isFileKind(filter.getType())) selected = selectedBy(filter, copy);
  const Entries entries = copy.entries();
  const std::vector<LabelRecord> labels = copy.getLabelManager().list();
  filter.apply(copy);
  const Entries left = copy.entries();
  effect.gone = missing(entries, left);
  effect.spared = sparedAmong(std::move(selected), left);
  effect.labelsGone = missing(labels, copy.getLabelManager().list());
  return effect;
}

}  // namespace

Preview previewOf(profiles::ExportProfile& profile, WorkingCopy& copy) {
  Preview preview;
  for (const auto& filter : profile.getFilters()) {
    preview.filters.push_back(effectOf(*filter, preview.filters.size() + 1, copy));
  }
  preview.host = copy.applyHostRules();
  preview.stays = copy.entries();
  return preview;
}

}  // namespace project_share
