#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "project/sharing/profiles/ExportProfile.h"

namespace project_share {

using Entries = std::vector<const folder_host::Entry*>;

// A folder that a filter selects by its labels and that stays for the sake of what stays below it.
struct Spared {
  const folder_host::Entry* folder;
  bool isDropped;                     // a drop-files filter selects it
  std::size_t filter;                 // the last that selects it, from 1; of drop-files filters, where one does
  const folder_host::Entry* because;  // the first file or link below it that stays
  std::vector<std::size_t> labels;    // those by which the filter selects it: indices into Preview::labels
};

// Why an entry goes.
struct Reason {
  enum class Rule { none, filter, folder, link, emptied };
  Rule rule = Rule::none;  // none: it stays; folder: it goes with the folder that it lies in
  std::size_t filter = 0;  // from 1
  // Those of its labels that suffice for the filter: indices into Preview::labels. Empty: it carries none.
  std::vector<std::size_t> labels;
};

// What one filter of the profile takes out, given what those before it have left.
struct FilterEffect {
  std::u16string kind;
  Entries gone;                         // in the order of the listing
  std::size_t spared = 0;               // folders that it selects by their labels and that are left after it
  std::vector<std::size_t> labelsGone;  // indices into Preview::labels
  bool matches = false;                 // it would take out something, were it the only one
};

// Entries are those of the copy's listing.
struct Preview {
  std::vector<folder_host::LabelRecord> labels;  // of the project
  std::vector<FilterEffect> filters;             // as the profile applies them
  std::vector<Reason> reasons;                   // of every entry of the listing, in its order
  std::vector<bool> dropped;                     // likewise: a drop-files filter selects it by its labels
  std::vector<Spared> spared;                    // of the folders that are left, in the order of the listing
  Entries stays;
};

// What a share would do, found by applying these filters to the copy, one at a time, and the host's rules after them.
Preview previewOf(const std::vector<std::shared_ptr<project::sharing::profiles::ExportFilter>>& filters,
                  folder_host::WorkingCopy& copy);

// "filter 1, drop-files"
std::string nameOfFilter(const Preview& preview, std::size_t position);

}  // namespace project_share
