#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>

#include "Interruption.h"
#include "Refusal.h"
#include "commands/Approval.h"
#include "commands/Commands.h"
#include "commands/Gate.h"
#include "commands/Update.h"
#include "folder_host/share/HandOut.h"
#include "folder_host/share/ShareList.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "output/Report.h"
#include "receipt/Receipt.h"
#include "receipt/ReceiptText.h"
#include "receipt/ShareReceipts.h"
#include "receipt/ShareRecord.h"
#include "settings/OpenProject.h"
#include "words/Names.h"
#include "words/Profiles.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::Descriptor;
using folder_host::FolderProject;
using folder_host::Progress;
using folder_host::WorkingCopy;

namespace {

using Digests = std::map<std::string, std::string>;

// What was written and not what was read, which would not tell a copy that was written wrong: it is read once more,
// from the disk or its cache.
Digests digestsOf(folder_host::CopyContent& written, const folder_host::HandedOut& result,
                  const Interruption& interruption) {
  ProgressLine noted("noted");
  Progress progress;
  progress.allEntries = result.written.size();
  progress.allBytes = result.bytes + result.store.size;
  Digests digests;
  written.forEach([](const folder_host::CopyEntry&) { return true; },
                  [&](const folder_host::CopyEntry& entry) {
                    if (entry.kind == folder_host::EntryKind::file) digests[entry.path] = entry.sha256;
                    ++progress.entries;
                  },
                  [&](std::uint64_t bytes) {
                    interruption.check();
                    progress.bytes += bytes;
                    noted.show(progress);
                  });
  return digests;
}

// An entry that was changed meanwhile is shared as it was read, where that is allowed.
std::vector<Risk> risksOf(const folder_host::HandedOut& result) {
  std::vector<Risk> risks;
  for (const std::string& path : result.changed) {
    risks.push_back({folder_host::errors::ENTRY_CHANGED, path,
                     inQuotes(path) + " was changed meanwhile, and was shared as it was read"});
  }
  return risks;
}

bool isStream(const ShareWords& words) { return words.destination == "-"; }

folder_host::Shape shapeOf(const ShareWords& words) {
  return isStream(words) ? folder_host::Shape::tar : folder_host::shapeOf(words.destination);
}

Descriptor standardOutput() {
  return folder_host::attempt(folder_host::errors::DESTINATION_UNUSABLE, "cannot use", "standard output", [] {
    return Descriptor(folder_host::check(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)));
  });
}

// No place: standard output.
std::optional<folder_host::Place> destinationOf(const WorkingCopy& copy, const ShareWords& words) {
  if (!isStream(words)) return folder_host::checkDestination(copy, words.destination, shapeOf(words));
  folder_host::checkStream(copy, standardOutput());
  return std::nullopt;
}

// Where a share goes.
struct Target {
  const FolderProject& project;
  const folder_host::Place* place;  // null: standard output
  Update* update;                   // null: nothing is updated
};

// Without it, the next update could not tell the copy from what somebody made of it.
Refusal withoutReceipt(const std::string& why) {
  return {refusals::RECEIPT_FAILED,
          "an update needs a receipt in the project's own folder, and there can be none: " + why};
}

// What is gone, into a pipe, cannot be read once more.
void writeReceipts(ReceiptSource source, const ReceiptHead& about, folder_host::CopyContent* written,
                   ShareReceipts& receipts, const Interruption& interruption) {
  if (about.hasContent && written != nullptr) {
    const Digests digests = digestsOf(*written, *source.handedOut, interruption);
    for (const auto* entry : source.judgement.shared) {
      const auto found = digests.find(entry->path.substr(below(about.from)));
      source.digests.push_back(found == digests.end() ? std::string() : found->second);
    }
  }
  const std::vector<Risk> changed = risksOf(*source.handedOut);
  source.risks.insert(source.risks.end(), changed.begin(), changed.end());
  ReceiptHead head = about;
  head.hasContent = about.hasContent && written != nullptr;
  digest(head, source);
  receipts.write(head, source);
}

