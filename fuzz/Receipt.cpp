// Any bytes as a receipt, one that a person names or one that a project keeps.

#include <sys/mman.h>

#include "Fuzz.h"
#include "folder_host/Error.h"
#include "output/Json.h"
#include "receipt/ReceiptReader.h"

using namespace project_share;

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  folder_host::Descriptor file(::memfd_create("receipt", MFD_CLOEXEC));
  writeAll(file, {reinterpret_cast<const char*>(bytes), size});
  const auto kept = keptHeadOf(file);
  try {
    ReceiptReader receipt(std::move(file), "fed");
    require(!kept || *kept == receipt.head(), "the line before a kept receipt is of it");
    std::string last;
    std::size_t held = 0;
    receipt.forEachShared([&](const ReceiptEntry& entry) {
      require(last < entry.path, "each path is there once");
      require(entry.path.substr(0, 3) != "../" && entry.path.front() != '/', "none leads out of the copy");
      last = entry.path;
    });
    receipt.forEachHeldBack([&](const ReceiptHeldBack& entry) {
      require(!reasonInWords(entry.reason).empty(), "each has a reason");
      ++held;
    });
    receipt.forEachOf("heldBack", [&](const nlohmann::json&) { --held; });
    require(held == 0, "each reading has the same");
  } catch (const folder_host::Error&) {
    return 0;
  }
  return 0;
}
