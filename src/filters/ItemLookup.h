#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "project/management/Label.h"
#include "project/sharing/profiles/ExportStrategyItem.h"

namespace project::sharing::profiles {

// Answers whether a list of items names a label, in expected constant time and without an allocation of its own. The
// list may hold items in any order, and twice.
class ItemLookup {
 public:
  explicit ItemLookup(std::vector<ExportStrategyItem> items);
  ItemLookup(const ItemLookup&) = delete;
  ItemLookup& operator=(const ItemLookup&) = delete;

  bool empty() const { return items_.empty(); }
  bool contains(const project::management::Label& label) const;
  bool contains(const project::management::CategoryIdentifier& category, const std::u16string& labelUUID) const;

 private:
  using Bytes = std::string_view;  // of a text in items_: compared and hashed faster than its units

  // The standard hash, but that the table neither searches a small set one by one, in texts all over the memory, nor,
  // as this is not noexcept, computes the hashes of what it has anew.
  struct Hash {
    std::size_t operator()(Bytes bytes) const;
  };

  const std::vector<ExportStrategyItem> items_;
  // By category first: they are few, and much of what is not listed ends there.
  std::unordered_map<Bytes, std::unordered_set<Bytes, Hash>> labels_;
};

}  // namespace project::sharing::profiles
