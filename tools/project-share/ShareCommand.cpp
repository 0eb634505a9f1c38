#include <fmt/format.h>

#include <optional>
#include <set>
#include <stdexcept>

#include "Assessment.h"
#include "Commands.h"
#include "Interruption.h"
#include "Lookup.h"
#include "OpenProject.h"
#include "Output.h"
#include "PreviewReport.h"
#include "ProgressLine.h"
#include "Receipt.h"
#include "Refusal.h"
#include "folder_host/Sharing.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::FolderProject;
using folder_host::Progress;
using folder_host::ShareResult;
using folder_host::WorkingCopy;

namespace {

void refuseHazards(const Assessment& assessment, const ShareWords& words) {
  std::vector<Hazard> refused = refusedAmong(assessment.hazards, words.allowed);
  if (words.strict) refused.insert(refused.end(), assessment.idle.begin(), assessment.idle.end());
  if (refused.empty()) return;
  printHazards(refused);
  const std::string flags = allowingFlags(refusedAmong(refused, {refusals::FILTER_IDLE, refusals::LABEL_IDLE}));
  throw Refusal(refusals::SHARE_REFUSED, fmt::format("{} not to share; put right what standard output lists{}",
                                                     counted(refused.size(), "reason", "reasons"),
                                                     flags.empty() ? "" : ", or allow it with " + flags));
}

// What is handed out is what was shown and weighed, or nothing is.
void requireAsAssessed(const Assessment& assessment, const WorkingCopy& left) {
  if (left.entries() != assessment.preview.stays) throw std::logic_error("the share is not what its preview was");
}

ShareResult run(const Assessment& assessment, const std::shared_ptr<WorkingCopy>& copy, const ShareWords& words,
                std::optional<Receipt>& receipt, const Interruption& interruption) {
  ProgressLine copied("copied");
  folder_host::ShareOptions options;
  options.allowed = words.allowed;
  // Without a profile nothing is held back, and no label can fail to do so.
  if (!words.profile) options.allowed.insert(folder_host::errors::LABEL_ON_GONE_PATH);
  options.onProgress = [&](const Progress& progress) {
    interruption.check();
    copied.show(progress);
  };
  options.beforePublication = [&](const WorkingCopy& left, const Descriptor& folder) {
    interruption.check();
    requireAsAssessed(assessment, left);
    if (!receipt) return;
    ProgressLine checked("noted");
    receipt->write(assessment, words.allowed, left, folder, [&](const Progress& progress) {
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
  item(fmt::format("spared: {}  {}", nameOf(*spared.folder), textOf(preview, spared)), object);
}

void report(const Assessment& assessment, const WorkingCopy& copy, const ShareResult& result, const ShareWords& words) {
  if (manner().quiet) return;
  printSkipped(copy.listing());
  for (const Spared& spared : assessment.preview.spared) {
    if (spared.unlabelled == nullptr) printSpared(assessment.preview, spared);
  }
  printNotes(assessment.idle);
  printHazards(assessment.hazards, "allowed: ", {{"allowed", true}});
  const std::size_t out = copy.listing().entries.size() - assessment.preview.stays.size();
  Json object{{"type", "shared"},      {"files", result.files}, {"folders", result.folders},
              {"links", result.links}, {"bytes", result.bytes}, {"heldBack", out}};
  putPath(object, "destination", words.destination);
  item(fmt::format("Shared {} ({}) to {}; {} held back.{}", textOf(result), counted(result.bytes, "byte", "bytes"),
                   shown(words.destination), counted(out, "entry", "entries"),
                   words.receipt.empty() ? "" : fmt::format(" The receipt is {}.", shown(words.receipt))),
       object);
}

}  // namespace

void share(const ShareWords& words) {
  const FolderProject project = openProject();
  const auto copy = project.workingCopy();
  const folder_host::Place place = folder_host::checkDestination(*copy, words.destination);
  const Assessment assessment =
      words.profile ? assess(*copy, *findProfile(*managerOf(*copy), *words.profile)) : assessWhole(*copy);
  refuseHazards(assessment, words);
  const Interruption interruption;  // goes last: what was begun is cleaned up before
  std::optional<Receipt> receipt;
  if (!words.receipt.empty()) receipt.emplace(*copy, place, words.receipt);
  const ShareResult result = run(assessment, copy, words, receipt, interruption);
  project.confirm();
  report(assessment, *copy, result, words);
}

}  // namespace project_share
