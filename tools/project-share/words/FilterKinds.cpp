#include "words/FilterKinds.h"

#include <algorithm>

#include "folder_host/text/Utf.h"
#include "project/sharing/profiles/ExportStrategyItem.h"
#include "words/Names.h"

namespace project_share {

const std::vector<FilterKind>& filterKinds() {
  namespace profiles = project::sharing::profiles;
  static const std::vector<FilterKind> all{
      {profiles::EXCLUDE_FILES_WITH_LABEL, "drop-files", "files and folders with a listed label are held back", true,
       true},
      {profiles::INCLUDE_FILES_WITH_LABEL, "keep-files",
       "files and folders without a label, or with one that is not listed, are held back", true, false},
      {profiles::EXCLUDE_LABEL, "drop-labels", "listed labels are removed, unless they are protected", false, true},
      {profiles::INCLUDE_LABEL, "keep-labels", "labels that are not listed are removed, unless they are protected",
       false, false},
  };
  return all;
}

// It is found: the command line takes no other words.
const FilterKind& kindNamed(const std::string& word) {
  const auto is = [&](const FilterKind& kind) { return kind.word == word; };
  return *std::find_if(filterKinds().begin(), filterKinds().end(), is);
}

std::u16string textOfKind(const std::string& word) {
  for (const FilterKind& kind : filterKinds()) {
    if (kind.word == word) return kind.text;
  }
  return folder_host::fromBytes(word);
}

// A kind that a newer version has stored is shown by its stored name: to pass over it would be to hide a rule from
// whoever reads the profile.
FilterKind kindOf(const std::u16string& text) {
  for (const FilterKind& kind : filterKinds()) {
    if (kind.text == text) return kind;
  }
  return {text, inQuotes(text), "this version does not know what it does", false, false};
}

bool isKnownKind(const std::u16string& text) {
  const auto is = [&](const FilterKind& kind) { return kind.text == text; };
  return std::any_of(filterKinds().begin(), filterKinds().end(), is);
}

}  // namespace project_share
