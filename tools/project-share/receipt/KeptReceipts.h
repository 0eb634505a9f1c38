#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "folder_host/FolderProject.h"
#include "folder_host/files/Compressed.h"
#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Publication.h"
#include "receipt/ReceiptReader.h"

// What a project's own folder keeps of its shares, beside the store: a receipt each, for nobody else to read. Whatever
// else lies in its place is passed over, and neither followed nor waited for.
namespace project_share {

// Folders in the store's folder: of shares, and of judgements that somebody was shown.
inline constexpr const char* RECEIPTS = "receipts";
inline constexpr const char* JUDGEMENTS = "judgements";

inline constexpr std::size_t KEPT_RECEIPTS = 10;

struct KeptReceipt {
  std::string name;  // in its folder; the names are in the order in which they were made
  ReceiptHead head;
  // Its share has come about. Else that is not known: it is at work, or was killed just before or just after the copy
  // got its name.
  bool isComplete;
};

// The newest first; those of shares at work among them. The heads alone are read.
std::vector<KeptReceipt> keptReceipts(const folder_host::FolderProject& project, const char* folder = RECEIPTS);
// Error: RECEIPT_UNREADABLE, also where it has more than `most` bytes.
ReceiptReader openKept(const folder_host::FolderProject& project, const KeptReceipt& kept,
                       const char* folder = RECEIPTS, std::uint64_t most = ReceiptReader::MOST);

// Fails where none can be kept, with std::system_error; makes nothing.
void checkKeeping(const folder_host::FolderProject& project, const char* folder = RECEIPTS);

// Writes one that is to be kept. It is removed when this object ends, unless its share has come about. Everything here
// fails with std::system_error.
class Keeping {
 public:
  // Makes the folder where there is none.
  Keeping(const folder_host::FolderProject& project, const ReceiptHead& head, const char* folder = RECEIPTS);
  ~Keeping();
  Keeping(const Keeping&) = delete;
  Keeping& operator=(const Keeping&) = delete;

  void put(std::string_view text) { text_->add(text); }
  // All of it was put; it is whole and durable under its name from now on, and not complete.
  void finish();
  // Its share has come about.
  void complete();

 private:
  folder_host::Descriptor folder_;
  std::string name_;
  folder_host::Publication staging_;
  folder_host::Descriptor file_;
  std::optional<folder_host::Compressor> text_;
  bool isNamed_ = false;
};

// Removes all but the last `most` that are of the same profile, scope and destination as `of`, and those of killed
// shares that no one will ask for any more; as far as that can be done.
void forgetOlder(const folder_host::FolderProject& project, const ReceiptHead& of, std::size_t most,
                 const char* folder = RECEIPTS);

}  // namespace project_share