folder_host::HandedOut handOut(const ReceiptSource& source, const Target& target, const ShareWords& words,
                               ShareReceipts& receipts, const Interruption& interruption) {
  ProgressLine copied("copied");
  folder_host::HandOutOptions options;
  options.shape = shapeOf(words);
  options.isPlain = words.isPlain;
  options.hashesStream = words.checksum || !words.receipt.empty();
  options.allowed = allowancesOf(words.gate);
  ReceiptHead about = headOf(source, target.place != nullptr ? target.place->path() : "-");
  about.shape = folder_host::wordOf(options.shape);
  about.isPlain = options.isPlain;
  about.hasContent = options.hashesStream;
  // The work is interrupted where it tells its progress, by an exception: what was begun is removed as after any
  // failure.
  options.onProgress = [&](const Progress& progress) {
    interruption.check();
    copied.show(progress);
  };
  options.beforePublication = [&](folder_host::CopyContent* written, const folder_host::HandedOut& result) {
    interruption.check();
    if (!receipts.isAnyWanted()) return;
    ReceiptSource whole = source;
    whole.handedOut = &result;
    writeReceipts(std::move(whole), about, written, receipts, interruption);
    if (target.update != nullptr && !receipts.notes().empty()) throw withoutReceipt(receipts.notes().front().what);
  };
  const WorkingCopy& copy = *source.judgement.copy;
  options.storeFolder = &target.project.storeFolder();
  if (target.update != nullptr) target.update->setOptions(options);
  folder_host::HandedOut result = target.place != nullptr ? folder_host::handOut(copy, *target.place, options)
                                                          : folder_host::handOutTo(standardOutput(), copy, options);
  if (!result.isTakenBack) receipts.complete(about);
  return result;
}

// Once more where somebody wrote meanwhile to the copy that is updated.
folder_host::HandedOut handOut(const ReceiptSource& source, const Target& target, const ShareWords& words, bool isKept,
                               std::vector<Risk>& notes, const Interruption& interruption) {
  if (target.update != nullptr && !isKept) throw withoutReceipt("the project keeps none");
  while (true) {
    std::optional<Receipt> receipt;
    if (!words.receipt.empty()) receipt.emplace(source.project, target.place, words.receipt);
    ShareReceipts receipts(target.project, receipt, static_cast<std::size_t>(words.keptReceipts), isKept);
    folder_host::HandedOut result = handOut(source, target, words, receipts, interruption);
    notes = receipts.notes();
    if (target.update != nullptr) {
      const std::vector<std::string>& kept = target.update->keptBefore();
      result.keptBefore.insert(result.keptBefore.begin(), kept.begin(), kept.end());
    }
    if (!result.isTakenBack) return result;
    target.update->keepInstead(result.keptBefore);
  }
}

// "2 files and 1 folder"
std::string textOf(const folder_host::HandedOut& result) {
  std::string text = counted(result.files, "file", "files");
  if (result.folders > 0) text += (result.links > 0 ? ", " : " and ") + counted(result.folders, "folder", "folders");
  if (result.links > 0) text += " and " + counted(result.links, "link", "links");
  return text;
}

void printSpared(const Judgement& judgement, const Spared& spared) {
  Json object{{"type", "spared"}};
  object.update(jsonOf(*spared.folder));
  object["spared"] = jsonOf(judgement, spared);
  item(fmt::format("spared: {}  {}", freeName(nameOf(*spared.folder)), textOf(judgement, spared)), object);
}

