#include "project/sharing/profiles/LabelFilter.h"

#include <utility>
#include <vector>

#include "filters/ItemLookup.h"
#include "project/management/ProjectManager.h"

namespace project::sharing::profiles {

using project::management::CategoryIdentifier;
using project::management::Label;
using project::management::LabelIdentifier;
using project::management::LabelManager;

namespace {

std::vector<Label> allLabels(const LabelManager& manager) {
  std::vector<Label> labels;
  for (const CategoryIdentifier& category : manager.getCategories()) {
    for (LabelIdentifier& label : manager.getLabels(category)) labels.emplace_back(category, std::move(label));
  }
  return labels;
}

void remove(LabelManager& manager, const Label& label) {
  manager.removeLabel(label.getCategory(), label.getLabelIdentifier(), false);
  if (manager.getLabels(label.getCategory()).empty()) manager.removeCategory(label.getCategory());
}

}  // namespace

LabelFilter::LabelFilter(std::u16string filterType) : ExportFilterBase(std::move(filterType)) {}

LabelFilter::~LabelFilter() = default;

void LabelFilter::apply(project::management::ProjectManager& projectManager) {
  const ItemLookup listed(getItems(), KeyedHash());
  if (listed.empty()) return;
  LabelManager& manager = projectManager.getLabelManager();
  const std::vector<Label> labels = allLabels(manager);
  const bool removesListed = getType() == EXCLUDE_LABEL;
  std::vector<const Label*> selected;
  for (const Label& label : labels) {
    const bool isListed = listed.contains(label);
    if (label.getLabelIdentifier().isRemovable() != 0 && isListed == removesListed) selected.push_back(&label);
  }
  for (const Label* label : selected) remove(manager, *label);
}

}  // namespace project::sharing::profiles
