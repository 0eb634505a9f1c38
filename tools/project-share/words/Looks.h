#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "folder_host/store/LabelStore.h"

namespace project_share {

// Names, to be told from those that look like them (see folder_host::lookOf); the first of each look is remembered.
class Looks {
 public:
  // Gives the name that was added before and looks like this one, this one itself included.
  std::optional<std::string> add(std::u16string_view name);
  std::optional<std::string> add(const std::u16string& category, const std::u16string& name);

 private:
  std::optional<std::string> add(const std::string& look, const std::string& name);

  std::map<std::string, std::string> byLook_;
};

// The labels that a project has, and those that it is to get.
class LabelLooks {
 public:
  // Without the label that has the UUID `itself`.
  explicit LabelLooks(const std::vector<folder_host::LabelRecord>& labels, const std::u16string& itself = {});

  // Adds it, unless it looks like a label that is there, or its category like another one. Error: LABEL_NAME_TAKEN.
  void add(const std::u16string& category, const std::u16string& name);

 private:
  Looks labels_;
  Looks categories_;
};

}  // namespace project_share
