#include "Mending.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include "Lookup.h"
#include "Output.h"
#include "folder_host/Descriptor.h"
#include "folder_host/Shown.h"

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

// What is shown in another way than it is typed would name something else.
bool isTyped(const std::string& word) { return folder_host::shown(word) == word; }

}  // namespace

std::string commandOf(const std::vector<std::string>& words, const std::string& option) {
  if (!std::all_of(words.begin(), words.end(), isTyped)) {
    return fmt::format("project-share {}, with UUIDs, and paths by --stdin -0: a name cannot be typed as it looks",
                       fmt::join(words.begin(), words.begin() + 2, " "));
  }
  std::string command = "project-share";
  if (manner().trusting) command += " --trust";
  if (!manner().folder.empty()) command += " -C " + shellWord(manner().folder);
  bool endsOptions = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i == 2 && !option.empty()) command += " " + option;
    if (!endsOptions && !words[i].empty() && words[i].front() == '-') endsOptions = (command += " --", true);
    command += " " + shellWord(words[i]);
  }
  return command;
}

std::string fromHere(const std::string& root, const std::string& path) {
  std::error_code error;
  if (std::filesystem::current_path(error) == root) return path;
  return folder_host::joined(root == "/" ? "" : root, path);
}

Mending::Mending(const Filters& filters, const folder_host::WorkingCopy& copy) : copy_(copy) {
  std::set<std::pair<std::u16string, std::u16string>> dropped;
  for (const auto& filter : filters) {
    keeps_ = keeps_ || filter->getType() == profiles::INCLUDE_FILES_WITH_LABEL;
    if (filter->getType() != profiles::EXCLUDE_FILES_WITH_LABEL) continue;
    for (const auto& item : filter->getItems()) dropped.emplace(item.category, item.labelUUID);
  }
  for (LabelRecord& label : copy.labels().list()) {
    if (dropped.count({label.categoryUUID, label.uuid}) != 0) dropped_.push_back(label);
    if (keeps_) labels_.emplace(label.uuid, std::move(label));
  }
}

std::string Mending::commandFor(const char* action, const LabelRecord& label, const Paths& paths) const {
  std::vector<std::string> words{"label", action, nameOf(label)};
  for (const std::string& path : paths) {
    words.push_back(fromHere(copy_.root(), path));
  }
  if (std::all_of(words.begin(), words.end(), isTyped)) return commandOf(words);
  return std::string(action) +
         " the label by its UUID and the path by --stdin -0, as they cannot be typed as they look";
}

std::string Mending::attach(const LabelRecord& label, const Paths& paths) const {
  return commandFor("attach", label, paths);
}

std::string Mending::detach(const LabelRecord& label, const Paths& paths) const {
  return commandFor("detach", label, paths);
}

std::string Mending::detachFolderOnly(const LabelRecord& label, const std::string& path) const {
  return commandOf({"label", "detach", nameOf(label), fromHere(copy_.root(), path)}, "--folder-only");
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
  std::string commands;
  for (const auto& carried : copy_.labels().labelsOf(paths.front())) {
    const auto label = labels_.find(carried.getUUID());
    if (label != labels_.end()) commands += (commands.empty() ? "" : " && ") + detach(label->second, paths);
  }
  return commands.empty() ? "move it out of the project" : "hold it back: " + commands;
}

}  // namespace project_share
