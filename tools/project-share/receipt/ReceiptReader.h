#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "folder_host/files/Descriptor.h"
#include "receipt/ReceiptEntry.h"

namespace project_share {

// Reads what may be a receipt (docs/json.md), the file of `share --receipt` or one that the project keeps, element by
// element: a long one takes no more room than its longest element. What is none, by its bytes, its parts or their
// types, is RECEIPT_UNREADABLE. Parts and fields that are not known are passed over.
class ReceiptReader {
 public:
  static constexpr std::uint64_t MOST = std::uint64_t{1} << 33U;

  // Opens it and waits for nothing; judges all of it, so that nothing is told by what is none: each part is there, and
  // once, all have their types, and the entries of each list stand in the order of their paths, each once.
  explicit ReceiptReader(const std::string& file);
  // Of a file that is open for reading; `named` is what people know it by. One that has more than `most` bytes, as they
  // expand, is none.
  ReceiptReader(folder_host::Descriptor file, std::string named, std::uint64_t most = MOST);
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
// stands compressed (folder_host/files/Compressed.h). None of anything else; fails with std::system_error.
std::optional<ReceiptHead> keptHeadOf(const folder_host::Descriptor& file);

}  // namespace project_share
