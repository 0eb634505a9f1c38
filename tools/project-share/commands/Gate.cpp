#include "commands/Gate.h"

#include <fmt/format.h>

#include <algorithm>

#include "Refusal.h"
#include "judgement/Judge.h"
#include "judgement/Unlabelled.h"
#include "output/Output.h"
#include "words/Entries.h"
#include "words/Names.h"
#include "words/TypedCommand.h"

namespace project_share {

namespace {

std::string argumentOf(const Allowed& allowed) {
  return allowed.identifier + (allowed.path ? "=" + *allowed.path : "");
}

void allow(const Allowed& allowed, Allowances& allowances) {
  allowed.path ? allowances.allow(allowed.identifier, *allowed.path) : allowances.allow(allowed.identifier);
}

void addIdleAllowances(const GateWords& words, const std::vector<Risk>& risks, bool afterwards,
                       std::vector<Risk>& notes) {
  for (const Allowed& allowed : words.allowed) {
    if ((allowed.identifier == folder_host::errors::ENTRY_CHANGED) != afterwards) continue;
    // Each by itself: together, one that allows all of a kind would make one that names a path look used.
    Allowances alone;
    allow(allowed, alone);
    const bool isUsed = std::any_of(risks.begin(), risks.end(), [&](const Risk& risk) {
      const auto isAllowed = [&](const std::string& path) { return alone.allows(risk.identifier, path); };
      const auto& others = risk.otherPaths;
      return isAllowed(risk.path) || std::any_of(others.begin(), others.end(), isAllowed);
    });
    if (isUsed) continue;
    notes.push_back({risks::ALLOW_IDLE.identifier,
                     {},
                     fmt::format("--allow {} allows nothing here; leave it out", argumentOf(allowed))});
  }
}

}  // namespace

Allowances allowancesOf(const GateWords& words) {
  Allowances allowances;
  for (const Allowed& allowed : words.allowed) allow(allowed, allowances);
  return allowances;
}

std::set<std::string> argumentsOf(const GateWords& words) {
  std::set<std::string> arguments;
  for (const Allowed& allowed : words.allowed) arguments.insert(argumentOf(allowed));
  return arguments;
}

void setScope(const folder_host::FolderProject& project, const GateWords& words, folder_host::WorkingCopy& copy) {
  const std::string path = words.from ? project.locate(*words.from) : std::string();
  if (path.empty()) return;
  const auto folder = copy.table().find(path);
  if (!folder) throw noEntry(copy.root(), copy.table(), path, *words.from);
  if (copy.table()[*folder].kind != folder_host::EntryKind::folder) {
    throw Refusal(refusals::PATH_NOT_A_FOLDER,
                  fmt::format("{} is no folder, and --from takes one; to hand out one file, label the others, or name "
                              "the folder that holds it",
                              inQuotes(*words.from)));
  }
  // Its store would stand where the copy's own has to be.
  if (copy.table().find(folder_host::joined(path, folder_host::STORE_FOLDER))) {
    throw Refusal(folder_host::errors::NESTED_PROJECT,
                  fmt::format("{} is a project of its own, with its own labels; share it from there: {}",
                              inQuotes(*words.from), commandOf({"-C", *words.from, "share"})));
  }
  copy.setScope(*folder);
}

Judgement judgeFor(folder_host::WorkingCopy& copy, const profiles::ExportProfile* profile, const GateWords& words,
                   folder_host::Look look) {
  Judgement judgement = profile != nullptr ? judge(copy, *profile, look) : judgeWhole(copy);
  if (words.forbidsUnlabelled) {
    addUnlabelled(copy, Mending(profile != nullptr ? profile->getFilters() : Filters(), copy), judgement);
  }
  addIdleAllowances(words, judgement.found.risks, false, judgement.found.notes);
  return judgement;
}

void addIdleAfterwards(const GateWords& words, const std::vector<Risk>& risks, std::vector<Risk>& notes) {
  addIdleAllowances(words, risks, true, notes);
}

// A kind of risk may be a note in this profile, so what is allowed holds for notes as well.
Verdict verdictOf(const Findings& found, const GateWords& words) {
  const Allowances allowances = allowancesOf(words);
  Verdict verdict;
  for (const Risk& risk : found.risks)
    (isRefused(risk, allowances) ? verdict.refused : verdict.allowed).push_back(risk);
  for (const Risk& note : found.notes) {
    (words.strict && isRefused(note, allowances) ? verdict.refused : verdict.notes).push_back(note);
  }
  return verdict;
}

void refuse(const Verdict& verdict) {
  if (verdict.refused.empty()) return;
  const std::string flags = allowingFlags(verdict.refused);
  throw Refusal(refusals::SHARE_REFUSED, fmt::format("{} found; put right what standard output lists{}",
                                                     counted(verdict.refused.size(), "risk", "risks"),
                                                     flags.empty() ? "" : ", or allow it with " + flags));
}

}  // namespace project_share
