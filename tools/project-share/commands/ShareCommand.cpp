#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>
#include <stdexcept>

#include "Interruption.h"
#include "Refusal.h"
#include "commands/Commands.h"
#include "folder_host/share/HandOut.h"
#include "judgement/Judgement.h"
#include "judgement/Mending.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "output/Report.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "receipt/Receipt.h"
#include "settings/OpenProject.h"
#include "words/Lookup.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::FolderProject;
using folder_host::Progress;
using folder_host::ShareResult;
using folder_host::WorkingCopy;

namespace {

// As it was written.
std::string wordOf(const Allowed& allowed) { return allowed.identifier + (allowed.path ? "=" + *allowed.path : ""); }

Allowances allowancesOf(const std::vector<Allowed>& all) {
  Allowances allowances;
  for (const Allowed& allowed : all) {
    allowed.path ? allowances.allow(allowed.identifier, *allowed.path) : allowances.allow(allowed.identifier);
  }
  return allowances;
}

// What was allowed and is not among the risks. ENTRY_CHANGED is known only when all is copied, and of NESTED_PROJECT
// some is found only then, which nobody tells.
std::vector<Risk> idleAllowances(const ShareWords& words, const std::vector<Risk>& risks, bool afterwards) {
  std::vector<Risk> idle;
  for (const Allowed& allowed : words.allowed) {
    if ((allowed.identifier == folder_host::errors::ENTRY_CHANGED) != afterwards) continue;
    if (allowed.identifier == folder_host::errors::NESTED_PROJECT) continue;
    const Allowances alone = allowancesOf({allowed});
    const bool isUsed = std::any_of(risks.begin(), risks.end(), [&](const Risk& risk) {
      const auto isAllowed = [&](const std::string& path) { return alone.allows(risk.identifier, path); };
      const auto& others = risk.otherPaths;
      return isAllowed(risk.path) || std::any_of(others.begin(), others.end(), isAllowed);
    });
    if (isUsed) continue;
    idle.push_back(
        {refusals::ALLOW_IDLE, {}, fmt::format("--allow {} allows nothing here; leave it out", wordOf(allowed))});
  }
  return idle;
}

void refuseRisks(const Assessment& assessment, const ShareWords& words) {
  const Allowances allowances = allowancesOf(words.allowed);
  std::vector<Risk> refused = refusedAmong(assessment.risks, allowances);
  for (Risk& note : refusedAmong(words.strict ? assessment.notes : std::vector<Risk>(), allowances)) {
    refused.push_back(std::move(note));
  }
  if (refused.empty()) return;
  printRisks(refused);
  const std::string flags = allowingFlags(refused);
  throw Refusal(refusals::SHARE_REFUSED, fmt::format("{} not to share; put right what standard output lists{}",
                                                     counted(refused.size(), "reason", "reasons"),
                                                     flags.empty() ? "" : ", or allow it with " + flags));
}

// What is handed out is what was shown and weighed, or nothing is.
void requireAsAssessed(const Assessment& assessment, const WorkingCopy& left) {
  const auto leaving = left.labelsThatLeave();
  const bool same = leaving.size() == assessment.leaving.size() &&
                    std::all_of(assessment.leaving.begin(), assessment.leaving.end(), [&](const LeavingLabel& one) {
                      const auto found = leaving.find(one.label.uuid);
                      return found != leaving.end() && found->second == one.entries;
                    });
  if (!same || left.entries() != assessment.preview.stays) {
    throw std::logic_error("the share is not what its preview was");
  }
}

ShareResult run(const Assessment& assessment, const std::shared_ptr<WorkingCopy>& copy, const ShareWords& words,
                std::optional<Receipt>& receipt, const Interruption& interruption) {
  ProgressLine copied("copied");
  folder_host::ShareOptions options;
  options.allowed = allowancesOf(words.allowed);
  options.onProgress = [&](const Progress& progress) {
    interruption.check();
    copied.show(progress);
  };
  options.beforePublication = [&](const WorkingCopy& left, const Descriptor& folder) {
    interruption.check();
    requireAsAssessed(assessment, left);
    if (!receipt) return;
    ProgressLine checked("noted");
    std::set<std::string> allowed;
    for (const Allowed& one : words.allowed) allowed.insert(utf8(wordOf(one)));
    receipt->write(assessment, allowed, left, folder, [&](const Progress& progress) {
      interruption.check();
      checked.show(progress);
    });
  };
  ShareResult result =
      folder_host::share(copy, profiles::ExportProfileTransformation(assessment.uuid), words.destination, options);
  if (receipt) receipt->publish();
  return result;
}

// "2 files and 1 folder"
std::string textOf(const ShareResult& result) {
  std::string text = counted(result.files, "file", "files");
  if (result.folders > 0) text += (result.links > 0 ? ", " : " and ") + counted(result.folders, "folder", "folders");
  if (result.links > 0) text += " and " + counted(result.links, "link", "links");
  return text;
}

void printSpared(const Preview& preview, const Spared& spared) {
  Json object{{"type", "spared"}};
  object.update(jsonOf(*spared.folder));
  object["spared"] = jsonOf(preview, spared);
  item(fmt::format("spared: {}  {}", freeName(nameOf(*spared.folder)), textOf(preview, spared)), object);
}

void report(const Assessment& assessment, const WorkingCopy& copy, const ShareResult& result, const ShareWords& words) {
  if (manner().quiet) return;
  printSkipped(copy.listing());
  for (const Spared& spared : assessment.preview.spared) {
    if (!spared.isDropped) printSpared(assessment.preview, spared);
  }
  printNotes(assessment.notes);
  std::vector<Risk> allowed = assessment.risks;
  for (const std::string& path : result.changed) {
    allowed.push_back(
        {folder_host::errors::ENTRY_CHANGED, path, inQuotes(path) + " was changed and went as it was read"});
  }
  printNotes(idleAllowances(words, allowed, true));
  printRisks(allowed, "allowed: ", {{"allowed", true}});
  const std::size_t out = copy.listing().entries.size() - assessment.preview.stays.size();
  Json object{{"type", "shared"},      {"files", result.files}, {"folders", result.folders},
              {"links", result.links}, {"bytes", result.bytes}, {"heldBack", out}};
  putPath(object, "destination", words.destination);
  putPath(object, "project", copy.root());
  object["labels"] = jsonOf(assessment.leaving);
  item(fmt::format("Shared {} ({}) of the project {} to {}; {} held back.{}", textOf(result),
                   counted(result.bytes, "byte", "bytes"), inQuotes(copy.root()), inQuotes(words.destination),
                   counted(out, "entry", "entries"),
                   words.receipt.empty() ? "" : fmt::format(" The receipt is {}.", inQuotes(words.receipt))),
       object);
  if (!manner().json) line(textOf(assessment.leaving));
}

std::shared_ptr<profiles::ExportProfile> profileOf(WorkingCopy& copy, const ShareWords& words) {
  const auto manager = managerOf(copy);
  try {
    return findProfile(*manager, *words.profile);
  } catch (const Refusal&) {
    if (!namesProfile(*manager, words.destination)) throw;
  }
  throw Refusal(
      refusals::PROFILE_NOT_FOUND,
      fmt::format("there is no profile {}, but {} is one: PROFILE comes before DEST: {}", inQuotes(*words.profile),
                  inQuotes(words.destination), commandOf({"share", words.destination, *words.profile})));
}

}  // namespace

void share(const ShareWords& words) {
  const FolderProject project = openProject();
  const auto copy = project.workingCopy();
  const auto profile = words.profile ? profileOf(*copy, words) : nullptr;
  const folder_host::Place place = folder_host::checkDestination(*copy, words.destination);
  Assessment assessment = profile ? assess(*copy, *profile) : assessWhole(*copy);
  for (Risk& idle : idleAllowances(words, assessment.risks, false)) assessment.notes.push_back(std::move(idle));
  refuseRisks(assessment, words);
  const Interruption interruption;  // goes last: what was begun is cleaned up before
  std::optional<Receipt> receipt;
  if (!words.receipt.empty()) receipt.emplace(*copy, place, words.receipt);
  const ShareResult result = run(assessment, copy, words, receipt, interruption);
  project.confirm();
  report(assessment, *copy, result, words);
}

}  // namespace project_share