// `notes` are those that came with the share; all others were told before it.
void report(const Judgement& judgement, const folder_host::HandedOut& result, const ShareWords& words,
            std::vector<Risk> notes, const Target& target) {
  if (manner().quiet) return;
  const folder_host::Listing& listing = judgement.copy->listing();
  printSkipped(listing);
  for (const Spared& spared : judgement.spared) {
    // A folder that a drop-files filter selects is told of as a risk already.
    if (!spared.isDropped) printSpared(judgement, spared);
  }
  std::vector<Risk> allowed = judgement.found.risks;
  const std::vector<Risk> changed = risksOf(result);
  allowed.insert(allowed.end(), changed.begin(), changed.end());
  addIdleAfterwards(words.gate, allowed, notes);
  if (target.place != nullptr) {
    for (Risk& note : notesOfKept(*target.place, result)) notes.push_back(std::move(note));
  }
  printNotes(notes);
  // Told though allowed: who allowed a kind of risk sees here for which cases that was.
  printRisks(allowed, "allowed: ", {{"allowed", true}});
  const std::size_t heldBack = judgement.entries - judgement.shared.size();
  Json object{{"type", "shared"},      {"files", result.files}, {"folders", result.folders},
              {"links", result.links}, {"bytes", result.bytes}, {"heldBack", heldBack}};
  putPath(object, "destination", words.destination);
  putScope(object, *judgement.copy);
  object["labels"] = jsonOf(judgement.leaving);
  const std::string update = target.update != nullptr ? target.update->report(*judgement.copy, result, object) : "";
  item(fmt::format("Shared {} ({}) of {} to {}; {} held back.{}{}", textOf(result),
                   counted(result.bytes, "byte", "bytes"), scopeText(*judgement.copy), inQuotes(words.destination),
                   counted(heldBack, "entry", "entries"), update,
                   words.receipt.empty() ? "" : fmt::format(" The receipt is {}.", inQuotes(words.receipt))),
       object);
  if (!manner().json) line(textOf(judgement.leaving));
}

// What speaks against a share, in the order in which people read: the worst, and the line that sums it up, last.
Verdict told(const Judgement& judgement, const GateWords& words) {
  Verdict verdict = verdictOf(judgement.found, words);
  if (!manner().quiet) {
    printNotes(verdict.notes);
    printRisks(verdict.allowed, "allowed: ", {{"allowed", true}});
  }
  printRisks(verdict.refused);
  const std::size_t all = judgement.entries, shared = judgement.shared.size();
  const std::size_t risks = verdict.refused.size(), allowed = verdict.allowed.size(), notes = verdict.notes.size();
  Json object{{"type", "summary"}, {"entries", all},     {"shared", shared}, {"refused", risks > 0},
              {"risks", risks},    {"allowed", allowed}, {"notes", notes}};
  putScope(object, *judgement.copy);
  object["labels"] = jsonOf(judgement.leaving);
  done(fmt::format("Of {}, {} of {} would be shared: {}, {} allowed, {}.", scopeText(*judgement.copy), shared,
                   counted(all, "entry", "entries"), counted(risks, "risk", "risks"), allowed,
                   counted(notes, "note", "notes")),
       object);
  return verdict;
}

// Before anything is copied: who shares is told then that it will not be listed. Gives whether it will.
bool canBeListed(const FolderProject& project, Findings& found) {
  try {
    folder_host::checkShareList(project.storeFolder());
    return true;
  } catch (const std::system_error& error) {
    found.add(risks::SHARE_UNLISTED, {},
              fmt::format("this share will not be in the log, because {} cannot be written to: {}",
                          inQuotes(project.root() + "/" + folder_host::STORE_FOLDER), error.code().message()));
    return false;
  }
}

// The copy is there: that nothing could be noted is no failure of the share.
std::vector<Risk> remember(const FolderProject& project, const Judgement& judgement, const ShareWords& words,
                           bool isListed, const WorkingCopy& copy, std::vector<Risk> notes) {
  try {
    const std::string destination =
        isStream(words) ? words.destination : std::filesystem::absolute(words.destination).lexically_normal().string();
    if (isListed) folder_host::addShare(project.storeFolder(), lineOf(project, judgement, destination));
  } catch (const std::system_error& error) {
    notes.push_back({risks::SHARE_UNLISTED.identifier, {}, "this share is not in the log: " + error.code().message()});
  }
  try {
    project.remember(copy.tableInCommon(), {});
  } catch (const Refusal& error) {
    if (isListed) notes.push_back({risks::MEMORY_FAILED.identifier, {}, error.what()});  // else it was told before
  }
  return notes;
}

