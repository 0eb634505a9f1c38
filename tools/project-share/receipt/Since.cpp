#include "receipt/Since.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <system_error>

#include "Refusal.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Permissions.h"
#include "folder_host/files/Times.h"
#include "folder_host/text/Utf.h"
#include "judgement/Mending.h"
#include "output/Json.h"
#include "output/LabelReport.h"
#include "output/Output.h"
#include "receipt/FoundReceipt.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::EntryTable;

namespace {

constexpr mode_t PERMISSIONS = 0777;
constexpr std::array<const char*, Since::TURNS> TURN_WORDS{"added", "changed", "newly held back", "newly shared",
                                                           "gone"};

// Where there is an access list, a copy gets a mode of its own: asked only where the plain one is not the same.
bool hasMode(const folder_host::WorkingCopy& project, const Entry& entry, mode_t mode) {
  if ((entry.mode & PERMISSIONS) == mode) return true;
  try {
    const auto opened = openBeneath(folder_host::openFolder(project.root()), entry.path, O_RDONLY | O_NONBLOCK);
    return folder_host::permissionsOf(opened, statusOf(opened)) == mode;
  } catch (const std::system_error&) {
    return false;
  }
}

bool isSame(const folder_host::WorkingCopy& project, const Entry& entry, const ReceiptEntry& noted, bool wholeSeconds) {
  if (entry.kind != noted.kind || entry.target != noted.target) return false;
  if (entry.kind == EntryKind::link) return true;
  if (!hasMode(project, entry, noted.mode & PERMISSIONS)) return false;
  if (entry.kind == EntryKind::folder) return true;
  return entry.size == noted.size && (wholeSeconds ? entry.modified.tv_sec == noted.modified.tv_sec
                                                   : folder_host::isSameTime(entry.modified, noted.modified));
}

bool isStore(const std::string& path) { return path == folder_host::STORE_FOLDER || path == folder_host::STORE_FILE; }

}  // namespace

std::optional<std::string> otherThan(const std::u16string& uuid, const std::u16string& name, const ReceiptHead& head) {
  if (head.profileUuid == folder_host::toBytes(uuid)) return std::nullopt;
  // Two may have one name: that of another project, or one that was deleted and made once more.
  return fmt::format("about {}, and not about profile {} ({})",
                     head.profileUuid.empty()
                         ? "a whole project"
                         : fmt::format("profile {} ({})", inQuotes(head.profileName), freeName(head.profileUuid)),
                     inQuotes(name), folder_host::toBytes(uuid));
}

std::optional<std::string> otherThan(const Judgement& judgement, const ReceiptHead& head) {
  if (auto other = otherThan(judgement.uuid, judgement.name, head)) return other;
  if (head.from == judgement.copy->scopePath()) return std::nullopt;
  return head.from.empty() ? "about the whole project; leave out --from"
                           : fmt::format("about {} alone; name it by --from", inQuotes(head.from + "/"));
}

bool Since::isNothing() const {
  return std::all_of(entries.begin(), entries.end(), [](const auto& some) { return some.empty(); });
}

Since sinceOf(const Judgement& judgement, ReceiptReader& receipt) {
  enum class Was : char { absent, shared, other, heldBack };
  if (const auto other = otherThan(judgement, receipt.head())) {
    throw Refusal(refusals::RECEIPT_OF_ANOTHER, "the receipt is " + *other);
  }
  Since since{receipt.head(), {}};
  const folder_host::WorkingCopy& copy = *judgement.copy;
  const EntryTable& table = copy.table();
  const bool wholeSeconds = receipt.head().shape != "folder";
  std::vector<Was> was(table.size(), Was::absent);
  receipt.forEachShared([&](const ReceiptEntry& noted) {
    const std::string path = folder_host::joined(copy.scopePath(), noted.path);
    const auto index = table.find(path);
    if (index) was[*index] = isSame(copy, table[*index], noted, wholeSeconds) ? Was::shared : Was::other;
    if (!index && !isStore(noted.path)) since.entries[Since::gone].push_back({path, noted.kind});
  });
  receipt.forEachHeldBack([&](const ReceiptHeldBack& noted) {
    if (const auto index = table.find(folder_host::joined(copy.scopePath(), noted.path))) was[*index] = Was::heldBack;
  });
  for (std::size_t i = 0; i < table.size(); ++i) {
    const SinceEntry entry{table[i].path, table[i].kind};
    const bool wasShared = was[i] == Was::shared || was[i] == Was::other;
    if (judgement.reasons[i].rule != Reason::Rule::none) {
      if (wasShared) since.entries[Since::newlyHeldBack].push_back(entry);
    } else if (was[i] != Was::shared) {
      since.entries[wasShared               ? Since::changed
                    : was[i] == Was::absent ? Since::added
                                            : Since::newlyShared]
          .push_back(entry);
    }
  }
  return since;
}

