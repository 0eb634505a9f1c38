#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "folder_host/share/WorkingCopy.h"
#include "judgement/RiskKinds.h"
#include "project/sharing/profiles/ExportFilter.h"

namespace project_share {

using Entries = std::vector<const folder_host::Entry*>;
using Filters = std::vector<std::shared_ptr<project::sharing::profiles::ExportFilter>>;

// Why an entry is held back.
struct Reason {
  enum class Rule {
    none,     // it is shared
    filter,   // a filter selects it by its labels
    folder,   // it lies in a folder that a filter takes out
    link,     // the host: a link to what is not handed out
    emptied,  // the host: a folder of which nothing is shared
    outside,  // it does not lie in the scope, and nothing else holds it back
  };
  Rule rule = Rule::none;
  std::size_t filter = 0;  // from 1
  // Those of its labels that suffice for the filter: indices into Judgement::labels. Empty: it carries none.
  std::vector<std::size_t> labels;
  // Where the entry got these labels: set where it is held back only by what it had (see folder_host::Followed).
  const std::string* from = nullptr;
};

// The reasons of all entries, by index. Each is there once, whatever number of entries has it.
class Reasons {
 public:
  explicit Reasons(std::size_t entries = 0) : reasons_(1), of_(entries) {}

  std::size_t size() const noexcept { return of_.size(); }
  // Good as long as this is there.
  const Reason& operator[](std::size_t entry) const noexcept { return reasons_[of_[entry]]; }
  void set(std::size_t entry, const Reason& reason);

 private:
  using Key = std::tuple<Reason::Rule, std::size_t, std::vector<std::size_t>>;

  std::deque<Reason> reasons_;  // the first: it is shared
  std::vector<std::uint32_t> of_;
  std::map<Key, std::uint32_t> known_;  // those without `from`, which is mostly another for each entry
};

// An entry that had other labels than it has, and that only one of both would share: it is held back.
struct FollowedEntry {
  std::size_t entry;
  bool isHeldBackByWhatItHas;  // else by what it had
  const std::string* from;     // where it got what it had
};

// A folder that a filter selects by its labels, and that is shared for the sake of what is shared below it.
struct Spared {
  const folder_host::Entry* folder;
  bool isDropped;                     // a drop-files filter selects it
  std::size_t filter;                 // the last that selects it, from 1; of drop-files filters, where one does
  const folder_host::Entry* because;  // the first file or link below it that is shared
  std::vector<std::size_t> labels;    // those by which the filter selects it: indices into Judgement::labels
};

// What one filter of the profile takes out, given what those before it took out.
struct FilterEffect {
  std::u16string kind;
  Entries heldBack;                        // in the order of the listing
  Entries spared;                          // folders that it selects by their labels and that are shared after it
  std::vector<std::size_t> labelsRemoved;  // indices into Judgement::labels
  bool matches = false;                    // it would take out something, were it the only one
  std::vector<std::size_t> named = {};     // the labels of its items, as far as there are such
};

// A label that leaves with the copy, and how many of the entries that are shared carry it.
struct LeavingLabel {
  folder_host::LabelRecord label;
  std::size_t entries;
};

// What a share by one profile is: made once, and read by whatever tells of it or hands it out. Entries are those of the
// project's listing, by pointer, or by index where there is one item for each; the pointers are good as long as `copy`
// is there.
struct Judgement {
  std::u16string name;                                   // of the profile
  std::u16string uuid;                                   // likewise
  std::size_t entries = 0;                               // how many lie in the scope
  std::shared_ptr<const folder_host::WorkingCopy> copy;  // what is shared: the profile and the host's rules applied
  Entries shared;                                        // its entries, in the order of the listing
  std::vector<folder_host::LabelRecord> labels;          // of the project
  std::vector<FilterEffect> filters;                     // as the profile applies them
  Reasons reasons;                                       // of every entry of the listing
  folder_host::Selection dropped;                        // a drop-files filter selects the entry by its labels
  std::vector<FollowedEntry> followed;                   // in the order of the listing
  std::vector<Spared> spared;                            // of the folders that are shared, in the order of the listing
  std::vector<LeavingLabel> leaving;                     // by name
  Findings found;                                        // what speaks against it, and what is worth knowing
};

// Judged, and nothing found yet. The library judges: its transformation is run over a clone of the project, as any host
// runs it, and what each filter did is told from what it changed; `filters` are those of the profile of that UUID, and
// are asked why. Where entries had other labels than they have, it is run once more by those, and shared is what both
// share; and of that, what lies in the project's scope: all but `reasons` and `dropped` tells of that alone. The
// project is as it was. Throws std::logic_error where what changed cannot have been those filters.
Judgement judged(const folder_host::WorkingCopy& project, const std::u16string& uuid, const Filters& filters);

// "filter 1, drop-files"
std::string nameOfFilter(const Judgement& judgement, std::size_t position);

// Says that the risk has to do with the filter; nothing where the position is 0.
void setFilter(Risk& risk, const Judgement& judgement, std::size_t position);

}  // namespace project_share
