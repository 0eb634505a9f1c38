#pragma once

#include <string>
#include <vector>

#include "project/management/Label.h"
#include "project/sharing/profiles/ExportFilterBase.h"

namespace project::sharing::profiles {

class ItemLookup;

// Strips entries from a project by the labels attached to them, as ExportStrategyItem.h says at the kinds.
class FileLabelFilter final : public ExportFilterBase {
 public:
  // Meant for the two file kinds.
  explicit FileLabelFilter(std::u16string type);

  // One call at the end removes all that is selected; it is made even when nothing is.
  void apply(project::management::ProjectManager& projectManager) override;
  ~FileLabelFilter() override;

 private:
  bool selects(const std::vector<project::management::FileLabel>& labels, const ItemLookup& listed,
               bool selectsListed) const;
};

}  // namespace project::sharing::profiles
