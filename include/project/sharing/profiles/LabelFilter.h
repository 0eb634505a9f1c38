#pragma once

#include <string>

#include "project/sharing/profiles/ExportFilterBase.h"

namespace project::sharing::profiles {

// Strips labels from a project. Of kind EXCLUDE_LABEL the labels that the items name go; of any other kind those that
// no item names. A label that is not removable stays, and without items nothing goes, whatever the kind. A category
// whose last label went by this goes too; one that was empty before stays.
class PROJECT_SHARING_PROFILES_EXPORT LabelFilter : public ExportFilterBase {
 public:
  // Meant for EXCLUDE_LABEL and INCLUDE_LABEL.
  explicit LabelFilter(std::u16string type);

  void apply(project::management::ProjectManager& projectManager) override;
  ~LabelFilter() override;
};

}  // namespace project::sharing::profiles
