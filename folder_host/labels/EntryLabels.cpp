#include "folder_host/labels/EntryLabels.h"

#include <algorithm>

namespace folder_host {

using project::management::CategoryIdentifier;
using project::management::FileLabel;
using project::management::LabelIdentifier;

// The labels stand by UUID and the attachments by entry, so that one binary search finds those of an entry, in the
// order in which LabelStore::labelsOf gives them: a working copy may answer by either.
EntryLabels::EntryLabels(const EntryTable& entries, const LabelStore& labels) {
  std::vector<LabelRecord> records = labels.list();
  std::sort(records.begin(), records.end(), [](const auto& a, const auto& b) { return a.uuid < b.uuid; });
  for (const LabelRecord& label : records) {
    labels_.emplace_back(CategoryIdentifier(label.categoryUUID),
                         LabelIdentifier(label.uuid, label.isProtected ? 0 : 1));
  }
  // A label on a missing path is no entry's; it is told of as a risk (labelledMissingPaths).
  for (const auto& [path, uuid] : labels.attachments()) {
    const auto entry = entries.find(path);
    if (!entry) continue;
    const auto label = std::lower_bound(records.begin(), records.end(), uuid,
                                        [](const LabelRecord& record, const auto& text) { return record.uuid < text; });
    attachments_.emplace_back(*entry, static_cast<std::size_t>(label - records.begin()));
  }
}

std::vector<FileLabel> EntryLabels::of(std::size_t entry) const {
  std::vector<FileLabel> labels;
  auto attachment = std::lower_bound(attachments_.begin(), attachments_.end(), std::pair(entry, std::size_t{0}));
  for (; attachment != attachments_.end() && attachment->first == entry; ++attachment) {
    labels.push_back(labels_[attachment->second]);
  }
  return labels;
}

std::vector<bool> EntryLabels::labelled(std::size_t entries) const {
  std::vector<bool> labelled(entries);
  for (const auto& [entry, label] : attachments_) labelled[entry] = true;
  return labelled;
}

}  // namespace folder_host
