#include "commands/Marks.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/files/Path.h"
#include "words/Labels.h"
#include "words/Looks.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::EntryTable;
using folder_host::FolderProject;
using folder_host::Followed;
using folder_host::isAtOrBelow;
using folder_host::LabelRecord;
using folder_host::LabelSources;

namespace {

LabelRecord labelNamed(const LabelIndex& labels, const std::string& word, const LabelWords& words, const Paths& named) {
  if (words.create && !labels.isNamed(word)) {
    auto [category, name] = splitLabel(word);
    return {{}, std::move(name), {}, std::move(category)};
  }
  const auto isLabel = [&](const std::string& path) {
    return path.find('/') != std::string::npos && labels.isNamed(path);
  };
  if (!labels.isNamed(word) && std::any_of(named.begin(), named.end(), isLabel)) {
    throw Refusal(folder_host::errors::LABEL_NOT_FOUND,
                  fmt::format("{} is no label; LABEL comes before PATH", inQuotes(word)));
  }
  const bool isWhole = word.find('/') != std::string::npos;
  const bool isTold = words.canCreate && isWhole;
  return labels.named(word, isTold ? fmt::format("to create it: {}; ", commandOf({"label", "create", word})) : "");
}

}  // namespace

std::vector<LabelRecord> labelsNamed(const FolderProject& project, const LabelWords& words, const Paths& named) {
  const LabelIndex labels(project.labels().list());
  std::vector<LabelRecord> records;
  for (const std::string& word : words.isList ? labels.split(words.labels) : words.labels) {
    LabelRecord record = labelNamed(labels, word, words, named);
    const auto isSame = [&](const LabelRecord& one) {
      return one.uuid == record.uuid && nameOf(one) == nameOf(record);
    };
    if (std::none_of(records.begin(), records.end(), isSame)) records.push_back(std::move(record));
  }
  return records;
}

void createNamed(const FolderProject& project, std::vector<LabelRecord>& labels) {
  LabelLooks looks(project.labels().list());
  for (LabelRecord& label : labels) {
    if (!label.uuid.empty()) continue;
    looks.add(label.categoryName, label.name);
    label = project.labels().create(label.categoryName, label.name);
  }
}

std::size_t indexOf(const LabelSources& sources, const LabelRecord& label) {
  const auto index = sources.find(label.uuid);
  if (!index)
    throw Refusal(folder_host::errors::LABEL_NOT_FOUND,
                  "the label was deleted meanwhile; create it again, or name another one");
  return *index;
}

std::set<std::string> setOf(const Paths& paths) { return {paths.begin(), paths.end()}; }

std::string listOf(const Paths& paths) {
  constexpr std::size_t MOST = 20;
  std::string names;
  for (std::size_t i = 0; i < std::min(paths.size(), MOST); ++i) names += (i == 0 ? "" : ", ") + inQuotes(paths[i]);
  return paths.size() <= MOST ? names : fmt::format("{} and {} more", names, paths.size() - MOST);
}

Json jsonOfPaths(const Paths& paths) {
  Json all = Json::array();
  for (const std::string& path : paths) {
    all.push_back(Json::object());
    putPath(all.back(), "path", path);
  }
  return all;
}

Paths settledBy(const folder_host::Settled& edit, const Followed& followed, const EntryTable& table) {
  const auto tops = setOf(edit.paths);
  const auto label = followed.has().sources().find(edit.label);
  const auto holds = [&](const folder_host::LabelSet& set) {
    return label && std::binary_search(set.begin(), set.end(), *label);
  };
  const auto isMeant = [&](const std::string& path) {
    return edit.withAllBelow ? isAtOrBelow(path, tops) : tops.count(path) != 0;
  };
  Paths settled;
  for (const auto& [entry, had] : followed.differing()) {
    const bool isOpen = had.from.empty() || holds(had.labels) == edit.isTakenOff;
    if (isOpen && isMeant(table[entry].path)) settled.push_back(table[entry].path);
  }
  for (const Followed::Lost& lost : followed.lost()) {
    if (edit.isTakenOff && !lost.isMarked && holds(lost.labels) && isMeant(lost.path)) settled.push_back(lost.path);
  }
  return settled;
}

std::string settledText(const LabelRecord& label, const Paths& settled) {
  return fmt::format("As far as {} is concerned, what {} had under another name does not count any more.",
                     inQuotes(nameOf(label)), listOf(settled));
}

}  // namespace project_share
