#include "filters/ItemLookup.h"

#include <algorithm>

namespace project::sharing::profiles {

// A label's UUID hardly ever stands in two categories. So the number of its first category is stored beside the UUID,
// and only further categories cost a search in a list. To look up both texts as one key would mean to join them for
// every label that is asked about.
ItemLookup::ItemLookup(const std::vector<ExportStrategyItem>& items, const KeyedHash& hash)
    : isEmpty(items.empty()), categories(hash), labels(hash, items.size()) {
  for (const ExportStrategyItem& item : items) {
    const std::size_t category = categories.insert(item.category).entry.number;
    const TextSet::Entry label = labels.insert(item.labelUUID, category).entry;
    if (label.note != category) further.emplace_back(label.number, category);
  }
  std::sort(further.begin(), further.end());
}

bool ItemLookup::contains(const project::management::Label& label) const {
  // The calls are qualified, as a host may attach a class derived from Label that overrides them.
  const std::u16string category = label.Label::getCategory().toString();
  // The UUID is looked up first: most labels are in no list, and few lists name one in a second category.
  const TextSet::Entry found = labels.find(label.Label::getUUID());
  if (found.number == TextSet::NONE) return false;
  if (categories.isAt(found.note, category)) return true;
  return std::binary_search(further.begin(), further.end(), std::pair(found.number, categories.find(category).number));
}

}  // namespace project::sharing::profiles
