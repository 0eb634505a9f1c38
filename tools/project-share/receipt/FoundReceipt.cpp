#include "receipt/FoundReceipt.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "folder_host/files/Place.h"

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

std::optional<FoundReceipt> receiptOf(const folder_host::FolderProject& project, const std::string& named,
                                      folder_host::CopyContent& copy) {
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
  for (KeptReceipt& kept : candidates) {
    try {
      ReceiptReader receipt = openKept(project, kept);
      return FoundReceipt{std::move(kept), std::move(receipt)};
    } catch (const Refusal&) {  // an earlier one may be readable
    }
  }
  return std::nullopt;
}

}  // namespace project_share
