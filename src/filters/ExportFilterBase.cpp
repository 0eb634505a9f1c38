#include "project/sharing/profiles/ExportFilterBase.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace project::sharing::profiles {

ExportFilter::~ExportFilter() = default;

ExportFilterBase::ExportFilterBase(std::u16string filterType) : type(std::move(filterType)) {}

ExportFilterBase::~ExportFilterBase() = default;

void ExportFilterBase::apply(project::management::ProjectManager&) {}

std::u16string ExportFilterBase::getType() const { return type; }

void ExportFilterBase::setType(const std::u16string& newType) { type = newType; }

std::vector<ExportStrategyItem> ExportFilterBase::getItems() const { return items; }

void ExportFilterBase::addItems(const std::vector<ExportStrategyItem>& added) {
  // The items are copied before the list grows: a growing list moves its elements first, and would lose them if a copy
  // then failed.
  std::vector<ExportStrategyItem> copies(added);
  items.insert(items.end(), std::make_move_iterator(copies.begin()), std::make_move_iterator(copies.end()));
  // Sorted when it is changed, since it is read more often, and by several threads at once.
  std::sort(items.begin(), items.end());
  items.erase(std::unique(items.begin(), items.end()), items.end());
}

void ExportFilterBase::removeItems(const std::vector<ExportStrategyItem>& removed) {
  for (const ExportStrategyItem& item : removed) {
    if (items.empty()) return;
    // The last item in the place of an absent one is no slip: ExportFilter.h promises it.
    const auto found = std::find(items.begin(), items.end(), item);
    items.erase(found != items.end() ? found : std::prev(items.end()));
  }
}

}  // namespace project::sharing::profiles
