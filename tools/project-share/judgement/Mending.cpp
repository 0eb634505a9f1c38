#include "judgement/Mending.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>

#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::LabelRecord;

Mending::Mending(const Filters& filters, const folder_host::WorkingCopy& copy) : copy_(copy) {
  std::set<std::pair<std::u16string, std::u16string>> dropped;
  for (const auto& filter : filters) {
    keeps_ = keeps_ || keepsFiles(filter->getType());
    if (!dropsFiles(filter->getType())) continue;
    for (const auto& item : filter->getItems()) dropped.emplace(item.category, item.labelUUID);
  }
  for (LabelRecord& label : copy.labels().list()) {
    if (dropped.count({label.categoryUUID, label.uuid}) != 0) dropped_.push_back(label);
    if (keeps_) labels_.emplace(label.uuid, std::move(label));
  }
}

// A command is told only where it can be typed as it looks: with a character that is not seen, it would name another
// label or path.
Command Mending::commandFor(const char* action, const std::string& label, const Paths& paths) const {
  std::vector<std::string> words{"label", action, label};
  for (const std::string& path : paths) {
    words.push_back(fromHere(copy_.root(), path));
  }
  Command command = typedCommand(words);
  if (command.isTyped) return command;
  return {
      std::string(action) + " the label by its UUID and the path by --stdin -0, as they cannot be typed as they look",
      false};
}

Command Mending::attach(const LabelRecord& label, const Paths& paths) const { return attach(nameOf(label), paths); }

Command Mending::attach(const std::string& label, const Paths& paths) const {
  return commandFor("attach", label, paths);
}

Command Mending::detach(const LabelRecord& label, const Paths& paths) const {
  return commandFor("detach", nameOf(label), paths);
}

Command Mending::commandOn(const char* action, const std::string& path) const {
  const std::string word = fromHere(copy_.root(), path);
  if (isTyped(word)) return typedCommand({"label", action, word});
  return {std::string("label ") + action + " takes its path by --stdin -0, as it cannot be typed as it looks", false};
}

Command Mending::follow(const std::string& path) const { return commandOn("follow", path); }

namespace {

// A label of the one set that is not in the other.
std::optional<std::size_t> firstBeyond(const folder_host::LabelSet& one, const folder_host::LabelSet& other) {
  for (const std::size_t label : one) {
    if (!std::binary_search(other.begin(), other.end(), label)) return label;
  }
  return std::nullopt;
}

}  // namespace

// An edit of a label on the entry settles it as far as that label is concerned: what is too much is detached, and what
// is wanting attached.
Command Mending::change(std::size_t entry, const folder_host::LabelSet& from, const folder_host::LabelSet& to) const {
  const auto& labels = copy_.effective().sources().labels();
  const Paths paths{copy_.table()[entry].path};
  if (const auto label = firstBeyond(from, to)) return detach(labels[*label], paths);
  return attach(labels[firstBeyond(to, from).value()], paths);
}

Command Mending::settle(std::size_t entry) const {
  return change(entry, copy_.followed().differing().at(entry).labels, copy_.effective().of(entry));
}

Command Mending::restore(std::size_t entry) const {
  return change(entry, copy_.effective().of(entry), copy_.followed().differing().at(entry).labels);
}

Command Mending::callMissing(const std::string& path) const { return commandOn("missing", path); }

std::vector<std::u16string> Mending::droppingLabelsOf(std::size_t entry) const {
  const auto& sources = copy_.effective().sources();
  folder_host::LabelSet labels = copy_.effective().of(entry);
  const auto had = copy_.followed().differing().find(entry);
  if (had != copy_.followed().differing().end()) {
    labels.insert(labels.end(), had->second.labels.begin(), had->second.labels.end());
  }
  std::set<std::u16string> uuids;
  for (const std::size_t label : labels) {
    const std::u16string& uuid = sources.labels()[label].uuid;
    const auto is = [&](const LabelRecord& record) { return record.uuid == uuid; };
    if (std::any_of(dropped_.begin(), dropped_.end(), is)) uuids.insert(uuid);
  }
  return {uuids.begin(), uuids.end()};
}

// The command that is told has to work as it stands. Which label is meant nobody can know; the first by name holds the
// entry back as surely as any other.
Mend Mending::holdBack(const Paths& paths) const {
  if (!dropped_.empty()) return {"hold it back", attach(dropped_.front(), paths)};
  // A keep-files filter holds back what has no label, so an entry is held back when all of its labels are taken off.
  Command commands;
  const auto entry = copy_.table().find(paths.front());
  for (const auto& carried :
       entry ? copy_.effective().fileLabelsOf(*entry) : std::vector<project::management::FileLabel>()) {
    const auto label = labels_.find(carried.getUUID());
    if (label != labels_.end()) commands.append(detach(label->second, paths));
  }
  return commands.text.empty() ? Mend{"move it out of the project"} : Mend{"hold it back", commands};
}

}  // namespace project_share
