#pragma once

#include <string>
#include <vector>

#include "project/management/Label.h"
#include "project/sharing/profiles/ExportFilterBase.h"

namespace project::sharing::profiles {

class ItemLookup;

// Removes entries from a project by the labels attached to them, as ExportStrategyItem.h says at the kinds.
class FileLabelFilter final : public ExportFilterBase {
 public:
  // The type is meant to be one of the two file kinds.
  explicit FileLabelFilter(std::u16string type);

  // Removes all selected entries in one call at the end, which is made even when there are none.
  void apply(project::management::ProjectManager& projectManager) override;
  ~FileLabelFilter() override;

 private:
  bool selects(const std::vector<project::management::FileLabel>& labels, const ItemLookup& listed,
               bool selectsListed) const;
};

}  // namespace project::sharing::profiles
