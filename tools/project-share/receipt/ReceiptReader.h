#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "folder_host/files/Descriptor.h"
#include "folder_host/files/Listing.h"

namespace project_share {

// What a receipt says of the share as a whole.
struct ReceiptHead {
  std::string time;                      // "2026-11-21T06:40:24Z"
  std::string profileUuid, profileName;  // both empty: the whole project
  std::string from;                      // the folder that was shared, relative to the project; empty: all of it
  std::string destination;               // absolute; of a stream "-", of a judgement that is kept for itself, empty
  std::string shape;                     // "folder", "tar", "tar.gz", "tar.zst", "zip"
  bool isPlain = false;                  // the copy has no store
  bool hasContent = false;               // each file's content was hashed
  std::string judgement, copy;           // SHA-256, in hexadecimal digits
};
bool operator==(const ReceiptHead& a, const ReceiptHead& b);

// An entry that was shared, by its path in the copy. The copy's store is among them, without times, mode or labels.
struct ReceiptEntry {
  std::string path;
  folder_host::EntryKind kind = folder_host::EntryKind::file;
  std::string target;      // of a link
  std::uint64_t size = 0;  // of a file
  timespec modified = {};
  mode_t mode = 0;                  // of a file or a folder
  std::string sha256;               // of a file, where its content was hashed
  std::vector<std::string> labels;  // UUIDs
};

struct ReceiptHeldBack {
  std::string path;  // relative to the folder that was shared, as all paths in a receipt
  folder_host::EntryKind kind = folder_host::EntryKind::file;
  nlohmann::json reason;            // docs/json.md
  std::vector<std::string> labels;  // UUIDs
};
// "filter 1, drop-files: audience/internal", as the share told it.
std::string reasonInWords(const nlohmann::json& reason);

// Reads what may be a receipt (docs/json.md), the file of `share --receipt` or one that the project keeps, element by
// element: a long one takes no more room than its longest element. What is none, by its bytes, its parts or their
// types, is RECEIPT_UNREADABLE. Parts and fields that are not known are passed over.
class ReceiptReader {
 public:
  // Opens it and waits for nothing; judges all of it, so that nothing is told by what is none: each part is there, and
  // once, all have their types, and the entries of each list stand in the order of their paths, each once.
  explicit ReceiptReader(const std::string& file);
  // Of a file that is open for reading; `named` is what people know it by.
  ReceiptReader(folder_host::Descriptor file, std::string named);
  ReceiptReader(ReceiptReader&&) noexcept;
  ~ReceiptReader();

  const ReceiptHead& head() const noexcept { return head_; }

  // In the order of their paths. Where the file has been changed since it was judged, these may throw after some
  // visits.
  void forEachShared(const std::function<void(ReceiptEntry)>& visit);
  void forEachHeldBack(const std::function<void(ReceiptHeldBack)>& visit);
  // The elements of another list: "filters", "allowed", "risks", "labelsRemoved", "labels", "allLabels".
  void forEachOf(const std::string& part, const std::function<void(const nlohmann::json&)>& visit);

 private:
  class Bytes;
  using Visit = std::function<void(const std::string& part, const nlohmann::json& value)>;

  void judge();
  void read(const Visit& visit);

  std::string named_;
  std::unique_ptr<Bytes> bytes_;
  ReceiptHead head_;
};

// A kept receipt begins with a line of its own: this, the head as an object, and the line's end. Behind it the receipt
// stands compressed (folder_host/files/Compressed.h).
nlohmann::ordered_json jsonOf(const ReceiptHead& head);
// Of the file's first line; none of anything else. Fails with std::system_error.
std::optional<ReceiptHead> keptHeadOf(const folder_host::Descriptor& file);

}  // namespace project_share
