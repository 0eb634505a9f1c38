#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

#include "Refusal.h"
#include "commands/Approval.h"
#include "commands/Commands.h"
#include "commands/Gate.h"
#include "folder_host/files/EntryTable.h"
#include "folder_host/share/read/Attributes.h"
#include "folder_host/text/Utf.h"
#include "judgement/Judge.h"
#include "output/EditReport.h"
#include "output/EntryReport.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "output/Page.h"
#include "output/PageFile.h"
#include "output/Report.h"
#include "output/View.h"
#include "receipt/FoundReceipt.h"
#include "settings/OpenProject.h"
#include "words/Entries.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"
#include "words/Profiles.h"
#include "words/TypedCommand.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::FolderProject;
using folder_host::LabelSource;

namespace {

// The name alone, behind the indent of the folders that are shown: a whole path a line hides where the tree branches.
std::string indented(const Entry& entry, std::size_t indent) {
  if (indent == 0) return freeName(nameOf(entry));
  const std::string name = entry.path.substr(entry.path.rfind('/') + 1);
  return std::string(2 * indent, ' ') + freeName(name + (entry.kind == EntryKind::folder ? "/" : ""));
}

// One line an entry of the tree: '-' is held back, '~' is shared only for the sake of what is below it. Each mark is a
// character and not a colour alone, so that it is there in a file and for whoever does not see colours.
void printTreeLine(const folder_host::WorkingCopy& project, const Judgement& judgement, const EntryReport& report,
                   const ViewLine& shown) {
  const std::size_t entry = shown.entry;
  const Entry& listed = project.table()[entry];
  const std::string name = indented(listed, shown.indent);
  const std::string below =
      shown.below ? fmt::format("  ({} shared and {} held back below)", shown.below->shared, shown.below->heldBack)
                  : "";
  const Reason& reason = judgement.reasons[entry];
  const Spared* spared = sparedOf(judgement, listed);
  if (reason.rule != Reason::Rule::none) {
    line(fmt::format("- {}  {}{}{}", name, textOf(judgement, reason), report.whenceOf(entry), below), Tone::heldBack);
  } else if (spared != nullptr) {
    line(fmt::format("~ {}  {}{}", name, textOf(judgement, *spared), below), Tone::warning);
  } else {
    const auto excepted = report.exceptionsOf(entry);
    line(fmt::format("  {}{}{}{}", name, excepted.empty() ? "" : "  shared, ", fmt::join(excepted, ", "), below));
  }
}

void printTree(const folder_host::WorkingCopy& copy, const Judgement& judgement, const ViewWords& words) {
  const EntryReport report(copy, judgement);
  const std::vector<ViewLine> lines = viewOf(copy, judgement, words);
  for (const ViewLine& shown : lines) {
    if (manner().json) {
      Json object = report.jsonOf(shown.entry);
      if (shown.below) object["below"] = {{"shared", shown.below->shared}, {"heldBack", shown.below->heldBack}};
      item({}, object);
    } else {
      printTreeLine(copy, judgement, report, shown);
    }
  }
  printView(copy, words, lines.size());
}

void printFilter(const Judgement& judgement, std::size_t position) {
  const FilterEffect& effect = judgement.filters[position - 1];
  const auto [files, folders, links] = countsByKind(effect.heldBack);
  Json object{{"type", "filter"},   {"filter", position}, {"kind", wordOf(effect.kind)},    {"files", files},
              {"folders", folders}, {"links", links},     {"spared", effect.spared.size()}, {"labels", Json::array()}};
  for (const std::size_t label : effect.labelsRemoved) object["labels"].push_back(jsonOf(judgement.labels[label]));
  item(textOfFilter(judgement, position), object);
}

void printSummary(const folder_host::WorkingCopy& copy, const Judgement& judgement, const Verdict& verdict,
                  const std::string& digest) {
  const std::size_t shared = judgement.shared.size();
  const auto& risks = verdict.refused;
  const std::size_t all = judgement.entries;
  const std::string refusal =
      risks.empty()
          ? ""
          : fmt::format(" A share is refused for the risks above; {} would allow them.", allowingFlags(risks));
  Json object{{"type", "summary"}, {"entries", all}, {"shared", shared}, {"refused", !risks.empty()}};
  // The project is named, because the nearest one above may not be the one that is meant.
  putScope(object, copy);
  object["labels"] = jsonOf(judgement.leaving);
  if (!digest.empty()) object["judgement"] = digest;
  item(fmt::format("Of {}, {} of {} {} shared.{}", scopeText(copy), shared, counted(all, "entry", "entries"),
                   shared == 1 ? "is" : "are", refusal),
       object);
  if (manner().json) return;
  line(textOf(judgement.leaving));
  if (!digest.empty()) line(fmt::format("The page is about {}.", inGroups(digest)));
}

// A label may be on a path at which nothing is: that is neither shared nor held back.
std::size_t entryAt(const folder_host::WorkingCopy& copy, const std::string& path, const std::string& named) {
  if (const auto index = copy.table().find(path)) return *index;
  throw noEntry(copy.root(), copy.table(), path, named);
}

// "'drafts/' is shared: no filter of profile 'public' selects it"
std::string answer(const Judgement& judgement, const Entry& entry, const Reason& reason, const Spared* spared) {
  const std::string profile = "profile " + inQuotes(judgement.name);
  const std::string name = inQuotes(nameOf(entry));
  if (reason.rule != Reason::Rule::none) {
    return fmt::format("{} is held back: {}, {}", name, profile, textOf(judgement, reason));
  }
  if (spared != nullptr) return fmt::format("{} is shared: {}, {}", name, profile, textOf(judgement, *spared));
  return fmt::format("{} is shared: no filter of {} selects it", name, profile);
}

// Told here alone: it stops no share, however strict.
void noteAttributes(Judgement& judgement) {
  const auto path = folder_host::firstWithAttributes(*judgement.copy);
  if (!path) return;
  judgement.found.add(risks::ATTRIBUTES_STAY, *path,
                      inQuotes(*path) + " has extended attributes, perhaps others have, too; they do not leave");
}

// That shares what was judged, and refuses anything else.
std::string commandBy(const std::string& digest, const Judgement& judgement, const GateWords& words) {
  const folder_host::WorkingCopy& copy = *judgement.copy;
  std::vector<std::string> options{"--approved", inGroups(digest)};
  if (!copy.scopePath().empty()) options.insert(options.end(), {"--from", fromHere(copy.root(), copy.scopePath())});
  for (const std::string& allowed : argumentsOf(words)) options.insert(options.end(), {"--allow", allowed});
  return commandOf({"share", wordFor(judgement), "DEST"}, typedWords(options));
}

PageChanges changesOn(const Since& since) {
  PageChanges changes{textOf(since), {}};
  for (std::size_t i = 0; i < Since::TURNS; ++i) {
    changes.lists.push_back({wordOf(static_cast<Since::Turn>(i)), {}});
    for (const SinceEntry& entry : since.entries[i]) {
      changes.lists.back().paths.push_back(entry.path + (entry.kind == EntryKind::folder ? "/" : ""));
    }
  }
  return changes;
}

void writePage(const ReceiptSource& source, const Verdict& verdict, const std::optional<Since>& since,
               const std::string& digest, const GateWords& words, PageFile& file) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const PageContent content{source.project,
                            source.judgement,
                            verdict.refused,
                            verdict.allowed,
                            verdict.notes,
                            since ? changesOn(*since) : PageChanges{},
                            timeText(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()),
                            digest,
                            commandBy(digest, source.judgement, words)};
  writePage(content, [&](std::string_view text) { file.put(text); });
  file.publish();
}

