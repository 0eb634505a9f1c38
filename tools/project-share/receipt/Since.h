#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/FolderProject.h"
#include "folder_host/share/WorkingCopy.h"
#include "judgement/Judgement.h"
#include "receipt/KeptReceipts.h"
#include "receipt/ReceiptReader.h"

namespace project_share {

struct SinceEntry {
  std::string path;  // in the project
  folder_host::EntryKind kind;
};

// What would leave now and did not, or the reverse, or leaves as something else.
struct Since {
  enum Turn : std::size_t {
    added,          // it was not there at all
    changed,        // both times shared, not as the same: kind, target, size, time, mode
    newlyHeldBack,  // it was shared
    newlyShared,    // it was held back
    gone,           // it was shared, and is not there any more
    TURNS
  };
  ReceiptHead head;
  std::array<std::vector<SinceEntry>, TURNS> entries;  // each by path

  bool isNothing() const;
  std::size_t count(Turn turn) const { return entries[turn].size(); }
};

// How the receipt is about another profile than that one (every project has its own); none where it is about the same.
std::optional<std::string> otherThan(const std::u16string& uuid, const std::u16string& name, const ReceiptHead& head);
// The same of the profile of the judgement and, where that is the same, of the folder.
std::optional<std::string> otherThan(const Judgement& judgement, const ReceiptHead& head);

// Of what is judged, against the receipt. Content is not read: what has size, times and mode as before is the same.
// Errors: RECEIPT_OF_ANOTHER (see otherThan), RECEIPT_UNREADABLE.
Since sinceOf(const Judgement& judgement, ReceiptReader& receipt);

// Of the last share by that profile and from that folder that the project keeps a receipt of (see firstReadable).
std::optional<ReceiptReader> lastReceipt(const folder_host::FolderProject& project, const Judgement& judgement,
                                         std::uint64_t most, std::vector<Risk>& notes);

// "Since 2026-11-21T06:40:24Z, shared to '/copies/a': 1 added, 0 changed, ..."
std::string textOf(const Since& since);
// "added", "changed", "newly held back", "newly shared", "gone"
const char* wordOf(Since::Turn turn);
// A line or an object each, in the order of the turns, and one that counts them.
void printSince(const Since& since);

// NEWLY_SHARED: what keep-files filters share by labels that it has from above or by a rule alone, and what was not
// shared at that share. One note for what has them from one place; they come before all other notes.
void noteNewlyShared(const folder_host::WorkingCopy& project, const Filters& filters, const Since& since,
                     Judgement& judgement);

}  // namespace project_share
