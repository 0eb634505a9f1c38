#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/files/EntryTable.h"
#include "folder_host/labels/LabelSources.h"

namespace folder_host {

// Labels by UUID that entries, by index, have in the place of those that marks and rules give them. Entries have them
// in common: there may be many of both.
using LabelsByEntry = std::map<std::size_t, std::shared_ptr<const std::vector<std::u16string>>>;

// Which labels each entry of a listing has, by marks and rules, as the store had them when this was made. Never
// changes. Made in one pass over the entries; its size grows with the entries, marks and matches, and not with the
// labels that each entry has from above, of which a crafted project could give every entry thousands.
class EffectiveLabels {
 public:
  // `instead` may name labels that are no more; the entries have none of those.
  EffectiveLabels(const EntryTable& entries, const LabelStore& labels, const LabelsByEntry& instead = {});

  const LabelSources& sources() const noexcept { return sources_; }

  LabelSet of(std::size_t entry) const;
  // By UUID, as filters ask for them.
  std::vector<project::management::FileLabel> fileLabelsOf(std::size_t entry) const;

  // How many entries carry each of the labels().
  std::vector<std::size_t> counts() const;
  // Of the rules(), those that decide for no entry.
  const std::vector<std::size_t>& idleRules() const noexcept { return idleRules_; }

 private:
  class Walk;

  enum class Verdict { marked, excepted, ruledIn, ruledOut };
  using Change = std::pair<std::size_t, Verdict>;  // of a label
  // What stands at an entry and above it, as far as it says something of what lies below: what stands above, and what
  // is another here. The first has nothing above it.
  struct State {
    std::size_t above;
    std::vector<Change> changes;
  };

  LabelSet givenBy(std::size_t state) const;

  LabelSources sources_;
  std::vector<project::management::FileLabel> fileLabels_;  // of labels()
  std::vector<State> states_;
  std::vector<std::uint32_t> stateOf_;  // by entry
  std::vector<std::pair<std::size_t, std::size_t>>
      own_;  // an entry, and a label that it has by a mark on it alone; sorted
  std::map<std::size_t, std::shared_ptr<const LabelSet>> instead_;  // by entry
  std::vector<std::size_t> idleRules_;
};

}  // namespace folder_host
