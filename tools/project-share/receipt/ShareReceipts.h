#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/FolderProject.h"
#include "judgement/Risk.h"
#include "receipt/KeptReceipts.h"
#include "receipt/Receipt.h"
#include "receipt/ReceiptText.h"

namespace project_share {

// The receipts of one share, of one text: the file that was asked for, and the one that the project keeps. That the
// second cannot be written is a note, and no reason to hand out nothing.
class ShareReceipts {
 public:
  // The project, and the file where there is to be one, outlive this object. `most`: how many are kept; 0: none. Where
  // it is known that none can be kept, no try is made.
  ShareReceipts(const folder_host::FolderProject& project, std::optional<Receipt>& file, std::size_t most, bool canKeep)
      : project_(project), file_(file), most_(most), keeps_(canKeep && most > 0) {}

  bool isAnyWanted() const noexcept { return file_ || keeps_; }
  // Both are durable when it returns; the kept one is not complete yet. Error: RECEIPT_FAILED.
  void write(const ReceiptHead& head, const ReceiptSource& source);
  // The share has come about. What the project keeps too many of the same profile, scope and destination is removed.
  // Error: RECEIPT_FAILED.
  void complete(const ReceiptHead& of);

  // What keeps the project from keeping one.
  const std::vector<Risk>& notes() const noexcept { return notes_; }

 private:
  template <class Act>
  void keeping(const Act& act);

  const folder_host::FolderProject& project_;
  std::optional<Receipt>& file_;
  std::size_t most_;
  bool keeps_;
  std::optional<Keeping> kept_;
  std::vector<Risk> notes_;
};

// Notes before anything is copied that no receipt can be kept. Gives whether one can.
bool canBeKept(const folder_host::FolderProject& project, Findings& found);

}  // namespace project_share
