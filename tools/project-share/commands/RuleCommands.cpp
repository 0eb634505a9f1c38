#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "commands/Commands.h"
#include "commands/Edit.h"
#include "folder_host/labels/EffectiveLabels.h"
#include "folder_host/text/Patterns.h"
#include "judgement/RiskKinds.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "output/Report.h"
#include "settings/OpenProject.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::EffectiveLabels;
using folder_host::EntryKind;
using folder_host::FolderProject;
using folder_host::LabelRecord;
using folder_host::LabelSource;
using folder_host::LabelSources;

namespace {

using Patterns = std::vector<std::string>;

Patterns patternsOf(const LabelSources& sources, std::size_t label) {
  Patterns patterns;
  for (const auto& rule : sources.rules()) {
    if (rule.label == label) patterns.push_back(rule.pattern);
  }
  return patterns;
}

Patterns without(Patterns patterns, const Patterns& taken) {
  const auto isTaken = [&](const std::string& one) {
    return std::find(taken.begin(), taken.end(), one) != taken.end();
  };
  patterns.erase(std::remove_if(patterns.begin(), patterns.end(), isTaken), patterns.end());
  return patterns;
}

void checkPatterns(const Patterns& patterns) {
  for (const std::string& pattern : patterns) {
    const char* fault = folder_host::patternFault(pattern);
    if (fault == nullptr) continue;
    throw Refusal(refusals::PATTERN_MALFORMED, fmt::format("{} is no pattern: {}", inQuotes(pattern), fault));
  }
}

Json jsonOfPatterns(const Patterns& patterns) {
  Json all = Json::array();
  for (const std::string& pattern : patterns) all.push_back(utf8(pattern));
  return all;
}

// Tells what the label's rules come to, and of those that were named which decide for nothing that is there.
void tell(const std::string& text, Json object, const LabelRecord& label, const EffectiveLabels& labels,
          const Patterns& named) {
  const std::size_t index = labels.sources().find(label.uuid).value();
  const std::size_t entries = labels.counts()[index];
  object["label"] = jsonOf(label);
  object["entries"] = entries;
  done(fmt::format("{} It is now carried by {}.", text, counted(entries, "entry", "entries")), object);
  std::vector<Risk> notes;
  for (const std::size_t rule : labels.idleRules()) {
    const auto& [owner, pattern] = labels.sources().rules()[rule];
    if (owner != index || std::find(named.begin(), named.end(), pattern) == named.end()) continue;
    notes.push_back({risks::RULE_IDLE.identifier,
                     {},
                     fmt::format("the rule {} has no effect on what is there", inQuotes(pattern))});
    notes.back().labels = {label};
  }
  if (!manner().quiet) printNotes(notes);
}

}  // namespace

void addRules(const std::string& word, const Patterns& patterns) {
  checkPatterns(patterns);
  const FolderProject project = openProject();
  const Table table = tableOf(project);
  const auto followed = project.followed(table);
  const auto [label, labels] = edit(project, [&] {
    project.note(followed->openAt({""}, true), false);  // a rule on its old path is about what was moved, too
    LabelRecord found = LabelIndex(project.labels().list()).named(word);
    const LabelSources sources(project.labels());
    Patterns all = without(patternsOf(sources, sources.find(found.uuid).value()), patterns);
    all.insert(all.end(), patterns.begin(), patterns.end());
    project.labels().setRules(found.uuid, all);
    return std::pair(std::move(found), std::make_unique<const EffectiveLabels>(*table, project.labels()));
  });
  project.remember(table, {});
  tell(fmt::format("Added {} to {}.", counted(patterns.size(), "rule", "rules"), inQuotes(nameOf(label))),
       {{"added", jsonOfPatterns(patterns)}}, label, *labels, patterns);
}

void removeRules(const std::string& word, const Patterns& patterns) {
  const FolderProject project = openProject();
  const Table table = tableOf(project);
  const auto followed = project.followed(table);
  const auto [label, idle, labels] = edit(project, [&] {
    project.note(followed->openAt({""}, true), false);  // a rule on its old path is about what was moved, too
    LabelRecord found = LabelIndex(project.labels().list()).named(word);
    const LabelSources before(project.labels());
    const std::size_t index = before.find(found.uuid).value();
    const Patterns all = patternsOf(before, index);
    for (const std::string& pattern : patterns) {
      if (std::find(all.begin(), all.end(), pattern) != all.end()) continue;
      throw Refusal(refusals::RULE_NOT_FOUND,
                    fmt::format("{} has no rule {}; to see what it has: {}", inQuotes(nameOf(found)), inQuotes(pattern),
                                commandOf({"label", "rule", "list", nameOf(found)})));
    }
    project.labels().setRules(found.uuid, without(all, patterns));
    std::vector<std::string> exceptions = exceptionsMadeIdle(before, LabelSources(project.labels()), index);
    project.labels().detach(found.uuid, exceptions);
    return std::tuple(std::move(found), std::move(exceptions),
                      std::make_unique<const EffectiveLabels>(*table, project.labels()));
  });
  project.remember(table, {});
  std::string text =
      fmt::format("Removed {} from {}.", counted(patterns.size(), "rule", "rules"), inQuotes(nameOf(label)));
  Json object{{"removed", jsonOfPatterns(patterns)}, {"exceptionsRemoved", Json::array()}};
  for (const std::string& path : idle) {
    text += fmt::format(" Removed the exception {}, which has nothing left to except from.", inQuotes(path));
    object["exceptionsRemoved"].push_back(Json::object());
    putPath(object["exceptionsRemoved"].back(), "path", path);
  }
  tell(text, object, label, *labels, {});
}

void listRules(const std::string& word) {
  const FolderProject project = openProject();
  const auto scope = project.metadata()->beginReadScope();
  const LabelIndex labels(project.labels().list());
  std::vector<LabelRecord> listed = labels.records();
  if (!word.empty()) listed = {labels.named(word)};
  const LabelSources sources(project.labels());
  for (const LabelRecord& label : listed) {
    for (const std::string& pattern : patternsOf(sources, sources.find(label.uuid).value())) {
      item(fmt::format("{}  {}", freeName(nameOf(label)), freeName(pattern)),
           {{"type", "rule"}, {"label", jsonOf(label)}, {"rule", utf8(pattern)}});
    }
  }
}

void testRules(const std::string& named) {
  const FolderProject project = openProject();
  const std::string path = project.locate(named);
  const Table table = tableOf(project);
  const auto entry = table->find(path);
  const bool isFolder = entry ? (*table)[*entry].kind == EntryKind::folder : named.back() == '/';
  const LabelSources sources(project.labels());
  std::set<std::size_t> labels;
  for (const auto& rule : sources.rules()) labels.insert(rule.label);
  for (const std::size_t label : labels) {
    const LabelSource rule = sources.ruleFor(path, isFolder, label);
    const LabelSource source = sources.sourceOf(path, isFolder, label);
    const bool isByMark = source.kind == LabelSource::Kind::mark || source.kind == LabelSource::Kind::exception;
    const std::string said = rule.kind == LabelSource::Kind::nothing ? "no rule matches" : textOf(rule, path);
    item(fmt::format("{}  {}{}", freeName(nameOf(sources.labels()[label])), said,
                     isByMark ? "; a mark decides: " + textOf(source, path) : ""),
         {{"type", "label"},
          {"label", jsonOf(sources.labels()[label])},
          {"carried", source.gives()},
          {"source", jsonOf(source, path)},
          {"byRules", jsonOf(rule, path)}});
  }
}

}  // namespace project_share
