#include "commands/Update.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

#include "Refusal.h"
#include "commands/Gate.h"
#include "folder_host/files/Publication.h"
#include "judgement/RiskKinds.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "output/Report.h"
#include "words/Names.h"

namespace project_share {

using folder_host::HandedOut;

namespace {

void printDifferences(const std::vector<CopyDifference>& differences) {
  for (const auto& [how, path] : differences) {
    Json object{{"type", how}};
    putPath(object, "path", path);
    item(fmt::format("{:7}  {}", how, freeName(path)), object);
  }
}

// Before the copy is looked at: what a killed update had taken over has two names until then.
std::vector<std::string> clearedBeside(const std::string& destination) {
  try {
    return folder_host::Publication::removeAbandoned(folder_host::placeOf(destination).parent);
  } catch (const std::system_error&) {
    return {};  // what is wrong with it is told by whoever looks at it next
  }
}

}  // namespace

Update::Update(const folder_host::FolderProject& project, const folder_host::WorkingCopy& copy,
               const std::string& profile, const ShareWords& words)
    : copy_(copy),
      words_(words),
      keptBefore_(clearedBeside(words.destination)),
      earlier_(earlierCopyAt(copy, words.destination)) {
  ReceiptHead wanted;
  wanted.profileUuid = profile;
  wanted.from = copy.scopePath();
  wanted.shape = folder_host::wordOf(folder_host::Shape::folder);
  wanted.isPlain = words.isPlain;
  {
    ProgressLine checked("checked");
    share_ = earlierShareOf(project, earlier_, wanted, words.checksum ? CompareBy::content : CompareBy::status,
                            [&](const folder_host::Progress& progress) { checked.show(progress); });
  }
  const bool isSame = share_.differences.empty();
  // Sizes and times are what anybody can set: a copy that nothing else vouches for is not removed.
  const bool isRead = words.checksum && share_.receipt.head.hasContent;
  keeps_ = !isSame || (!isRead && !isAsNoted(earlier_, readCopyNotes(project.storeFolder(), earlier_.place.path())));
  if (isSame || words.replaces) return;
  printDifferences(share_.differences);
  throw Refusal(
      refusals::COPY_DIFFERS,
      fmt::format("{} of {} from what was handed out, listed on standard output; nothing was changed; to "
                  "update it all the same, and keep what is there beside it, add --replace",
                  counted(share_.differences.size(), "difference", "differences"), inQuotes(words.destination)));
}

void Update::setOptions(folder_host::HandOutOptions& options) const {
  options.earlier = &earlier_;
  options.keepsEarlier = keeps_;
  options.comparesContent = words_.checksum;
  options.beforeTwoSteps = [this] {
    Findings found;
    found.add(
        risks::NOT_AT_ONCE, {},
        fmt::format("the file system of {} cannot exchange two folders in one step: for a moment nothing has that "
                    "name; whoever is killed then leaves the earlier copy beside it, and the next share puts it "
                    "back",
                    inQuotes(words_.destination)));
    const Verdict verdict = verdictOf(found, words_.gate);
    printRisks(verdict.refused);
    refuse(verdict);
    if (!manner().quiet) printNotes(found.notes);
  };
}

void Update::keepInstead(const std::vector<std::string>& kept) {
  keptBefore_ = kept;
  earlier_.folder = folder_host::Descriptor();  // with its lock
  earlier_ = earlierCopyAt(copy_, words_.destination);
  keeps_ = true;
}

std::string Update::report(const folder_host::WorkingCopy& shared, const HandedOut& result, Json& object) const {
  std::map<std::string, std::size_t> counts{{"added", 0}, {"changed", 0}, {"taken back", 0}};
  std::map<std::string, const char*> changes;
  try {
    changes = changesSince(share_, shared, result);
  } catch (const Refusal& error) {  // the copy is there
    return fmt::format(" What has changed in it is not known: {}.", error.what());
  }
  for (const auto& [path, how] : changes) {
    ++counts[how];
    Json change{{"type", "update"}, {"change", how}};
    putPath(change, "path", path);
    item(fmt::format("{:10}  {}", how, freeName(path)), change);
  }
  object["update"] = {{"added", counts["added"]},
                      {"changed", counts["changed"]},
                      {"takenBack", counts["taken back"]},
                      {"takenOver", result.takenOver}};
  return fmt::format(" Since {}: {} added, {} changed, {} taken back; {} of the files taken over as they were.",
                     share_.receipt.head.time, counts["added"], counts["changed"], counts["taken back"],
                     result.takenOver);
}

std::vector<Risk> notesOfKept(const folder_host::Place& place, const HandedOut& result) {
  std::vector<Risk> notes;
  const auto add = [&](const std::string& name, const char* why) {
    notes.push_back({risks::COPY_KEPT.identifier,
                     {},
                     fmt::format("{}: it is kept as {}; remove that when you do not need it", why,
                                 inQuotes(place.parentPath + "/" + name))});
  };
  if (!result.kept.empty()) add(result.kept, "nothing shows that nobody wrote to the earlier copy");
  for (const std::string& name : result.keptBefore) add(name, "somebody wrote to a copy whose update was interrupted");
  return notes;
}

}  // namespace project_share
