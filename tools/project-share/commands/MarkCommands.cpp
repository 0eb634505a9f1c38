#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "commands/Marks.h"
#include "folder_host/files/Path.h"
#include "folder_host/labels/Following.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/Entries.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::EntryKind;
using folder_host::EntryTable;
using folder_host::FolderProject;
using folder_host::isAtOrBelow;
using folder_host::LabelRecord;
using folder_host::LabelSources;
using folder_host::MarkKind;

namespace {

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
// Of what is attached to them, the first of the labels is told in a hint; without one there is none.
Paths entriesNamed(const FolderProject& project, const EntryTable& table, const Paths& named, bool folderOnly,
                   const std::string& label = {}) {
  Paths paths;
  for (const std::string& one : named) {
    std::string path = project.locate(one);
    // A label on a path that is no entry would hold nothing back, and look as if it did.
    if (path.empty() && folderOnly) {
      throw Refusal(folder_host::errors::PATH_NOT_AN_ENTRY,
                    "the project's folder takes a label with all below it alone; leave out --folder-only");
    }
    if (!table.find(path) && !path.empty()) {
      if (label.empty() || !isGlob(one)) throw noEntry(project.root(), table, path, one);
      throw Refusal(folder_host::errors::PATH_NOT_AN_ENTRY,
                    fmt::format("there is no {}{}", inQuotes(one), globHint("attach", label, path, one)));
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

// What attaching one label did.
struct Attached {
  std::size_t added = 0;
  Paths exceptions;  // below
};

Attached attachOne(const FolderProject& project, const LabelRecord& label, const Paths& paths,
                   const AttachWords& words) {
  Attached result;
  result.added = putMarks(project, label, paths, words.folderOnly);
  const LabelSources sources(project.labels());
  if (!words.folderOnly) result.exceptions = exceptionsBelow(sources, indexOf(sources, label), paths);
  if (words.noExceptions) project.labels().detach(label.uuid, result.exceptions);
  return result;
}

// At the paths and, unless they alone are meant, below.
std::size_t entriesAt(const EntryTable& table, const Paths& paths, bool folderOnly) {
  const auto tops = setOf(paths);
  std::size_t entries = paths.size();
  for (std::size_t i = 0; i < table.size() && !folderOnly; ++i) {
    entries += tops.count(table[i].path) == 0 && isAtOrBelow(table[i].path, tops) ? 1U : 0U;
  }
  return entries;
}

struct AttachedTo {
  Paths paths, settled;
  std::size_t entries;
  bool isCreated;
};

void tellAttached(const LabelRecord& label, const Attached& attached, const AttachedTo& to, const AttachWords& words) {
  const std::size_t paths = to.paths.size();
  const std::string created =
      to.isCreated ? fmt::format("Created label {}{}. ", inQuotes(nameOf(label)), uuidBehind(label.uuid)) : "";
  std::string text =
      fmt::format("{}Attached {} to {}", created, inQuotes(nameOf(label)), counted(attached.added, "path", "paths"));
  if (attached.added < paths) text += fmt::format(" ({} had it already)", paths - attached.added);
  if (to.entries > paths) text += fmt::format(", with {} below", counted(to.entries - paths, "entry", "entries"));
  text += ".";
  if (!attached.exceptions.empty()) {
    text += fmt::format(words.noExceptions ? " Removed exceptions below: {}."
                                           : " Exceptions below stay, unless --no-exceptions removes them: {}.",
                        listOf(attached.exceptions));
  }
  if (!to.settled.empty()) text += " " + settledText(label, to.settled);
  done(text, {{"label", jsonOf(label)},
              {"created", to.isCreated},
              {"paths", paths},
              {"entries", to.entries},
              {"added", attached.added},
              {words.noExceptions ? "exceptionsRemoved" : "exceptions", jsonOfPaths(attached.exceptions)},
              {"followed", jsonOfPaths(to.settled)}});
}

}  // namespace

std::vector<std::string> readPaths(char end) {
  std::ios::sync_with_stdio(false);  // else a read that fails looks like the end
  std::vector<std::string> paths;
  for (std::string path; std::getline(std::cin, path, end);) {
    // An empty line, such as a list often ends with, names nothing.
    if (!path.empty()) paths.push_back(path);
  }
  if (std::cin.bad())
    throw Refusal(refusals::INPUT_FAILED, "standard input cannot be read to its end, and nothing was done; try again");
  return paths;
}

void attachLabels(const LabelWords& labelWords, const Paths& named, const AttachWords& words) {
  const FolderProject project = openProject();
  std::vector<LabelRecord> labels = labelsNamed(project, labelWords, named);
  const Table table = tableOf(project);
  AttachedTo to{entriesNamed(project, *table, named, words.folderOnly, nameOf(labels.front())), {}, 0, false};
  to.entries = entriesAt(*table, to.paths, words.folderOnly);
  const auto followed = project.followed(table);
  const std::vector<LabelRecord> before = labels;
  const auto attached = edit(project, [&] {
    project.note(followed->openAt(to.paths, !words.folderOnly), true);
    createNamed(project, labels);
    std::vector<Attached> all;
    all.reserve(labels.size());
    for (const LabelRecord& label : labels) all.push_back(attachOne(project, label, to.paths, words));
    return all;
  });
  // Label by label: should one fail, what is remembered of the others only holds back more.
  for (const LabelRecord& label : labels) project.remember(table, {to.paths, !words.folderOnly, label.uuid, false});
  for (std::size_t i = 0; i < labels.size(); ++i) {
    to.isCreated = before[i].uuid.empty();
    to.settled = settledBy({to.paths, !words.folderOnly, labels[i].uuid, false}, *followed, *table);
    tellAttached(labels[i], attached[i], to, words);
  }
  noteLinks(project, labels.front(), *table, to.paths);
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
    auto made = folder_host::followIn(*followed, *table, scope, project.labels(), project.address().has_value());
    project.note(followed->openAt(scope, true), true);
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

}  // namespace project_share
