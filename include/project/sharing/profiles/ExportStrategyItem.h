#pragma once

#include <string>

#include "project/sharing/profiles/ExportMacro.h"

namespace project::sharing::profiles {

// Names one label of a project. Nothing is checked: either text may be empty, and a label UUID need not look like one.
struct PROJECT_SHARING_PROFILES_EXPORT ExportStrategyItem {
  ExportStrategyItem();
  ExportStrategyItem(std::u16string category, std::u16string labelUUID);

  std::u16string category;   // CategoryIdentifier::toString() of the label's category
  std::u16string labelUUID;  // Label::getUUID()
};

// Both texts are equal, code unit by code unit.
PROJECT_SHARING_PROFILES_EXPORT bool operator==(const ExportStrategyItem& a, const ExportStrategyItem& b);

// By category, then by label UUID, each in code-unit order (a prefix first; no case folding, no locale).
PROJECT_SHARING_PROFILES_EXPORT bool operator<(const ExportStrategyItem& a, const ExportStrategyItem& b);

// The kinds of filter. Their texts are part of the stored format. They are made when the library is loaded.

// Labels that the items name go: "Label".
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string EXCLUDE_LABEL;
// Entries that carry a label that the items name go: "FileLabel".
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string EXCLUDE_FILES_WITH_LABEL;
// Labels that no item names go: "IncludeLabels".
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string INCLUDE_LABEL;
// Entries without a label, or with one that no item names, go: "IncludeFilesWithLabel".
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string INCLUDE_FILES_WITH_LABEL;

}  // namespace project::sharing::profiles
