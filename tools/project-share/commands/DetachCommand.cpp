#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "commands/Marks.h"
#include "folder_host/files/Path.h"
#include "folder_host/share/Twins.h"
#include "folder_host/store/Settlements.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/Entries.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::EffectiveLabels;
using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::FolderProject;
using folder_host::Followed;
using folder_host::isAtOrBelow;
using folder_host::LabelRecord;
using folder_host::LabelSources;
using folder_host::MarkKind;
using folder_host::Selection;

namespace {

// The entries that have the label or had it.
Selection carriersOf(const Followed& followed, const EntryTable& table, const LabelRecord& label) {
  const std::size_t index = indexOf(followed.has().sources(), label);
  const auto has = [&](const folder_host::LabelSet& set) { return std::binary_search(set.begin(), set.end(), index); };
  Selection carrying(table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    const auto differs = followed.differing().find(i);
    carrying[i] = has(followed.has().of(i)) || (differs != followed.differing().end() && has(differs->second.labels));
  }
  return carrying;
}

// Whoever detaches the label from a file says that it may be shared, with what it holds, even where that, or its name,
// is what the label holds back elsewhere. Gives those of the paths for which there is such a place, and their digests.
// Only the named files can be settled, so only they are compared with what carries the label.
std::map<std::string, std::string> twinsSettledAmong(const FolderProject& project, const EntryTable& table,
                                                     const Selection& carrying, const Paths& paths) {
  const auto tops = setOf(paths);
  Selection others(table.size()), named(table.size());
  for (std::size_t i = 0; i < table.size(); ++i) others[i] = carrying[i] && !isAtOrBelow(table[i].path, tops);
  for (const std::string& path : paths) {
    const auto entry = table.find(path);
    if (entry && table[*entry].kind == EntryKind::file) named[*entry] = true;
  }
  std::map<std::string, std::string> digests;
  for (const auto& twins : twinsAmong(project.root(), table, named, others)) {
    for (const std::size_t entry : twins.shared) digests[table[entry].path] = twins.digest;
  }
  for (const auto& leftover : leftoversAmong(table, named, others, others)) {
    const Entry& entry = table[leftover.entry];
    if (digests.count(entry.path) == 0) digests[entry.path] = digestOf(project.root(), entry);
  }
  // What cannot be read cannot be settled: nobody knows of which content it would be said.
  for (auto one = digests.begin(); one != digests.end();) one = one->second.empty() ? digests.erase(one) : ++one;
  return digests;
}

// What detaching a label did.
struct Detached {
  std::size_t removed = 0;
  Paths excepted;                            // what lies above them, or a rule, would still give it to them
  Paths idle;                                // exceptions that had nothing left to except from
  std::map<std::string, std::size_t> below;  // on how many entries below the label still is, by where it comes from
};

// Somebody else's folder may hold what is not in this one, and the mark may be all that holds it back there.
void requireHere(const FolderProject& project, const LabelRecord& label, const EntryTable& table, const Paths& marked) {
  for (const std::string& path : marked) {
    if (!project.address() || path.empty() || table.find(path)) continue;
    throw Refusal(
        refusals::PATH_NOT_HERE,
        fmt::format("nothing is at {} in this folder, but somebody else's may have it, with {}; to take that "
                    "off all the same: {}",
                    inQuotes(path), inQuotes(nameOf(label)),
                    commandOf({"label", "detach", nameOf(label), fromHere(project.root(), path)}, "--not-here")));
  }
}

// After it none of the entries carries the label.
Detached takeMarks(const FolderProject& project, const LabelRecord& label, const EntryTable& table, const Paths& paths,
                   bool alsoNotHere) {
  Detached result;
  const LabelSources before(project.labels());
  LabelSources after = before;
  const std::size_t index = indexOf(before, label);
  Paths removed;
  for (const std::string& path : paths) {
    const auto mark = after.markOn(path, index);
    if (!mark || mark == MarkKind::exception) continue;
    after.remove(path, index);
    removed.push_back(path);
  }
  if (!alsoNotHere) requireHere(project, label, table, removed);
  for (const std::string& path : paths) {
    const auto entry = table.find(path);
    const bool isFolder = entry && table[*entry].kind == EntryKind::folder;
    if (!entry || !after.sourceOf(path, isFolder, index).gives()) continue;
    after.put(path, index, MarkKind::exception);
    result.excepted.push_back(path);
  }
  result.idle = folder_host::exceptionsMadeIdle(before, after, index);
  result.removed = project.labels().detach(label.uuid, removed);
  project.labels().attach(label.uuid, result.excepted, MarkKind::exception);
  project.labels().detach(label.uuid, result.idle);
  return result;
}

// On how many entries below the paths the label still is, by where it comes from.
std::map<std::string, std::size_t> stillBelow(const EffectiveLabels& labels, const EntryTable& table,
                                              const LabelRecord& label, const Paths& paths) {
  const auto tops = setOf(paths);
  std::map<std::string, std::size_t> below;
  const std::size_t index = indexOf(labels.sources(), label);
  for (std::size_t i = 0; i < table.size(); ++i) {
    const folder_host::LabelSet set = labels.of(i);
    const Entry& entry = table[i];
    if (!std::binary_search(set.begin(), set.end(), index) || !isAtOrBelow(entry.path, tops)) continue;
    ++below[textOf(labels.sources().sourceOf(entry.path, entry.kind == EntryKind::folder, index), entry.path)];
  }
  return below;
}

void tellDetached(const LabelRecord& label, const Detached& detached, const std::map<std::string, std::string>& twins,
                  const Paths& settled) {
  const std::string name = inQuotes(nameOf(label));
  std::vector<std::string> sentences;
  Json object{{"label", jsonOf(label)}, {"removed", detached.removed}, {"settled", Json::array()}};
  object["excepted"] = jsonOfPaths(detached.excepted);
  object["exceptionsRemoved"] = jsonOfPaths(detached.idle);
  object["followed"] = jsonOfPaths(settled);
  if (detached.removed > 0)
    sentences.push_back(fmt::format("Detached {} from {}.", name, counted(detached.removed, "path", "paths")));
  if (!detached.excepted.empty()) {
    sentences.push_back(fmt::format("Excepted from {}: {}.", name, listOf(detached.excepted)));
  }
  if (!detached.idle.empty()) {
    sentences.push_back(
        fmt::format("Removed exceptions that have nothing left to except from: {}.", listOf(detached.idle)));
  }
  // That a file may be shared from now on is said for each, by its name: it is the part of the command that lets
  // something out.
  for (const auto& [path, digest] : twins) {
    object["settled"].push_back(Json::object());
    putPath(object["settled"].back(), "path", path);
    sentences.push_back(fmt::format("As far as {} is concerned, {} may be shared with the content that it has now.",
                                    name, inQuotes(path)));
  }
  std::size_t still = 0;
  std::string whence;
  for (const auto& [text, count] : detached.below) {
    still += count;
    whence += fmt::format("{}{} {}", whence.empty() ? "" : ", ", count, text);
  }
  object["below"] = still;
  if (still > 0)
    sentences.push_back(fmt::format("Below, it is still on {}: {}.", counted(still, "entry", "entries"), whence));
  // Another command may have taken it off meanwhile.
  if (sentences.empty() && settled.empty()) sentences.push_back(fmt::format("{} is on none of them any more.", name));
  if (!settled.empty()) sentences.push_back(settledText(label, settled));
  done(fmt::format("{}", fmt::join(sentences, " ")), object);
}

// One of the labels that are to come off the paths, and what that comes to.
struct Detaching {
  LabelRecord label;
  Selection carrying;
  std::map<std::string, std::string> twins;
  Paths settled;
};

Detaching detaching(const FolderProject& project, const LabelRecord& label, const EntryTable& table,
                    const Followed& followed, const Paths& paths) {
  Selection carrying = carriersOf(followed, table, label);
  auto twins = twinsSettledAmong(project, table, carrying, paths);
  return {label, std::move(carrying), std::move(twins), settledBy({paths, true, label.uuid, true}, followed, table)};
}

// Whether there is something to do for the label at the path.
bool isAt(const Detaching& one, const std::string& path, const EntryTable& table, const Followed& followed) {
  const auto& sources = followed.has().sources();
  const auto entry = table.find(path);
  const auto mark = sources.markOn(path, indexOf(sources, one.label));
  return (mark && mark != MarkKind::exception) || (entry && one.carrying[*entry]) || one.twins.count(path) != 0 ||
         !settledBy({{path}, true, one.label.uuid, true}, followed, table).empty();
}

Refusal notAttached(const FolderProject& project, const EntryTable& table, const Followed& followed,
                    const LabelRecord& label, const std::string& path, const std::string& named) {
  std::string hint;
  if (!table.find(path) && !path.empty()) {
    hint = isGlob(named) ? globHint("detach", nameOf(label), path, named) : entryHint(project.root(), table, path);
  }
  if (hint.empty()) {
    const bool isBelow = !stillBelow(followed.has(), table, label, {path}).empty();
    hint = fmt::format("{}; to see where it is: {}", isBelow ? ", only what lies below it" : "",
                       commandOf({"label", "files", nameOf(label)}));
  }
  return {refusals::LABEL_NOT_ATTACHED,
          fmt::format("{} does not carry {}{}", inQuotes(named), inQuotes(nameOf(label)), hint)};
}

// Nothing is done where one of the paths, or one of the labels, has nothing to do: what was mistyped would else go
// unnoticed, and the label would stay where it was to come off.
void requireCarried(const FolderProject& project, const EntryTable& table, const Followed& followed,
                    const std::vector<Detaching>& labels, const Paths& paths, const Paths& named) {
  std::vector<bool> isOnAny(labels.size());
  for (std::size_t p = 0; p < paths.size(); ++p) {
    bool isCarried = false;
    for (std::size_t l = 0; l < labels.size(); ++l) {
      if (!isAt(labels[l], paths[p], table, followed)) continue;
      isCarried = isOnAny[l] = true;
    }
    if (!isCarried) throw notAttached(project, table, followed, labels.front().label, paths[p], named[p]);
  }
  for (std::size_t l = 0; l < labels.size(); ++l) {
    if (!isOnAny[l]) throw notAttached(project, table, followed, labels[l].label, paths.front(), named.front());
  }
}

}  // namespace

