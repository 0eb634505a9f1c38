#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "folder_host/store/History.h"
#include "folder_host/store/LabelStore.h"
#include "output/Json.h"

// How an edit of the log is told.
namespace project_share {

// One thing that an edit added or removed; what it changed is removed as it was and added as it is.
struct ChangeText {
  bool isAdded;
  std::string kind;  // "mark", "exception", "rule", "label", "category", "profile", "filter", "filter label" ...
  std::string text;  // "mark audience/internal on 'drafts' and all below"
};

class EditTexts {
 public:
  // Things are named as they are named now or, where they are gone, as they were named last.
  EditTexts(const std::vector<folder_host::Edit>& edits, const std::vector<folder_host::LabelRecord>& labels);

  // In the order of the record.
  std::vector<ChangeText> changesOf(const folder_host::Edit& edit) const;
  // "+2 marks, -1 rule"; where nothing in the store was changed, "nothing in the store".
  std::string sumOf(const folder_host::Edit& edit) const;

 private:
  ChangeText textOf(const folder_host::Change& change) const;
  ChangeText textOfNode(const folder_host::Change& change) const;
  std::string labelNamed(const std::string& uuid) const;

  std::map<std::string, std::string> categories_, labels_;  // names, by UUIDs as they are stored
  std::map<std::u16string, std::string> profiles_;          // names, by UUIDs
};

// "anna@desk"
std::string authorOf(const std::string& user, const std::string& machine);
// "2026-11-22T13:03:05Z"
std::string timeText(std::int64_t milliseconds);

}  // namespace project_share
