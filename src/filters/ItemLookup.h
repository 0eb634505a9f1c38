#pragma once

#include <cstddef>
#include <unordered_set>
#include <vector>

#include "project/management/Label.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::sharing::profiles {

// The item that names this label.
ExportStrategyItem itemOf(const project::management::Label& label);

// Answers whether an item is in a list, in expected constant time. The list may hold items in any order, and twice.
class ItemLookup {
 public:
  explicit ItemLookup(std::vector<ExportStrategyItem> items);

  bool empty() const { return items_.empty(); }
  bool contains(const ExportStrategyItem& item) const { return items_.count(item) != 0; }

 private:
  struct Hash {
    std::size_t operator()(const ExportStrategyItem& item) const noexcept;
  };

  std::unordered_set<ExportStrategyItem, Hash> items_;
};

}  // namespace project::sharing::profiles
