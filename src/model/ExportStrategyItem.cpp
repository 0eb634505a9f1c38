#include "project/sharing/profiles/ExportStrategyItem.h"

#include <utility>

namespace project::sharing::profiles {

// One file defines them all, so that they are made in this order, which the header promises.
const std::u16string EXCLUDE_LABEL = u"Label";
const std::u16string EXCLUDE_FILES_WITH_LABEL = u"FileLabel";
const std::u16string INCLUDE_LABEL = u"IncludeLabels";
const std::u16string INCLUDE_FILES_WITH_LABEL = u"IncludeFilesWithLabel";

ExportStrategyItem::ExportStrategyItem() = default;

ExportStrategyItem::ExportStrategyItem(std::u16string itemCategory, std::u16string itemLabelUUID)
    : category(std::move(itemCategory)), labelUUID(std::move(itemLabelUUID)) {}

bool operator==(const ExportStrategyItem& a, const ExportStrategyItem& b) {
  return a.category == b.category && a.labelUUID == b.labelUUID;
}

bool operator<(const ExportStrategyItem& a, const ExportStrategyItem& b) {
  const int order = a.category.compare(b.category);
  return order != 0 ? order < 0 : a.labelUUID < b.labelUUID;
}

}  // namespace project::sharing::profiles