std::optional<ReceiptReader> lastReceipt(const folder_host::FolderProject& project, const Judgement& judgement,
                                         std::uint64_t most, std::vector<Risk>& notes) {
  std::vector<KeptReceipt> all = keptReceipts(project);
  const auto isOther = [&](const KeptReceipt& kept) { return !kept.isComplete || otherThan(judgement, kept.head); };
  all.erase(std::remove_if(all.begin(), all.end(), isOther), all.end());
  auto found = firstReadable(project, all, most, notes);
  return found ? std::optional(std::move(found->receipt)) : std::nullopt;
}

const char* wordOf(Since::Turn turn) { return TURN_WORDS[turn]; }

std::string textOf(const Since& since) {
  std::string counts;
  for (std::size_t i = 0; i < Since::TURNS; ++i) {
    counts += fmt::format("{}{} {}", i > 0 ? ", " : "", since.entries[i].size(), TURN_WORDS[i]);
  }
  const std::string& to = since.head.destination;
  return fmt::format("Since {}{}: {}.", since.head.time, to.empty() ? "" : ", shared to " + inQuotes(to), counts);
}

void printSince(const Since& since) {
  Json sum{{"type", "since-summary"}, {"time", since.head.time}};
  putPath(sum, "destination", since.head.destination);
  for (std::size_t i = 0; i < Since::TURNS; ++i) {
    const std::string word = TURN_WORDS[i];
    for (const SinceEntry& entry : since.entries[i]) {
      Json object{{"type", "since"}, {"turn", word}};
      putPath(object, "path", entry.path);
      object["kind"] = project_share::wordOf(entry.kind);
      item(fmt::format("{}: {}", word, freeName(entry.path + (entry.kind == EntryKind::folder ? "/" : ""))), object);
    }
    sum[i == Since::newlyHeldBack ? "newlyHeldBack"
        : i == Since::newlyShared ? "newlyShared"
                                  : word] = since.entries[i].size();
  }
  item(textOf(since), sum);
}

namespace {

// From where the entry has the labels by which keep-files filters share it; empty where one is its own, or it has none.
std::string keptFrom(const folder_host::WorkingCopy& project, const std::set<std::size_t>& kept, std::size_t entry) {
  const Entry& listed = project.table()[entry];
  const auto& sources = project.effective().sources();
  std::string whence;
  for (const std::size_t label : project.effective().of(entry)) {
    if (kept.count(label) == 0) continue;
    const auto source = sources.sourceOf(listed.path, listed.kind == EntryKind::folder, label);
    if (source.at == listed.path && source.pattern.empty()) return {};
    whence += (whence.empty() ? "" : ", ") + freeName(nameOf(sources.labels()[label])) + " " +
              (source.at == listed.path ? "by the rule " + inQuotes(source.pattern) : textOf(source, listed.path));
  }
  return whence;
}

}  // namespace

void noteNewlyShared(const folder_host::WorkingCopy& project, const Filters& filters, const Since& since,
                     Judgement& judgement) {
  std::set<std::size_t> kept;
  for (const auto& filter : filters) {
    if (!keepsFiles(filter->getType())) continue;
    for (const auto& one : filter->getItems()) {
      if (const auto label = project.effective().sources().find(one.labelUUID)) kept.insert(*label);
    }
  }
  if (kept.empty()) return;
  std::map<std::string, Paths> groups;
  for (const Since::Turn turn : {Since::added, Since::newlyShared}) {
    for (const SinceEntry& entry : since.entries[turn]) {
      if (entry.kind == EntryKind::folder) continue;
      const std::string whence = keptFrom(project, kept, project.table().find(entry.path).value());
      if (!whence.empty()) groups[whence].push_back(entry.path);
    }
  }
  const Mending mending(filters, project);
  std::vector<Risk> notes;
  for (const auto& [whence, paths] : groups) {
    const std::string others =
        paths.size() == 1 ? " is" : fmt::format(" and {} are", counted(paths.size() - 1, "other", "others"));
    notes.push_back({risks::NEWLY_SHARED.identifier,
                     paths.front(),
                     fmt::format("{}{} shared and had not left by {}, with {}", inQuotes(paths.front()), others,
                                 since.head.time, whence),
                     {paths.begin() + 1, paths.end()},
                     {mending.holdBack({paths.front()})}});
  }
  auto& found = judgement.found.notes;
  found.insert(found.begin(), notes.begin(), notes.end());
}

}  // namespace project_share
