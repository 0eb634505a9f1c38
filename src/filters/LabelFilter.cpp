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
    for (const LabelIdentifier& label : manager.getLabels(category)) labels.emplace_back(category, label);
  }
  return labels;
}

bool goes(const Label& label, const ItemLookup& listed, bool listedGo) {
  const ExportStrategyItem item = itemOf(label);
  if (label.getLabelIdentifier().isRemovable() == 0) return false;
  return listed.contains(item) == listedGo;
}

std::vector<Label> labelsThatGo(std::vector<Label> labels, const ItemLookup& listed, bool listedGo) {
  std::vector<Label> going;
  for (Label& label : labels) {
    if (goes(label, listed, listedGo)) going.push_back(std::move(label));
  }
  return going;
}

void remove(LabelManager& manager, const Label& label) {
  const CategoryIdentifier& category = label.getCategory();
  manager.removeLabel(category, label.getLabelIdentifier(), false);
  if (manager.getLabels(category).empty()) manager.removeCategory(category);
}

}  // namespace

LabelFilter::LabelFilter(std::u16string filterType) : ExportFilterBase(std::move(filterType)) {}

LabelFilter::~LabelFilter() = default;

void LabelFilter::apply(project::management::ProjectManager& projectManager) {
  const ItemLookup listed(getItems());
  if (listed.empty()) return;
  LabelManager& manager = projectManager.getLabelManager();
  std::vector<Label> labels = allLabels(manager);
  const bool listedGo = getType() == EXCLUDE_LABEL;
  for (const Label& label : labelsThatGo(std::move(labels), listed, listedGo)) remove(manager, label);
}

}  // namespace project::sharing::profiles
