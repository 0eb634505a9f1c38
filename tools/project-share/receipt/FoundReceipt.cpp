#include "receipt/FoundReceipt.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "folder_host/files/Place.h"
#include "judgement/RiskKinds.h"
#include "words/Names.h"

namespace project_share {

namespace {

// As a share notes its destination, and by what a link in its place leads to.
std::set<std::string> placesOf(const std::string& named) {
  std::set<std::string> places;
  std::error_code ignored;
  try {
    places.insert(folder_host::placeOf(named).path());
  } catch (const std::system_error&) {  // it has no place of its own, such as "/"
  }
  places.insert(std::filesystem::canonical(named, ignored).string());
  places.erase("");
  return places;
}

// What the copy is now decides between a share that was killed and the one before it. Where it is neither, it is
// compared with what is known to have come about.
void putLikeliestFirst(std::vector<KeptReceipt>& candidates, folder_host::CopyContent& copy) {
  const auto isBegun = [](const KeptReceipt& kept) { return !kept.isComplete; };
  if (std::none_of(candidates.begin(), candidates.end(), isBegun)) return;
  const std::string digest = digestOf(copy);
  std::stable_partition(candidates.begin(), candidates.end(), [&](const auto& kept) { return kept.isComplete; });
  std::stable_partition(candidates.begin(), candidates.end(),
                        [&](const auto& kept) { return kept.head.copy == digest; });
}

}  // namespace

std::optional<FoundReceipt> firstReadable(const folder_host::FolderProject& project,
                                          const std::vector<KeptReceipt>& candidates, std::uint64_t most,
                                          std::vector<Risk>& notes) {
  constexpr std::size_t MOST_TRIED = 3;  // each may be as long as it may be
  const char* what = most < ReceiptReader::MOST ? "cannot be read, or is far longer than one of this project; remove"
                                                : "cannot be read; remove";
  for (std::size_t i = 0; i < candidates.size() && i < MOST_TRIED; ++i) {
    const KeptReceipt& kept = candidates[i];
    try {
      return FoundReceipt{kept, openKept(project, kept, RECEIPTS, most)};
    } catch (const Refusal&) {  // the one before it is as good
      notes.push_back(
          {risks::RECEIPT_DAMAGED.identifier,
           {},
           fmt::format(
               "the receipt of the share to {} at {} {} {}", inQuotes(kept.head.destination), kept.head.time, what,
               inQuotes(fmt::format("{}/{}/{}/{}", project.root(), folder_host::STORE_FOLDER, RECEIPTS, kept.name)))});
    }
  }
  return std::nullopt;
}

std::optional<FoundReceipt> receiptOf(const folder_host::FolderProject& project, const std::string& named,
                                      folder_host::CopyContent& copy, std::vector<Risk>& notes) {
  const std::vector<KeptReceipt> all = keptReceipts(project);
  std::vector<KeptReceipt> candidates;
  const std::set<std::string> places = placesOf(named);
  std::copy_if(all.begin(), all.end(), std::back_inserter(candidates),
               [&](const KeptReceipt& kept) { return places.count(kept.head.destination) != 0; });
  putLikeliestFirst(candidates, copy);
  if (candidates.empty() && !all.empty()) {
    const std::string digest = digestOf(copy);
    std::copy_if(all.begin(), all.end(), std::back_inserter(candidates),
                 [&](const KeptReceipt& kept) { return kept.head.copy == digest; });
  }
  return firstReadable(project, candidates, ReceiptReader::MOST, notes);
}

}  // namespace project_share
