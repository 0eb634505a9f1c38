#pragma once

#include <string>

#include "project/sharing/profiles/ExportFilterBase.h"

namespace project::sharing::profiles {

// Strips labels from a project, as ExportStrategyItem.h says at the kinds. A category whose last label this filter
// removes is removed too; one that was empty before is not.
class PROJECT_SHARING_PROFILES_EXPORT LabelFilter : public ExportFilterBase {
 public:
  // Meant for EXCLUDE_LABEL and INCLUDE_LABEL.
  explicit LabelFilter(std::u16string type);

  void apply(project::management::ProjectManager& projectManager) override;
  ~LabelFilter() override;
};

}  // namespace project::sharing::profiles
