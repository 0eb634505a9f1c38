#include "filters/ItemLookup.h"

#include <algorithm>

namespace project::sharing::profiles {

ItemLookup::ItemLookup(const std::vector<ExportStrategyItem>& items, const KeyedHash& hash)
    : categories_(hash), labels_(hash, items.size()) {
  for (const ExportStrategyItem& item : items) {
    const std::size_t category = categories_.insert(item.category).entry.number;
    const TextSet::Entry label = labels_.insert(item.labelUUID, category).entry;
    if (label.note != category) further_.emplace_back(label.number, category);
  }
  std::sort(further_.begin(), further_.end());
}

bool ItemLookup::contains(const project::management::Label& label) const {
  return contains(label.getCategory(), label.getUUID());
}

bool ItemLookup::contains(const project::management::CategoryIdentifier& category,
                          const std::u16string& labelUUID) const {
  const std::u16string text = category.toString();
  const TextSet::Entry label = labels_.find(labelUUID);
  if (label.number == TextSet::NONE) return false;
  if (categories_.isAt(label.note, text)) return true;
  return std::binary_search(further_.begin(), further_.end(), std::pair(label.number, categories_.find(text).number));
}

}  // namespace project::sharing::profiles
