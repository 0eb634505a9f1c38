#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "commands/Marks.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Path.h"
#include "output/Output.h"
#include "settings/OpenProject.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::EntryTable;
using folder_host::FolderProject;
using folder_host::Followed;
using folder_host::isAtOrBelow;
using folder_host::LabelRecord;
using folder_host::LabelSources;
using folder_host::MarkKind;

namespace {

// What one label has on paths at which nothing is.
struct OnMissing {
  LabelRecord label;
  Paths marks, exceptions;
  Paths idle;  // other exceptions that have nothing left to except from without the marks
};

struct LeftOnMissing {
  std::size_t found = 0;      // marks and exceptions of what is under another name now
  std::size_t uncertain = 0;  // marks of what may be under another name
};

// Sorts the marks on paths at which nothing is.
class MissingMarks {
 public:
  MissingMarks(const Followed& followed, const EntryTable& table) : followed_(followed), table_(table) {
    for (const Followed::Lost& lost : followed.lost()) {
      if (lost.isMarked) isUncertain_.emplace(lost.path, lost.isUncertain && !lost.isMeant);
    }
    for (const auto& [entry, had] : followed.differing()) moved_.insert(had.from);
  }

  std::vector<OnMissing> of(const std::set<std::u16string>& labels, LeftOnMissing& left) const {
    const LabelSources& sources = followed_.has().sources();
    std::map<std::size_t, OnMissing> byLabel;
    for (const auto& [place, kind] : sources.marks()) {
      const auto& [path, index] = place;
      const LabelRecord& label = sources.labels()[index];
      if (path.empty() || table_.find(path) || labels.count(label.uuid) == 0) continue;
      OnMissing& one = byLabel.try_emplace(index, OnMissing{label, {}, {}, {}}).first->second;
      const bool isException = kind == MarkKind::exception;
      const auto lost = isUncertain_.find(path);
      if (isException ? isMovedFrom(path) : lost == isUncertain_.end()) {
        ++left.found;
      } else if (!isException && lost->second) {
        ++left.uncertain;
      } else {
        (isException ? one.exceptions : one.marks).push_back(path);
      }
    }
    std::vector<OnMissing> all;
    for (auto& [index, one] : byLabel) {
      if (!one.marks.empty() || !one.exceptions.empty()) all.push_back(std::move(one));
    }
    return all;
  }

 private:
  // Whether something is under another name now that was at the path or below.
  bool isMovedFrom(const std::string& path) const {
    const auto below = moved_.lower_bound(path + "/");
    return moved_.count(path) != 0 || (below != moved_.end() && isAtOrBelow(*below, {path}));
  }

  const Followed& followed_;
  const EntryTable& table_;
  std::map<std::string, bool> isUncertain_;  // by path, of what is lost
  std::set<std::string> moved_;              // where entries that have other labels now had theirs
};

std::string leftText(const LeftOnMissing& left) {
  std::string text;
  if (left.found > 0) {
    text = fmt::format("{} left, of what is under another name now; label follow moves them.",
                       counted(left.found, "mark is", "marks are"));
  }
  if (left.uncertain > 0) {
    text += fmt::format("{}{} left, of what may be under another name; label detach takes them off one by one.",
                        text.empty() ? "" : " ", counted(left.uncertain, "mark is", "marks are"));
  }
  return text;
}

// What was put back since the folder was listed has its label again, and keeps it.
void takeFrom(const FolderProject& project, OnMissing& one) {
  const auto isThere = [&](const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(folder_host::joined(project.root(), path), error));
  };
  for (Paths* paths : {&one.marks, &one.exceptions}) {
    paths->erase(std::remove_if(paths->begin(), paths->end(), isThere), paths->end());
  }
  const LabelSources before(project.labels());
  const std::size_t index = indexOf(before, one.label);
  LabelSources after = before;
  for (const Paths* paths : {&one.marks, &one.exceptions}) {
    for (const std::string& path : *paths) after.remove(path, index);
  }
  one.idle = folder_host::exceptionsMadeIdle(before, after, index);
  for (const Paths* paths : {&one.marks, &one.exceptions, &one.idle}) project.labels().detach(one.label.uuid, *paths);
}

void tellOnMissing(const std::vector<OnMissing>& all, const LeftOnMissing& left) {
  Json object{{"removed", Json::array()}, {"exceptionsRemoved", Json::array()}};
  const auto tell = [&](const OnMissing& one, const Paths& paths, const char* field, const char* what) {
    for (const std::string& path : paths) {
      object[field].push_back({{"label", jsonOf(one.label)}});
      putPath(object[field].back(), "path", path);
      if (!manner().json) done(fmt::format(fmt::runtime(what), inQuotes(nameOf(one.label)), inQuotes(path)), {});
    }
  };
  for (const OnMissing& one : all) {
    tell(one, one.marks, "removed", "Detached {} from {}, at which nothing is.");
    tell(one, one.exceptions, "exceptionsRemoved", "Removed the exception from {} on {}, at which nothing is.");
    tell(one, one.idle, "exceptionsRemoved",
         "Removed the exception from {} on {}, which has nothing left to except from.");
  }
  object["found"] = left.found;
  object["uncertain"] = left.uncertain;
  const std::string text = leftText(left);
  if (manner().json || !text.empty()) done(text, object);
}

}  // namespace

void detachMissing(const LabelWords& words) {
  const FolderProject project = openProject();
  if (project.address()) {
    throw Refusal(refusals::PATH_NOT_HERE,
                  "what is missing in this folder somebody else's may have, held back by the label alone; label detach "
                  "--not-here takes labels off the paths that you name");
  }
  std::set<std::u16string> labels;
  for (const LabelRecord& label : words.labels.empty() ? project.labels().list() : labelsNamed(project, words, {})) {
    labels.insert(label.uuid);
  }
  const Table table = tableOf(project);
  const auto followed = project.followed(table);
  LeftOnMissing left;
  std::vector<OnMissing> all = MissingMarks(*followed, *table).of(labels, left);
  if (all.empty()) {
    const std::string text = leftText(left);
    throw Refusal(refusals::LABEL_NOT_MISSING,
                  fmt::format("there is nothing to take off{}{}; to see what is missing: {}", text.empty() ? "" : ": ",
                              text.empty() ? text : text.substr(0, text.size() - 1), commandOf({"status"})));
  }
  edit(project, [&] {
    Paths marked;
    for (OnMissing& one : all) {
      takeFrom(project, one);
      marked.insert(marked.end(), one.marks.begin(), one.marks.end());
    }
    project.note(followed->openAt(marked, true), true);
    return true;
  });
  for (const OnMissing& one : all) project.remember(table, {one.marks, true, one.label.uuid, true});
  tellOnMissing(all, left);
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
                  fmt::format("nothing that carried a label is missing at {}; to see what is: {}", inQuotes(one),
                              commandOf({"status"})));
  }
  edit(project, [&] {
    project.note(followed->openAt(paths, true), true);
    return true;
  });
  project.rememberAsMeant(table, paths);
  done(fmt::format("Noted that nothing is meant to be at {}.", listOf(paths)), {{"missing", jsonOfPaths(paths)}});
}

}  // namespace project_share
