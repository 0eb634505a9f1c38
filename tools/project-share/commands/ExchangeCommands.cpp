#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <utility>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "exchange/Changes.h"
#include "exchange/Merging.h"
#include "exchange/ProjectText.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/EntryTable.h"
#include "folder_host/files/Place.h"
#include "folder_host/share/read/FirstBytes.h"
#include "output/Output.h"
#include "output/PrivateFile.h"
#include "settings/OpenProject.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::EntryTable;
using folder_host::FileId;
using folder_host::FolderProject;
using folder_host::MarkKind;

namespace {

template <class Act>
auto orExportFailed(const std::string& file, const Act& act) {
  return folder_host::attempt(refusals::EXPORT_FAILED, "cannot write the export", file, act);
}

Refusal takenName(const std::string& file) {
  return {refusals::EXPORT_EXISTS,
          fmt::format("something that is no export is at {}; choose another name", inQuotes(file))};
}

// The export that has the name, which is to be replaced; none where nothing has it. Whatever else is there stays.
std::optional<FileId> exportAt(const folder_host::Place& place, const std::string& file) {
  if (!folder_host::isTaken(place)) return {};
  if (!S_ISREG(statusIn(place.parent, place.name).st_mode)) throw takenName(file);
  const Descriptor there = openBeneath(place.parent, place.name, O_RDONLY | O_NONBLOCK);
  if (!folder_host::firstBytesTellExport(firstBytesOf(there))) throw takenName(file);
  return folder_host::idOf(statusOf(there));
}

void writeExport(const FolderProject& project, const std::string& text, const std::string& file) {
  folder_host::Place place = folder_host::placeOf(file);
  const FileId store = folder_host::idOf(statusIn(folder_host::openFolder(project.root()), folder_host::STORE_FOLDER));
  if (folder_host::liesIn(place, {store})) {
    throw Refusal(refusals::EXPORT_MISPLACED,
                  fmt::format("{} lies with the project's store, where nothing else belongs; choose another folder",
                              inQuotes(file)));
  }
  const std::optional<FileId> replaced = exportAt(place, file);
  PrivateFile content(std::move(place));
  content.put(text);
  content.finish();
  try {
    replaced ? content.replace(*replaced) : content.publish();
  } catch (const std::system_error& error) {
    if (error.code().value() == EEXIST) throw takenName(file);
    throw;
  }
}

// All of it, as long as it can be an export.
std::string inputOf(const Descriptor& input) {
  std::string text;
  std::array<char, 1U << 16U> bytes{};
  while (text.size() <= LONGEST_EXPORT) {
    const ssize_t length = folder_host::check(::read(input.get(), bytes.data(), bytes.size()));
    if (length == 0) break;
    text.append(bytes.data(), static_cast<std::size_t>(length));
  }
  return text;
}

// A pipe that was named is not waited for.
std::string inputNamed(const std::string& file) {
  if (file == "-") {
    return folder_host::attempt(refusals::INPUT_FAILED, "cannot read", "standard input",
                                [] { return inputOf(Descriptor(folder_host::check(::dup(STDIN_FILENO)))); });
  }
  return folder_host::attempt(refusals::IMPORT_UNREADABLE, "cannot read", file, [&] {
    const Descriptor opened(folder_host::check(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)));
    if (!S_ISREG(statusOf(opened).st_mode)) {
      throw Refusal(
          refusals::IMPORT_UNREADABLE,
          fmt::format("{} is no file; give what a pipe holds to standard input, and - for the file", inQuotes(file)));
    }
    return inputOf(opened);
  });
}

struct Imported {
  std::vector<Change> changes;  // and what is kept
  std::size_t missing = 0;      // marks at which nothing is
};

// What is told of the file alone: what the project had before has been told of by status.
std::size_t missingMarks(const ProjectState& file, const EntryTable& table) {
  std::size_t missing = 0;
  for (const auto& [uuid, label] : file.labels) {
    missing += static_cast<std::size_t>(std::count_if(label.marks.begin(), label.marks.end(), [&](const auto& mark) {
      return mark.second != MarkKind::exception && !mark.first.empty() && !table.find(mark.first);
    }));
  }
  return missing;
}

void tell(const Imported& imported, bool isDry) {
  std::array<std::size_t, 4> counts{};
  for (const Change& change : imported.changes) {
    ++counts[static_cast<std::size_t>(change.turn)];
    if (isDry) item(textOf(change), jsonOf(change));
    // What was asked for need not be told line by line; what else there is nobody has looked at.
    if (!isDry && (manner().json || change.turn == Turn::kept)) done(textOf(change), jsonOf(change));
  }
  const auto& [added, removed, changed, kept] = counts;
  std::string text = "The project has all that the file has.";
  if (added + changed + removed > 0) {
    text = fmt::format(isDry ? "Would add {}, change {}, remove {}." : "Added {}, changed {}, removed {}.", added,
                       changed, removed);
  }
  if (kept > 0) text += fmt::format(" What the project has beyond the file stays: {} above, with =.", kept);
  if (imported.missing > 0) {
    text += fmt::format(" Nothing is at the paths of {} of the file; to see them: {}",
                        counted(imported.missing, "mark", "marks"), commandOf({"status"}));
  }
  done(text, {{"type", isDry ? "would-import" : "imported"},
              {"added", added},
              {"changed", changed},
              {"removed", removed},
              {"kept", kept},
              {"missing", imported.missing}});
}

}  // namespace

void exportProject(const std::string& file) {
  const FolderProject project = openProject();
  const ProjectState state = [&] {
    const auto scope = project.metadata()->beginReadScope();
    return stateOf(project.labels(), *project.metadata());
  }();
  const std::string text = textOf(state);
  if (file == "-") return document(text);
  orExportFailed(file, [&] { writeExport(project, text, file); });
  const auto profiles =
      static_cast<std::size_t>(std::count_if(state.nodes.begin(), state.nodes.end(),
                                             [](const auto& node) { return kindOf(node.first) == NodeKind::profile; }));
  Json object{{"labels", state.labels.size()}, {"profiles", profiles}};
  putPath(object, "file", file);
  done(fmt::format("Exported {} and {} to {}.", counted(state.labels.size(), "label", "labels"),
                   counted(profiles, "profile", "profiles"), inQuotes(file)),
       object);
}

void importProject(const std::string& file, const ImportWords& words, bool isDry) {
  const FolderProject project = openProject();
  const ProjectState given = considered(stateIn(inputNamed(file), file == "-" ? "standard input" : file), words);
  const Table table = tableOf(project);
  // Decided in the scope in which it is done, against the store as it is there.
  const auto decide = [&](bool isDone) {
    const ProjectState before = stateOf(project.labels(), *project.metadata());
    const ProjectState after = merged(before, given, words);
    if (isDone) change(before, after, project.labels(), *project.metadata());
    Imported imported{changesBetween(before, after), missingMarks(given, *table)};
    for (Change& beyond : changesBetween(given, considered(after, words))) {
      if (beyond.turn != Turn::added) continue;
      beyond.turn = Turn::kept;
      imported.changes.push_back(std::move(beyond));
    }
    return imported;
  };
  if (isDry) {
    const auto scope = project.metadata()->beginReadScope();
    return tell(decide(false), true);
  }
  const auto followed = project.followed(table);
  const Imported imported = edit(project, [&] {
    project.note(followed->openAt({""}, true), false);
    return decide(true);
  });
  project.remember(table, {});
  tell(imported, false);
}

}  // namespace project_share
