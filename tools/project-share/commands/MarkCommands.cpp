#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "folder_host/files/EntryTable.h"
#include "folder_host/files/Path.h"
#include "folder_host/labels/Following.h"
#include "folder_host/share/Twins.h"
#include "folder_host/store/Settlements.h"
#include "judgement/Mending.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/Labels.h"
#include "words/Names.h"

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
using folder_host::Listing;
using folder_host::MarkKind;
using folder_host::Selection;

namespace {

using Table = std::shared_ptr<const EntryTable>;

Table tableOf(const FolderProject& project) {
  return std::make_shared<const EntryTable>(std::make_shared<const Listing>(project.list()));
}

// Tells of words in the wrong order, where that is why there is no such label. Found by name or UUID once, and by UUID
// from then on: another program may rename the label before the edit.
LabelRecord namedLabel(const FolderProject& project, const std::string& word, const Paths& named) {
  const LabelIndex labels(project.labels().list());
  try {
    return labels.named(word);
  } catch (const Refusal& error) {
    if (std::none_of(named.begin(), named.end(), [&](const std::string& path) { return labels.hasName(path); })) throw;
    throw Refusal(error.identifier(), fmt::format("{} is no label; LABEL comes before PATH", inQuotes(word)));
  }
}

std::size_t indexOf(const LabelSources& sources, const LabelRecord& label) {
  const auto index = sources.find(label.uuid);
  if (!index) throw Refusal(folder_host::errors::LABEL_NOT_FOUND, "there is no such label any more");
  return *index;
}

std::set<std::string> setOf(const Paths& paths) { return {paths.begin(), paths.end()}; }

// Names, in quotes, as far as anyone reads them.
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

// What had the label under another name and is to have it no more, where the edit takes it off, or had it not; and what
// is lost with it. It is said for each, by its name, because it can let something out.
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

// One note for all links: a line each would bury what was done.
Risk linkNote(const FolderProject& project, const LabelRecord& label, const Paths& links) {
  const std::string more = links.size() == 1 ? "" : fmt::format(" (and {} more)", links.size() - 1);
  const std::string there = fromHere(project.root(), links.front()) + "/";
  Risk note{risks::LABEL_ON_LINK.identifier, links.front(),
            fmt::format("{}{} is a link, and the label is about the link alone", inQuotes(links.front()), more)};
  note.mends.push_back({"for what it leads to", typedCommand({"label", "attach", nameOf(label), there})});
  note.labels = {label};
  return note;
}

void noteLinks(const FolderProject& project, const LabelRecord& label, const EntryTable& table, const Paths& paths) {
  Paths links;
  for (const std::string& path : paths) {
    const auto entry = table.find(path);
    if (entry && table[*entry].kind == EntryKind::link) links.push_back(path);
  }
  if (!links.empty() && !manner().quiet) printNotes({linkNote(project, label, links)});
}

// The paths, each once, that are entries of the project or, unless a label is to be about single entries, its folder.
Paths entriesNamed(const FolderProject& project, const EntryTable& table, const Paths& named, bool folderOnly) {
  Paths paths;
  for (const std::string& one : named) {
    std::string path = project.locate(one);
    // A label on a path that is no entry would hold nothing back, and look as if it did.
    if (!table.find(path) && (!path.empty() || folderOnly)) {
      throw Refusal(
          folder_host::errors::PATH_NOT_AN_ENTRY,
          fmt::format("{} is no file, folder or link of the project to which a label can be attached", inQuotes(one)));
    }
    paths.push_back(std::move(path));
  }
  std::sort(paths.begin(), paths.end());
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  return paths;
}

// Puts the marks where they are not yet. Gives how many there were to put.
// An entry's own label beside an exception of what lies below would be two marks on one path: who wants that has to say
// which of both is meant.
std::size_t putMarks(const FolderProject& project, const LabelRecord& label, const Paths& paths, bool folderOnly) {
  const LabelSources sources(project.labels());
  const std::size_t index = indexOf(sources, label);
  Paths open;
  for (const std::string& path : paths) {
    const auto mark = sources.markOn(path, index);
    if (folderOnly && mark == MarkKind::exception) {
      throw Refusal(refusals::EXCEPTION_IN_THE_WAY,
                    fmt::format("{} is excepted from {} with all below it; attach the label without --folder-only",
                                inQuotes(path), inQuotes(nameOf(label))));
    }
    if (!(folderOnly && mark == MarkKind::reach)) open.push_back(path);
  }
  return project.labels().attach(label.uuid, open, folderOnly ? MarkKind::entry : MarkKind::reach);
}

// The label's exceptions below the paths.
Paths exceptionsBelow(const LabelSources& sources, std::size_t label, const Paths& paths) {
  const auto tops = setOf(paths);
  Paths exceptions;
  for (const auto& [place, kind] : sources.marks()) {
    const bool isBelow = tops.count(place.first) == 0 && isAtOrBelow(place.first, tops);
    if (kind == MarkKind::exception && place.second == label && isBelow) {
      exceptions.push_back(place.first);
    }
  }
  return exceptions;
}

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

// After it none of the entries carries the label.
Detached takeMarks(const FolderProject& project, const LabelRecord& label, const EntryTable& table,
                   const Paths& paths) {
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

}  // namespace

std::vector<std::string> readPaths(char end) {
  std::ios::sync_with_stdio(false);  // else a read that fails looks like the end
  std::vector<std::string> paths;
  for (std::string path; std::getline(std::cin, path, end);) {
    // An empty line, such as a list often ends with, names nothing.
    if (!path.empty()) paths.push_back(path);
  }
  if (std::cin.bad()) throw Refusal(refusals::INPUT_FAILED, "standard input cannot be read to its end");
  return paths;
}

// These commands read the disk before they lock the store: however long that takes, no other command waits for it. What
// changes in between could as well have changed a moment later. A file that is removed leaves its label on a missing
// path, one that gets another content is not the one that may be shared. The label is known by its UUID: under another
// name it is the same, and once deleted it is refused.

void attachLabel(const std::string& word, const std::vector<std::string>& named, const AttachWords& words) {
  const FolderProject project = openProject();
  const LabelRecord label = namedLabel(project, word, named);
  const Table table = tableOf(project);
  const Paths paths = entriesNamed(project, *table, named, words.folderOnly);
  const folder_host::Settled settling{paths, !words.folderOnly, label.uuid, false};
  const Paths settled = settledBy(settling, *project.followed(table), *table);
  const auto [added, exceptions] = edit(project, [&] {
    const std::size_t count = putMarks(project, label, paths, words.folderOnly);
    const LabelSources sources(project.labels());
    Paths below = words.folderOnly ? Paths() : exceptionsBelow(sources, indexOf(sources, label), paths);
    if (words.noExceptions) project.labels().detach(label.uuid, below);
    return std::pair(count, std::move(below));
  });
  project.remember(table, settling);

  const auto tops = setOf(paths);
  std::size_t entries = paths.size();
  for (std::size_t i = 0; i < table->size() && !words.folderOnly; ++i) {
    const std::string& path = (*table)[i].path;
    entries += tops.count(path) == 0 && isAtOrBelow(path, tops) ? 1U : 0U;
  }
  std::string text = fmt::format("Attached {} to {}", inQuotes(nameOf(label)), counted(added, "path", "paths"));
  if (added < paths.size()) text += fmt::format(" ({} had it already)", paths.size() - added);
  if (entries > paths.size())
    text += fmt::format(", with {} below", counted(entries - paths.size(), "entry", "entries"));
  text += ".";
  if (!exceptions.empty()) {
    text += fmt::format(words.noExceptions ? " Removed exceptions below: {}."
                                           : " Exceptions below stay, unless --no-exceptions removes them: {}.",
                        listOf(exceptions));
  }
  if (!settled.empty()) text += " " + settledText(label, settled);
  done(text, {{"label", jsonOf(label)},
              {"paths", paths.size()},
              {"entries", entries},
              {"added", added},
              {words.noExceptions ? "exceptionsRemoved" : "exceptions", jsonOfPaths(exceptions)},
              {"followed", jsonOfPaths(settled)}});
  noteLinks(project, label, *table, paths);
}

void detachLabel(const std::string& word, const std::vector<std::string>& named) {
  const FolderProject project = openProject();
  const LabelRecord label = namedLabel(project, word, named);
  const Table table = tableOf(project);
  Paths paths;
  for (const std::string& one : named) paths.push_back(project.locate(one));
  const auto followed = project.followed(table);
  const Selection carrying = carriersOf(*followed, *table, label);
  const auto twins = twinsSettledAmong(project, *table, carrying, paths);
  for (std::size_t i = 0; i < named.size(); ++i) {
    // Nothing is done where one of the paths has nothing to do: a path that was mistyped would else go unnoticed, and
    // the label would stay where it was to come off.
    const auto entry = table->find(paths[i]);
    const auto mark = followed->has().sources().markOn(paths[i], indexOf(followed->has().sources(), label));
    const bool isOn = (mark && mark != MarkKind::exception) || (entry && carrying[*entry]);
    if (isOn || twins.count(paths[i]) != 0 ||
        !settledBy({{paths[i]}, true, label.uuid, true}, *followed, *table).empty())
      continue;
    const bool isBelow = !stillBelow(followed->has(), *table, label, {paths[i]}).empty();
    throw Refusal(refusals::LABEL_NOT_ATTACHED,
                  fmt::format("{} does not carry that label{}", inQuotes(named[i]),
                              isBelow ? ", only what lies below it; to see where it is: " +
                                            commandOf({"label", "files", nameOf(label)})
                                      : ""));
  }
  const Detached detached = edit(project, [&] {
    // Both in one scope: a label that came off while nothing was settled would have the next share refused for what was
    // just allowed.
    folder_host::Settlements settlements(*project.metadata());
    for (const auto& [path, digest] : twins) settlements.settle(path, label.uuid, digest);
    Detached result = takeMarks(project, label, *table, paths);
    result.below = stillBelow(EffectiveLabels(*table, project.labels()), *table, label, paths);
    return result;
  });
  project.remember(table, {paths, true, label.uuid, true});
  tellDetached(label, detached, twins, settledBy({paths, true, label.uuid, true}, *followed, *table));
}

void followLabels(const std::vector<std::string>& named) {
  const FolderProject project = openProject();
  const Table table = tableOf(project);
  const Paths scope = named.empty() ? Paths{""} : entriesNamed(project, *table, named, false);
  const auto [moves, open] = edit(project, [&] {
    const auto followed = project.followed(table);
    if (followed->memory().isUnreadable) {
      throw Refusal(
          folder_host::errors::MEMORY_FAILED,
          "what was noted of labelled entries is damaged, and nothing is known that could be followed; attach "
          "labels instead");
    }
    auto made = folder_host::followIn(*followed, *table, scope, project.labels());
    const auto& differing = followed->differing();
    const auto isIn = [&, tops = setOf(scope)](const auto& one) { return isAtOrBelow((*table)[one.first].path, tops); };
    const auto left = static_cast<std::size_t>(std::count_if(differing.begin(), differing.end(), isIn)) - made.size();
    return std::pair(std::move(made), left);
  });
  Paths paths;
  Json object{{"followed", Json::array()}};
  for (const auto& [path, from] : moves) {
    paths.push_back(path);
    object["followed"].push_back(Json::object());
    putPath(object["followed"].back(), "path", path);
    putPath(object["followed"].back(), "from", from);
  }
  project.remember(table, {paths, false, {}, false});
  object["open"] = open;
  const char* const left =
      "Entries whose place gives them labels that they did not have keep these labels; label detach takes them off";
  if (moves.empty()) {
    return done(open == 0 ? "Nothing there had other labels than it has." : fmt::format("{}.", left), object);
  }
  const std::string text = fmt::format(
      "Gave {} the labels that it had as {}{}.", inQuotes(moves.front().first), inQuotes(moves.front().second),
      moves.size() == 1 ? "" : ", and likewise " + counted(moves.size() - 1, "other entry", "other entries"));
  done(open == 0 ? text : fmt::format("{} {}.", text, left), object);
}

void callMissing(const std::vector<std::string>& named) {
  const FolderProject project = openProject();
  const Table table = tableOf(project);
  const auto followed = project.followed(table);
  Paths paths;
  for (const std::string& one : named) {
    paths.push_back(project.locate(one));
    const auto isIt = [&](const Followed::Lost& lost) { return isAtOrBelow(lost.path, {paths.back()}); };
    if (std::any_of(followed->lost().begin(), followed->lost().end(), isIt)) continue;
    throw Refusal(refusals::LABEL_NOT_MISSING,
                  fmt::format("nothing that carried a label is missing at {}", inQuotes(one)));
  }
  project.rememberAsMeant(table, paths);
  done(fmt::format("Noted that nothing is meant to be at {}.", listOf(paths)), {{"missing", jsonOfPaths(paths)}});
}

}  // namespace project_share