std::optional<Since> sinceWanted(const FolderProject& project, const folder_host::WorkingCopy& copy,
                                 const profiles::ExportProfile& profile, const PreviewWords& words,
                                 Judgement& judgement) {
  const bool isLast = words.since == "last";
  std::optional<Since> since = sinceLastShare(project, copy, &profile, judgement, isLast || !words.page.empty());
  if (isLast && !since) {
    const std::string& from = copy.scopePath();
    throw Refusal(
        refusals::RECEIPT_NOT_FOUND,
        fmt::format("the project keeps no receipt that can be read of a share by profile {}{}; name the file "
                    "of one",
                    inQuotes(judgement.name), from.empty() ? "" : fmt::format(" from {}", inQuotes(from + "/"))));
  }
  if (words.since.empty() || isLast) return since;
  ReceiptReader receipt(words.since);
  return sinceOf(judgement, receipt);
}

}  // namespace

// What speaks against a share comes behind the tree, which may be long: people read the end.
void previewProfile(const PreviewWords& words) {
  const FolderProject project = openProject();
  ViewWords view = words.view;
  for (std::string& path : view.paths) path = project.locate(path);
  const auto copy = project.workingCopy();
  setScope(project, words.gate, *copy);
  const auto profile = findProfile(*managerOf(*copy), words.profile);
  for (std::size_t i = 0; i < view.paths.size(); ++i) entryAt(*copy, view.paths[i], words.view.paths[i]);
  std::optional<PageFile> page;
  if (!words.page.empty()) page.emplace(*copy, words.page);
  // Whoever approves a page approves what a share will find: each file is looked into for it.
  const auto look = page ? folder_host::Look::each : folder_host::Look::likely;
  Judgement judgement = judgeFor(*copy, profile.get(), words.gate, look);
  std::optional<Since> since = sinceWanted(project, *copy, *profile, words, judgement);
  noteAttributes(judgement);
  const Verdict verdict = verdictOf(judgement.found, words.gate);
  std::string digest;
  if (page) {
    const ReceiptSource source = sourceOf(*copy, judgement, profile.get(), words.gate);
    digest = keepJudgement(project, source);
    writePage(source, verdict, since, digest, words.gate, *page);
    if (manner().quiet) return;
  }
  printTree(*copy, judgement, view);
  for (std::size_t i = 1; i <= judgement.filters.size(); ++i) printFilter(judgement, i);
  printSkipped(copy->listing());
  if (!words.since.empty()) printSince(*since);
  printNotes(verdict.notes);
  printRisks(verdict.allowed, "allowed: ", {{"allowed", true}});
  printRisks(verdict.refused);
  printSummary(*copy, judgement, verdict, digest);
}

