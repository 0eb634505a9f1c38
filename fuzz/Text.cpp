// Bytes that are file names, and texts of any units.

#include "folder_host/Text.h"

#include <algorithm>

#include "Fuzz.h"
#include "folder_host/FoldedName.h"
#include "folder_host/Shown.h"

using namespace folder_host;

namespace {

bool steersNothing(const std::string& text) {
  return std::none_of(text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::u16string text = fromBytes(bytes);
  require(toBytes(text) == bytes, "a file name comes back byte by byte");
  require(fromBlob(toBlob(text)) == text, "a stored text comes back unit by unit");
  require(steersNothing(shown(bytes)) && steersNothing(shown(text)), "a name that is shown steers no terminal");
  require(foldedName(foldedName(bytes)) == foldedName(bytes), "a folded name stays as it is");
  if (size % 2 == 0) require(toBlob(fromBlob(bytes)) == bytes, "any units come back");
  return 0;
}
