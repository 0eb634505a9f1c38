#include "receipt/EarlierShare.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <string_view>
#include <utility>

#include "Refusal.h"
#include "folder_host/files/Times.h"
#include "folder_host/share/read/CopyContent.h"
#include "words/Names.h"

namespace project_share {

using folder_host::Entry;
using folder_host::EntryKind;
using folder_host::Written;

namespace {

// By what the folder is, whatever has its name by now.
std::unique_ptr<folder_host::CopyContent> contentOf(const folder_host::EarlierCopy& copy) {
  return folder_host::openFolderCopy("/proc/self/fd/" + std::to_string(copy.folder.get()) + "/.");
}

Refusal notThisCopy(const folder_host::EarlierCopy& copy, const std::string& why) {
  return {refusals::NOT_THIS_COPY,
          fmt::format("{} cannot be updated: {}; share to another name", inQuotes(copy.place.path()), why)};
}

// The newest first.
std::vector<KeptReceipt> receiptsOf(const folder_host::FolderProject& project, const folder_host::EarlierCopy& copy) {
  std::vector<KeptReceipt> all = keptReceipts(project), found;
  for (KeptReceipt& kept : all) {
    if (kept.head.destination != copy.place.path()) continue;
    found.push_back(kept);
  }
  if (!found.empty()) return found;
  const std::string digest = digestOf(*contentOf(copy));
  const auto same = [&](const KeptReceipt& kept) { return kept.head.copy == digest; };
  std::copy_if(all.begin(), all.end(), std::back_inserter(found), same);
  return found;
}

bool isSameShare(const ReceiptHead& a, const ReceiptHead& b) {
  return a.profileUuid == b.profileUuid && a.from == b.from && a.shape == b.shape && a.isPlain == b.isPlain;
}

std::string shareInWords(const ReceiptHead& head) {
  std::string text = head.profileUuid.empty() ? "of the whole project" : "by the profile " + inQuotes(head.profileName);
  if (!head.from.empty()) text += " of the folder " + inQuotes(head.from);
  return head.isPlain ? text + ", without its store" : text;
}

bool isSame(const ReceiptEntry& noted, const Entry& entry, const Written& written) {
  if (noted.kind != entry.kind || noted.target != entry.target || noted.mode != written.mode) return false;
  return entry.kind != EntryKind::file ||
         (noted.size == written.size && folder_host::isSameTime(noted.modified, written.modified));
}

}  // namespace

EarlierShare earlierShareOf(const folder_host::FolderProject& project, const folder_host::EarlierCopy& copy,
                            const ReceiptHead& wanted, CompareBy by,
                            const std::function<void(const folder_host::Progress&)>& onProgress) {
  std::vector<KeptReceipt> receipts = receiptsOf(project, copy);
  if (receipts.empty()) throw notThisCopy(copy, "no receipt that this project keeps is of it");
  const std::string other = shareInWords(receipts.front().head);
  const auto isOther = [&](const KeptReceipt& kept) { return !isSameShare(kept.head, wanted); };
  receipts.erase(std::remove_if(receipts.begin(), receipts.end(), isOther), receipts.end());
  if (receipts.empty()) throw notThisCopy(copy, "it is a copy " + other);
  EarlierShare share;
  std::exception_ptr damaged;
  for (KeptReceipt& kept : receipts) {
    try {
      const auto reader = std::make_shared<ReceiptReader>(openKept(project, kept));
      const auto content = contentOf(copy);
      share = {kept, differencesOf(*content, *reader, by, onProgress), reader};
    } catch (const Refusal& error) {
      if (std::string_view(error.identifier()) != refusals::RECEIPT_UNREADABLE) throw;
      damaged = std::current_exception();  // the one before it tells whether the copy is what was handed out then
      continue;
    }
    // Of a share of which it is not known whether it has come about, the one before may be what is there.
    if (share.differences.empty() || kept.isComplete) break;
  }
  if (!share.reader) std::rethrow_exception(damaged);
  return share;
}

std::map<std::string, const char*> changesSince(const EarlierShare& earlier, const folder_host::WorkingCopy& copy,
                                                const folder_host::HandedOut& result) {
  std::map<std::string, ReceiptEntry> noted;
  earlier.reader->forEachShared([&](ReceiptEntry entry) {
    if (entry.path == folder_host::STORE_FOLDER || entry.path == folder_host::STORE_FILE) return;
    entry.labels.clear();
    std::string path = entry.path;
    noted.emplace(std::move(path), std::move(entry));
  });
  std::map<std::string, const char*> changes;
  const std::vector<const Entry*> entries = copy.entries();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string path(copy.pathInCopy(entries[i]->path));
    const auto before = noted.find(path);
    if (before == noted.end()) {
      changes[path] = "added";
      continue;
    }
    if (!isSame(before->second, *entries[i], result.written[i])) changes[path] = "changed";
    noted.erase(before);
  }
  for (const auto& [path, entry] : noted) changes[path] = "taken back";
  return changes;
}

}  // namespace project_share
