#include "filters/ItemLookup.h"

namespace project::sharing::profiles {

ItemLookup::ItemLookup(const std::vector<ExportStrategyItem>& items) : labels_(items.size()) {
  for (const ExportStrategyItem& item : items) {
    labels_.insert(item.labelUUID, categories_.insert(item.category).number);
  }
}

bool ItemLookup::contains(const project::management::Label& label) const {
  return contains(label.getCategory(), label.getUUID());
}

bool ItemLookup::contains(const project::management::CategoryIdentifier& category,
                          const std::u16string& labelUUID) const {
  const std::size_t group = categories_.find(category.toString());
  return group != TextSet::NONE && labels_.find(labelUUID, group) != TextSet::NONE;
}

}  // namespace project::sharing::profiles
