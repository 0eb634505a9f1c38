#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/FolderProject.h"
#include "folder_host/share/EarlierCopy.h"
#include "receipt/CopyComparison.h"
#include "receipt/KeptReceipts.h"

namespace project_share {

// What the project knows of a copy that is to be updated.
struct EarlierShare {
  KeptReceipt receipt;                      // by which it was made
  std::vector<CopyDifference> differences;  // of the copy from that
  std::shared_ptr<ReceiptReader> reader;    // open: the project may have removed the receipt by the end of the update
};

// Finds the receipt of the copy by its place, or else by what it holds. Of a share that was killed it is not known
// whether it came about, so the copy may be what any receipt says from the last complete one on. By content, where the
// receipt has that. Errors: NOT_THIS_COPY where it is no copy of this project, or one by another profile, of another
// folder, or plain where this one is not; those of differencesOf.
EarlierShare earlierShareOf(const folder_host::FolderProject& project, const folder_host::EarlierCopy& copy,
                            const ReceiptHead& wanted, CompareBy by,
                            const std::function<void(const folder_host::Progress&)>& onProgress);

// What a new copy has that an earlier one had not, and the other way round, each by its path in the copy: "added",
// "changed", "taken back".
std::map<std::string, const char*> changesSince(const EarlierShare& earlier, const folder_host::WorkingCopy& copy,
                                                const folder_host::HandedOut& result);

}  // namespace project_share
