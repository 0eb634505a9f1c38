#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "filters/TextSet.h"
#include "project/management/Label.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::sharing::profiles {

// Answers whether a list of items names a label, in expected constant time and without an allocation of its own. For a
// label that the list names in several categories, the time grows with the logarithm of their number. The list may hold
// items in any order, and twice.
class ItemLookup {
 public:
  ItemLookup(const std::vector<ExportStrategyItem>& items, const KeyedHash& hash);

  bool empty() const { return isEmpty; }
  // Looks at the `Label` alone, whatever class derives from it.
  bool contains(const project::management::Label& label) const;

 private:
  bool isEmpty;
  TextSet categories;
  TextSet labels;                                            // with the number of the first category of each
  std::vector<std::pair<std::size_t, std::size_t>> further;  // categories, by the numbers of label and category
};

}  // namespace project::sharing::profiles
