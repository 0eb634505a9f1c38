#include "filters/ItemLookup.h"

#include <functional>
#include <iterator>
#include <string>
#include <utility>

namespace project::sharing::profiles {

ExportStrategyItem itemOf(const project::management::Label& label) {
  std::u16string category = label.getCategory().toString();
  return {std::move(category), label.getUUID()};
}

ItemLookup::ItemLookup(std::vector<ExportStrategyItem> items)
    : items_(std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()), items.size()) {}

std::size_t ItemLookup::Hash::operator()(const ExportStrategyItem& item) const noexcept {
  constexpr std::size_t multiplier = 31;  // keeps (a, b) and (b, a) apart
  const std::hash<std::u16string> hash;
  return hash(item.category) * multiplier + hash(item.labelUUID);
}

}  // namespace project::sharing::profiles
