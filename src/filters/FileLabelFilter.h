#pragma once

#include <string>
#include <vector>

#include "project/management/Label.h"
#include "project/sharing/profiles/ExportFilterBase.h"

namespace project::sharing::profiles {

class ItemLookup;

// Strips entries from a project by the labels attached to them. Of kind EXCLUDE_FILES_WITH_LABEL an entry goes that
// carries a label that the items name; of kind INCLUDE_FILES_WITH_LABEL one that carries no label or any that no item
// names, and every entry when there are no items. A folder with a file below it that stays is spared.
class FileLabelFilter final : public ExportFilterBase {
 public:
  // Meant for the two file kinds.
  explicit FileLabelFilter(std::u16string type);

  // All that goes is removed by one call at the end, which is made even when nothing goes.
  void apply(project::management::ProjectManager& projectManager) override;
  ~FileLabelFilter() override;

 private:
  bool goes(const std::vector<project::management::FileLabel>& labels, const ItemLookup& listed, bool listedGo) const;
};

}  // namespace project::sharing::profiles