void explainPath(const std::string& named, const std::string& word) {
  const FolderProject project = openProject();
  // A path outside of the project is refused before time is spent on listing it.
  const std::string path = project.locate(named);
  const auto copy = project.workingCopy();
  const Judgement judgement = judge(*copy, *findProfile(*managerOf(*copy), word));
  const std::size_t index = entryAt(*copy, path, named);
  const Entry& entry = copy->table()[index];
  const Reason& reason = judgement.reasons[index];
  const Spared* spared = sparedOf(judgement, entry);
  const EntryReport report(*copy, judgement);
  Json object = report.jsonOf(index);
  object["profile"] = {{"uuid", utf8(judgement.uuid)}, {"name", utf8(judgement.name)}};
  item(answer(judgement, entry, reason, spared), object);
  if (manner().json) return;
  for (const std::string& label : labelTextsOf(*copy, index)) line("label  " + label);
  for (const std::string& label : report.exceptionsOf(index)) line(label);
}

namespace {

// The newest, of that profile where one is named.
ReceiptReader lastOf(const FolderProject& project, const profiles::ExportProfile* profile) {
  std::vector<KeptReceipt> all = keptReceipts(project);
  const auto isOther = [&](const KeptReceipt& kept) {
    return !kept.isComplete || (profile != nullptr && otherThan(profile->getUUID(), nameOf(*profile), kept.head));
  };
  all.erase(std::remove_if(all.begin(), all.end(), isOther), all.end());
  std::vector<Risk> notes;
  auto found = firstReadable(project, all, ReceiptReader::MOST, notes);
  if (!manner().quiet) printNotes(notes);
  if (found) return std::move(found->receipt);
  throw Refusal(refusals::RECEIPT_NOT_FOUND,
                "the project keeps no receipt of such a share that can be read; name the file of one");
}

// By the receipt of which share; what this project does not have may be of another one.
void putProfile(Json& object, const ReceiptHead& head, profiles::ExportProfileManager& manager) {
  object["profile"] = jsonOf(head)["profile"];
  if (head.profileUuid.empty()) return;
  const auto all = manager.getProfiles();
  const bool isOurs = std::any_of(all.begin(), all.end(), [&](const auto& profile) {
    return folder_host::toBytes(profile->getUUID()) == head.profileUuid;
  });
  if (!isOurs) object["profile"]["deleted"] = true;
}

struct EntryThen {
  std::string answer;
  Json object;
  std::vector<std::string> labels;  // UUIDs
};

std::optional<EntryThen> entryThen(ReceiptReader& receipt, const std::string& path) {
  std::optional<EntryThen> found;
  const std::string at = receipt.head().time;
  const auto objectOf = [&](const auto& entry, bool isShared) {
    Json object{{"type", "entry"}, {"time", at}};
    putPath(object, "path", entry.path);
    object["kind"] = wordOf(entry.kind);
    object["shared"] = isShared;
    return object;
  };
  receipt.forEachShared([&](const ReceiptEntry& entry) {
    if (entry.path == path) found = {"was shared, " + at, objectOf(entry, true), entry.labels};
  });
  receipt.forEachHeldBack([&](const ReceiptHeldBack& entry) {
    if (entry.path != path) return;
    found = {fmt::format("was held back, {}: {}", at, reasonInWords(entry.reason)), objectOf(entry, false),
             entry.labels};
    found->object["reason"] = entry.reason;
  });
  return found;
}

}  // namespace

