#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "folder_host/share/HandOut.h"
#include "folder_host/share/read/CopyContent.h"
#include "receipt/ReceiptReader.h"

namespace project_share {

struct CopyDifference {
  const char* how;  // "missing", "changed", "added"
  std::string path;
};

// By what a file is taken for what was handed out: by its content, where the receipt has that, or by size, time and
// mode.
enum class CompareBy { content, status };

// What of the copy is not as the receipt has it, by path: names, kinds and where links lead; of files also what is
// compared; of folders, by status, the mode. The copy's store is compared by its content always. `onProgress` is called
// often; what it throws passes. Errors of reading: RECEIPT_UNREADABLE, ENTRY_UNREADABLE.
std::vector<CopyDifference> differencesOf(folder_host::CopyContent& copy, ReceiptReader& receipt, CompareBy by,
                                          const std::function<void(const folder_host::Progress&)>& onProgress);

}  // namespace project_share
