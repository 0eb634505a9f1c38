#pragma once

#include <string>

#include "project/sharing/profiles/ExportMacro.h"

namespace project::sharing::profiles {

// Names one label of a project. Nothing is checked: either text may be empty, and the label UUID may be any text.
struct PROJECT_SHARING_PROFILES_EXPORT ExportStrategyItem {
  ExportStrategyItem();
  ExportStrategyItem(std::u16string category, std::u16string labelUUID);

  std::u16string category;   // CategoryIdentifier::toString() of the label's category
  std::u16string labelUUID;  // Label::getUUID()
};

// Items are equal where both texts are equal, code unit by code unit.
PROJECT_SHARING_PROFILES_EXPORT bool operator==(const ExportStrategyItem& a, const ExportStrategyItem& b);

// Items are ordered by category, then by label UUID, each in code-unit order (a prefix first; no case folding, no
// locale).
PROJECT_SHARING_PROFILES_EXPORT bool operator<(const ExportStrategyItem& a, const ExportStrategyItem& b);

// The kinds of filter. Their texts are part of the stored format. The constants are made when the library is loaded, in
// the order below; nothing that runs before that may use them.
//
// A label filter decides on each label of the project:
//
//                                            EXCLUDE_LABEL   INCLUDE_LABEL
//   an item names the label                  removed         shared
//   no item names it                         shared          removed
//   the filter has no items                  shared          shared
//   the label may not be removed             shared          shared         (LabelIdentifier::isRemovable() is 0)
//
// A file filter decides on each entry, file or folder, by the labels that the host gives for this very entry:
//
//                                            EXCLUDE_FILES_WITH_LABEL   INCLUDE_FILES_WITH_LABEL
//   the entry has no label                   shared                     removed
//   items name all of its labels             removed                    shared
//   items name some of them                  removed                    removed
//   items name none of them                  shared                     removed
//   the filter has no items                  shared                     removed
//   a folder above a file that is shared     shared                     shared         (whatever the lines above say)
//
// So INCLUDE_LABEL without items removes no label, and INCLUDE_FILES_WITH_LABEL without items removes every entry. A
// folder is spared for the sake of a file in it, never for that of a folder. What a removed folder holds is removed
// with it. A file filter does not ask whether a label may be removed.
//
// ExportFilter::setType can give a filter a text that is no kind of its own sort. A label filter then works as
// INCLUDE_LABEL does. A file filter then removes the entries that have a label that no item names, and shares those
// without a label.

// "Label"
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string EXCLUDE_LABEL;
// "FileLabel"
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string EXCLUDE_FILES_WITH_LABEL;
// "IncludeLabels"
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string INCLUDE_LABEL;
// "IncludeFilesWithLabel"
PROJECT_SHARING_PROFILES_EXPORT extern const std::u16string INCLUDE_FILES_WITH_LABEL;

}  // namespace project::sharing::profiles
