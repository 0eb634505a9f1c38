// Bytes that are file names, and texts of any units.

#include "folder_host/store/Blob.h"
#include "folder_host/text/Utf.h"

#include "Fuzz.h"
#include "folder_host/files/Digest.h"
#include "folder_host/labels/Memory.h"
#include "folder_host/text/FoldedName.h"
#include "folder_host/text/Patterns.h"
#include "folder_host/text/Printable.h"

using namespace folder_host;

namespace {

// An emoji's style apart.
bool isSeen(std::string_view text) {
  while (!text.empty()) {
    const Character first = firstCharacter(text);
    const bool isStyle = first.point == 0xFE0E || first.point == 0xFE0F;
    if (!first.isValid || (isUnseen(first.point) && !isStyle)) return false;
    text.remove_prefix(first.length);
  }
  return true;
}

// Quotes within it come in pairs.
bool endsWithItsQuotes(const std::string& quoted) {
  std::size_t at = 1;
  while (quoted.at(at) != '\'' || quoted.compare(at, 2, "''") == 0) at += quoted[at] == '\'' ? 2U : 1U;
  return quoted.front() == '\'' && at + 1 == quoted.size();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const std::u16string text = fromBytes(bytes);
  require(toBytes(text) == bytes, "a file name comes back byte by byte");
  require(fromBlob(toBlob(text)) == text, "a stored text comes back unit by unit");
  require(isSeen(shown(bytes)), "what is shown is seen");
  require(endsWithItsQuotes(inQuotes(bytes)), "a name ends where its quotes end");
  require(foldedName(foldedName(bytes)) == foldedName(bytes), "a folded name stays as it is");
  const auto memory = memoryIn(bytes + sha256Of(bytes));
  require(!memory || memoryIn(bytesOf(*memory)), "a memory comes back");
  std::vector<std::size_t> deciding;
  if (patternFault(bytes) == nullptr) PatternTable({{0, bytes}}).match("a/b.c", true, deciding);
  if (size % 2 == 0) require(toBlob(fromBlob(bytes)) == bytes, "any units come back");
  return 0;
}
