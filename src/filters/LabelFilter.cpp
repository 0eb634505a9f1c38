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

LabelFilter::LabelFilter(std::u16string filterType) : ExportFilterBase(std::move(filterType)) {}

LabelFilter::~LabelFilter() = default;

// Hosts rely on the order of these calls. Which labels are removed is settled before the first removal: a failure until
// then, of an allocation or of the host, leaves the project as it was, and no removal changes a list that is still
// being read. Whether a category is empty afterwards is asked of the host, which knows what it holds now.
void LabelFilter::apply(project::management::ProjectManager& projectManager) {
  const ItemLookup listed(getItems(), KeyedHash());
  if (listed.empty()) return;
  LabelManager& manager = projectManager.getLabelManager();
  std::vector<Label> labels;
  for (const CategoryIdentifier& category : manager.getCategories()) {
    for (LabelIdentifier& label : manager.getLabels(category)) labels.emplace_back(category, std::move(label));
  }
  const bool removesListed = getType() == EXCLUDE_LABEL;
  std::vector<const Label*> selected;
  for (const Label& label : labels) {
    const bool isListed = listed.contains(label);
    if (label.getLabelIdentifier().isRemovable() != 0 && isListed == removesListed) selected.push_back(&label);
  }
  for (const Label* label : selected) {
    manager.removeLabel(label->getCategory(), label->getLabelIdentifier(), false);
    if (manager.getLabels(label->getCategory()).empty()) manager.removeCategory(label->getCategory());
  }
}

}  // namespace project::sharing::profiles
