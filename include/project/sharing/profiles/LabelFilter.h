#pragma once

#include <string>

#include "project/sharing/profiles/ExportFilterBase.h"

namespace project::sharing::profiles {

// Removes labels from a project, as ExportStrategyItem.h says at the kinds. A category is removed when this filter has
// removed its last label; a category that was empty before is not.
class PROJECT_SHARING_PROFILES_EXPORT LabelFilter : public ExportFilterBase {
 public:
  // The type is meant to be EXCLUDE_LABEL or INCLUDE_LABEL.
  explicit LabelFilter(std::u16string type);

  void apply(project::management::ProjectManager& projectManager) override;
  ~LabelFilter() override;
};

}  // namespace project::sharing::profiles