std::string uuidOf(const profiles::ExportProfile* profile) {
  return profile != nullptr ? utf8(profile->getUUID()) : std::string();
}

// The two words are easily exchanged, and a folder named like a profile would be made in the wrong place.
std::shared_ptr<profiles::ExportProfile> profileOf(WorkingCopy& copy, const ShareWords& words) {
  const auto manager = managerOf(copy);
  try {
    return findProfile(*manager, *words.profile);
  } catch (const Refusal&) {
    if (words.destination.empty() || !namesProfile(*manager, words.destination)) throw;
  }
  throw Refusal(
      refusals::PROFILE_NOT_FOUND,
      fmt::format("there is no profile {}, but {} is one: PROFILE comes before DEST: {}", inQuotes(*words.profile),
                  inQuotes(words.destination), commandOf({"share", words.destination, *words.profile})));
}

}  // namespace

void share(const ShareWords& words) {
  manner().aside = isStream(words);
  manner().colour = manner().colour && !isStream(words);
  const FolderProject project = openProject();
  const auto copy = project.workingCopy();
  setScope(project, words.gate, *copy);
  const auto profile = words.profile ? profileOf(*copy, words) : nullptr;
  // Before the judgement, which may read much: a destination that cannot be used is known at once.
  std::optional<Update> update;
  if (words.updates) update.emplace(project, *copy, uuidOf(profile.get()), words);
  std::optional<folder_host::Place> place;
  if (!update) place = destinationOf(*copy, words);
  const Target target{project, update ? &update->place() : place ? &*place : nullptr, update ? &*update : nullptr};
  Judgement judgement = judgeFor(*copy, profile.get(), words.gate);
  const ReceiptSource source = sourceOf(*copy, judgement, profile.get(), words.gate);
  requireApproved(project, source, words.gate);
  sinceLastShare(project, *copy, profile.get(), judgement);
  const bool isListed = canBeListed(project, judgement.found);
  const bool isKept = words.keptReceipts > 0 && canBeKept(project, judgement.found);
  const Verdict verdict = verdictOf(judgement.found, words.gate);
  printRisks(verdict.refused);
  refuse(verdict);
  if (!manner().quiet) printNotes(judgement.found.notes);
  // All that can be refused has been by now: nothing is written for a share that is refused.
  const Interruption interruption;  // ends last: what was begun is cleaned up before
  std::vector<Risk> notes;
  const folder_host::HandedOut result = handOut(source, target, words, isKept, notes, interruption);
  project.confirm();
  report(judgement, result, words, remember(project, judgement, words, isListed, *copy, notes), target);
}

void checkShare(const ShareWords& words) {
  const FolderProject project = openProject();
  const auto copy = project.workingCopy();
  setScope(project, words.gate, *copy);
  const auto profile = words.profile ? profileOf(*copy, words) : nullptr;
  if (!words.destination.empty()) {
    std::optional<Update> update;
    if (words.updates) update.emplace(project, *copy, uuidOf(profile.get()), words);
    std::optional<folder_host::Place> place;
    if (!update && !isStream(words)) place = destinationOf(*copy, words);
    const folder_host::Place* to = update ? &update->place() : place ? &*place : nullptr;
    if (!words.receipt.empty()) Receipt::check(*copy, to, words.receipt);
  }
  Judgement judgement = judgeFor(*copy, profile.get(), words.gate);
  requireApproved(project, sourceOf(*copy, judgement, profile.get(), words.gate), words.gate);
  sinceLastShare(project, *copy, profile.get(), judgement);
  canBeListed(project, judgement.found);
  if (words.keptReceipts > 0) canBeKept(project, judgement.found);
  refuse(told(judgement, words.gate));
  folder_host::requireFit(shapeOf(words), judgement.copy->entries(), judgement.copy->scopePath());
}

void checkProfile(const std::string& profile, const GateWords& words) { checkShare({profile, {}, false, words, {}}); }

}  // namespace project_share