void explainPathThen(const std::string& named, const std::string& word, const std::string& file) {
  const FolderProject project = openProject();
  const std::string path = project.locate(named);
  const auto copy = project.workingCopy();
  const auto manager = managerOf(*copy);
  const auto profile = word.empty() ? nullptr : findProfile(*manager, word);
  ReceiptReader receipt = file == "last" ? lastOf(project, profile.get()) : ReceiptReader(file);
  if (profile) {
    if (const auto other = otherThan(profile->getUUID(), nameOf(*profile), receipt.head()))
      throw Refusal(refusals::RECEIPT_OF_ANOTHER, "the receipt is " + *other);
  }
  const std::string& from = receipt.head().from;
  const bool isInside = from.empty() || path.compare(0, below(from), from + "/") == 0;
  auto then = isInside ? entryThen(receipt, path.substr(below(from))) : std::nullopt;
  if (!then) {
    throw Refusal(folder_host::errors::PATH_NOT_AN_ENTRY,
                  fmt::format("the receipt of {} does not know {}: it was not there, or not in what was shared",
                              receipt.head().time, inQuotes(path)));
  }
  std::vector<std::string> labels;
  then->object["labels"] = Json::array();
  receipt.forEachOf("allLabels", [&](const nlohmann::json& label) {
    const auto text = [&](const char* key) { return label.value(key, std::string()); };
    if (std::count(then->labels.begin(), then->labels.end(), text("uuid")) == 0) return;
    then->object["labels"].push_back(Json(label));
    labels.push_back(text("category") + "/" + text("name"));
  });
  putProfile(then->object, receipt.head(), *manager);
  item(inQuotes(path) + " " + then->answer, then->object);
  if (manner().json) return;
  if (then->object["profile"].contains("deleted")) {
    line(fmt::format("by profile {}, which this project does not have: it was deleted, or is of another project",
                     inQuotes(receipt.head().profileName)));
  }
  for (const std::string& label : labels) line("label  " + freeName(label));
}

}  // namespace project_share
