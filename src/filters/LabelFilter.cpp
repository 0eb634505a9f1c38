#include "project/sharing/profiles/LabelFilter.h"

#include <utility>
#include <vector>

#include "filters/ItemLookup.h"
#include "project/management/ProjectManager.h"

namespace project::sharing::profiles {

using project::management::CategoryIdentifier;
using project::management::LabelIdentifier;
using project::management::LabelManager;

namespace {

struct Category {
  CategoryIdentifier identifier;
  std::vector<LabelIdentifier> labels;
};

struct Found {
  const CategoryIdentifier& category;
  const LabelIdentifier& label;
};

std::vector<Category> allLabels(const LabelManager& manager) {
  std::vector<Category> categories;
  for (CategoryIdentifier& category : manager.getCategories()) {
    std::vector<LabelIdentifier> labels = manager.getLabels(category);
    categories.push_back({std::move(category), std::move(labels)});
  }
  return categories;
}

bool goes(const Found& found, const ItemLookup& listed, bool listedGo) {
  const bool isListed = listed.contains(found.category, found.label.getUUID());
  return found.label.isRemovable() != 0 && isListed == listedGo;
}

std::vector<Found> labelsThatGo(const std::vector<Category>& categories, const ItemLookup& listed, bool listedGo) {
  std::vector<Found> going;
  for (const Category& category : categories) {
    for (const LabelIdentifier& label : category.labels) {
      const Found found{category.identifier, label};
      if (goes(found, listed, listedGo)) going.push_back(found);
    }
  }
  return going;
}

void remove(LabelManager& manager, const Found& found) {
  manager.removeLabel(found.category, found.label, false);
  if (manager.getLabels(found.category).empty()) manager.removeCategory(found.category);
}

}  // namespace

LabelFilter::LabelFilter(std::u16string filterType) : ExportFilterBase(std::move(filterType)) {}

LabelFilter::~LabelFilter() = default;

void LabelFilter::apply(project::management::ProjectManager& projectManager) {
  const ItemLookup listed(getItems(), KeyedHash());
  if (listed.empty()) return;
  LabelManager& manager = projectManager.getLabelManager();
  const std::vector<Category> categories = allLabels(manager);
  const bool listedGo = getType() == EXCLUDE_LABEL;
  for (const Found& found : labelsThatGo(categories, listed, listedGo)) remove(manager, found);
}

}  // namespace project::sharing::profiles
