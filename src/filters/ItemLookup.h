#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "filters/TextSet.h"
#include "project/management/Label.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::sharing::profiles {

// Answers whether a list of items names a label, in expected constant time (for labels that it names in several
// categories, in the logarithm of how many) and without an allocation of its own. The list may hold items in any order,
// and twice.
class ItemLookup {
 public:
  ItemLookup(const std::vector<ExportStrategyItem>& items, const KeyedHash& hash);

  bool empty() const { return isEmpty; }
  // What the label is beyond a `Label` is not asked.
  bool contains(const project::management::Label& label) const;

 private:
  bool isEmpty;
  TextSet categories;
  TextSet labels;                                            // with the number of the first category of each
  std::vector<std::pair<std::size_t, std::size_t>> further;  // categories, by the numbers of label and category
};

}  // namespace project::sharing::profiles
