#include "filters/ItemLookup.h"

#include <functional>
#include <utility>

namespace project::sharing::profiles {

namespace {

std::string_view bytesOf(const std::u16string& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

}  // namespace

ItemLookup::ItemLookup(std::vector<ExportStrategyItem> items) : items_(std::move(items)) {
  for (const ExportStrategyItem& item : items_) labels_[bytesOf(item.category)].insert(bytesOf(item.labelUUID));
}

bool ItemLookup::contains(const project::management::Label& label) const {
  return contains(label.getCategory(), label.getUUID());
}

bool ItemLookup::contains(const project::management::CategoryIdentifier& category,
                          const std::u16string& labelUUID) const {
  const auto found = labels_.find(bytesOf(category.toString()));
  return found != labels_.end() && found->second.count(bytesOf(labelUUID)) != 0;
}

std::size_t ItemLookup::Hash::operator()(Bytes bytes) const { return std::hash<Bytes>()(bytes); }

}  // namespace project::sharing::profiles
