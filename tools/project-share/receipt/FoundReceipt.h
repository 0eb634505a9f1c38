#pragma once

#include <optional>
#include <string>

#include "folder_host/FolderProject.h"
#include "folder_host/share/read/CopyContent.h"
#include "receipt/KeptReceipts.h"
#include "receipt/ReceiptReader.h"

namespace project_share {

struct FoundReceipt {
  KeptReceipt kept;
  ReceiptReader receipt;
};

// The receipt that the project keeps of the copy that a person names: the last one of what was handed out to that place
// or, where there was none, of what holds the same. None that cannot be read. Of a share of which it is not known
// whether it has come about, the copy tells.
std::optional<FoundReceipt> receiptOf(const folder_host::FolderProject& project, const std::string& named,
                                      folder_host::CopyContent& copy);

}  // namespace project_share
