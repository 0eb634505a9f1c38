#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "folder_host/store/LabelStore.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "words/NameIndex.h"

namespace project_share {

namespace profiles = project::sharing::profiles;

// "audience/internal"
std::string nameOf(const folder_host::LabelRecord& label);

// As filters name it.
profiles::ExportStrategyItem itemOf(const folder_host::LabelRecord& label);

// CATEGORY and NAME, split at the first '/'. Error: LABEL_MALFORMED.
std::pair<std::u16string, std::u16string> splitLabel(const std::string& word);

// A label that a filter names; of one that is deleted the name is its UUID.
struct NamedLabel {
  std::string name;
  bool isDeleted;
};

// As it stands in a list: "audience/internal", "UUID  (deleted)".
std::string textOf(const NamedLabel& label);

// The labels of one moment, found by what people type and by what filters name. Pointers and references that it gives
// are good as long as it is there.
class LabelIndex {
 public:
  // The records as LabelStore::list() gives them.
  explicit LabelIndex(std::vector<folder_host::LabelRecord> records);

  const std::vector<folder_host::LabelRecord>& records() const noexcept { return records_; }

  // The label that the word means (see NameIndex): CATEGORY/NAME, NAME, a UUID or the beginning of one. Errors:
  // LABEL_NOT_FOUND, with `more` behind it; LABEL_AMBIGUOUS.
  const folder_host::LabelRecord& named(const std::string& word, const std::string& more = {}) const;

  // The words, each of them LABEL[,LABEL...], one by one. A name may hold a comma: a word that as a whole means a label
  // is not split. Error: LABEL_AMBIGUOUS where all its parts mean labels, too.
  std::vector<std::string> split(const std::vector<std::string>& words) const;

  // Whether the word means a label, or several.
  bool isNamed(const std::string& word) const { return !names_.find(word).empty(); }

  // None where there is no such label: it was deleted, or an item has it in another category.
  const folder_host::LabelRecord* find(const std::u16string& uuid) const;
  const folder_host::LabelRecord* find(const profiles::ExportStrategyItem& item) const;

  NamedLabel named(const profiles::ExportStrategyItem& item) const;
  // All that the filter names, sorted by name.
  std::vector<NamedLabel> namedBy(const profiles::ExportFilter& filter) const;

 private:
  void requireOneMeaning(const std::string& word, const std::vector<std::string>& parts) const;

  std::vector<folder_host::LabelRecord> records_;
  NameIndex names_;
  std::map<std::u16string, std::size_t> byUUID_;
};

}  // namespace project_share
