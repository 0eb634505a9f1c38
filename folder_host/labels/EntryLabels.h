#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "folder_host/files/EntryTable.h"
#include "folder_host/store/LabelStore.h"

namespace folder_host {

// Which labels are attached to which entries of a listing, as the store had them when this was made: two numbers an
// attachment, in the place of a query an entry.
class EntryLabels {
 public:
  EntryLabels(const EntryTable& entries, const LabelStore& labels);

  // By label UUID, as LabelStore::labelsOf gives them.
  std::vector<project::management::FileLabel> of(std::size_t entry) const;

  // Which entries carry a label, by index.
  std::vector<bool> labelled(std::size_t entries) const;

 private:
  std::vector<project::management::FileLabel> labels_;            // of the project, by UUID
  std::vector<std::pair<std::size_t, std::size_t>> attachments_;  // of an entry and a label, by index; sorted
};

}  // namespace folder_host
