#include "folder_host/store/Blob.h"

#include <cstddef>

#include "folder_host/Error.h"

namespace folder_host {

namespace {

unsigned byteAt(std::string_view bytes, std::size_t index) { return static_cast<unsigned char>(bytes[index]); }

}  // namespace

// The high byte stands first: SQLite compares blobs byte by byte, so rows come in the order of the texts, and a store
// reads the same on any machine.
void appendBlob(std::string& blob, std::u16string_view text) {
  std::size_t at = blob.size();
  blob.resize(at + 2 * text.size());
  for (const char16_t unit : text) {
    blob[at++] = static_cast<char>(static_cast<unsigned char>(unit >> 8U));
    blob[at++] = static_cast<char>(static_cast<unsigned char>(unit));
  }
}

std::string toBlob(std::u16string_view text) {
  std::string blob;
  appendBlob(blob, text);
  return blob;
}

std::u16string fromBlob(std::string_view blob) {
  // A name that was cut to whole characters would be another name: it is refused.
  if (blob.size() % 2 != 0)
    throw Error(errors::STORE_UNREADABLE, "the project's store holds half a character; take it from a backup");
  std::u16string text(blob.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>((byteAt(blob, 2 * i) << 8U) | byteAt(blob, 2 * i + 1));
  }
  return text;
}

}  // namespace folder_host
