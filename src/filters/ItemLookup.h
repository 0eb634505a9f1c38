#pragma once

#include <string>
#include <vector>

#include "filters/TextSet.h"
#include "project/management/Label.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::sharing::profiles {

// Answers whether a list of items names a label, in expected constant time and without an allocation of its own. The
// list may hold items in any order, and twice.
class ItemLookup {
 public:
  explicit ItemLookup(const std::vector<ExportStrategyItem>& items);

  bool empty() const { return labels_.empty(); }
  bool contains(const project::management::Label& label) const;
  bool contains(const project::management::CategoryIdentifier& category, const std::u16string& labelUUID) const;

 private:
  TextSet categories_;
  TextSet labels_;  // in groups by category
};

}  // namespace project::sharing::profiles