void detachLabels(const LabelWords& words, const Paths& named) {
  const FolderProject project = openProject();
  const std::vector<LabelRecord> labels = labelsNamed(project, words, named);
  const Table table = tableOf(project);
  Paths paths;
  for (const std::string& one : named) paths.push_back(project.locate(one));
  const auto followed = project.followed(table);
  std::vector<Detaching> all;
  all.reserve(labels.size());
  for (const LabelRecord& label : labels) all.push_back(detaching(project, label, *table, *followed, paths));
  requireCarried(project, *table, *followed, all, paths, named);
  const auto detached = edit(project, [&] {
    project.note(followed->openAt(paths, true), true);
    // Both in one scope: a label that came off while nothing was settled would have the next share refused for what was
    // just allowed.
    folder_host::Settlements settlements(*project.metadata());
    std::vector<Detached> results;
    for (const Detaching& one : all) {
      for (const auto& [path, digest] : one.twins) settlements.settle(path, one.label.uuid, digest);
      results.push_back(takeMarks(project, one.label, *table, paths, words.notHere));
      results.back().below = stillBelow(EffectiveLabels(*table, project.labels()), *table, one.label, paths);
    }
    return results;
  });
  // Label by label: should one fail, what is remembered of the others only holds back more.
  for (const LabelRecord& label : labels) project.remember(table, {paths, true, label.uuid, true});
  for (std::size_t i = 0; i < all.size(); ++i) tellDetached(all[i].label, detached[i], all[i].twins, all[i].settled);
}

}  // namespace project_share
