#include "filters/ItemLookup.h"

namespace project::sharing::profiles {

ItemLookup::ItemLookup(const std::vector<ExportStrategyItem>& items) : isEmpty_(items.empty()), labels_(items.size()) {
  for (const ExportStrategyItem& item : items) {
    categories_.insert(item.category);
    labels_.insert(item.labelUUID, categories_.find(item.category));
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
