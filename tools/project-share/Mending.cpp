#include "Mending.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "Lookup.h"
#include "Output.h"
#include "folder_host/Descriptor.h"

namespace project_share {

using folder_host::LabelRecord;

namespace {

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("/._-+@%:,=").find(c) != std::string_view::npos;
}

// As a POSIX shell takes it.
std::string shellWord(const std::string& word) {
  if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? "'\"'\"'" : std::string(1, c);
  return quoted + "'";
}

const LabelRecord* find(const std::vector<LabelRecord>& labels, const profiles::ExportStrategyItem& item) {
  const auto is = [&](const LabelRecord& label) {
    return label.uuid == item.labelUUID && label.categoryUUID == item.category;
  };
  const auto found = std::find_if(labels.begin(), labels.end(), is);
  return found == labels.end() ? nullptr : &*found;
}

}  // namespace

std::string commandOf(const std::vector<std::string>& words) {
  std::string command = "project-share";
  if (manner().trusting) command += " --trust";
  if (!manner().folder.empty()) command += " -C " + shellWord(manner().folder);
  bool endsOptions = false;
  for (const std::string& word : words) {
    if (!endsOptions && !word.empty() && word.front() == '-') endsOptions = (command += " --", true);
    command += " " + shellWord(word);
  }
  return command;
}

Mending::Mending(const Filters& filters, const folder_host::WorkingCopy& copy) : copy_(copy) {
  std::error_code error;
  atRoot_ = std::filesystem::current_path(error) == copy.root();
  const std::vector<LabelRecord> labels = copy.labels().list();
  for (const auto& filter : filters) {
    keeps_ = keeps_ || filter->getType() == profiles::INCLUDE_FILES_WITH_LABEL;
    if (filter->getType() != profiles::EXCLUDE_FILES_WITH_LABEL) continue;
    for (const auto& item : filter->getItems()) {
      const LabelRecord* label = find(labels, item);
      if (label != nullptr) dropped_.push_back(*label);
    }
  }
}

// The paths as they are found from the working directory.
std::string Mending::commandFor(const char* action, const LabelRecord& label, const Paths& paths) const {
  std::vector<std::string> words{"label", action, nameOf(label)};
  for (const std::string& path : paths) {
    if (!atRoot_) {
      words.push_back(folder_host::joined(copy_.root() == "/" ? "" : copy_.root(), path));
    } else {
      words.push_back(path);
    }
  }
  return commandOf(words);
}

std::string Mending::attach(const LabelRecord& label, const Paths& paths) const {
  return commandFor("attach", label, paths);
}

std::string Mending::detach(const LabelRecord& label, const Paths& paths) const {
  return commandFor("detach", label, paths);
}

std::vector<std::u16string> Mending::droppingLabelsOf(const std::string& path) const {
  std::vector<std::u16string> uuids;
  for (const auto& label : copy_.labels().labelsOf(path)) {
    const std::u16string uuid = label.getUUID();
    const auto is = [&](const LabelRecord& record) { return record.uuid == uuid; };
    if (std::any_of(dropped_.begin(), dropped_.end(), is)) uuids.push_back(uuid);
  }
  return uuids;
}

std::string Mending::holdBack(const Paths& paths) const {
  if (!dropped_.empty()) return "hold it back: " + attach(dropped_.front(), paths);
  const auto labels = copy_.labels().labelsOf(paths.front());
  for (const LabelRecord& label : labels.empty() || !keeps_ ? std::vector<LabelRecord>() : copy_.labels().list()) {
    if (label.uuid == labels.front().getUUID()) return "hold it back: " + detach(label, paths);
  }
  return "move it out of the project";
}

}  // namespace project_share
