#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/FolderProject.h"
#include "folder_host/share/read/CopyContent.h"
#include "judgement/Risk.h"
#include "receipt/KeptReceipts.h"
#include "receipt/ReceiptReader.h"

namespace project_share {

struct FoundReceipt {
  KeptReceipt kept;
  ReceiptReader receipt;
};

// What a receipt of a project of so many entries has at most, much more being there then: whoever looks at the last one
// without having been asked to reads no more.
constexpr std::uint64_t roomForEntries(std::size_t entries) { return (std::uint64_t{entries} * 10 + 10000) << 10U; }

// The first of them that can be read and has no more than `most` bytes; none where there is none. RECEIPT_DAMAGED is
// noted of those before it. After the third that cannot be read, no other one is tried.
std::optional<FoundReceipt> firstReadable(const folder_host::FolderProject& project,
                                          const std::vector<KeptReceipt>& candidates, std::uint64_t most,
                                          std::vector<Risk>& notes);

// The receipt that the project keeps of the copy that a person names: the last one of what was handed out to that place
// or, where there was none, of what holds the same. None that cannot be read, which is noted. Of a share of which it
// is not known whether it has come about, the copy tells.
std::optional<FoundReceipt> receiptOf(const folder_host::FolderProject& project, const std::string& named,
                                      folder_host::CopyContent& copy, std::vector<Risk>& notes);

}  // namespace project_share
