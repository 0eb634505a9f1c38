#include "folder_host/share/read/FirstBytes.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "folder_host/files/Listing.h"
#include "folder_host/labels/Memory.h"
#include "folder_host/share/CopyNotes.h"
#include "folder_host/share/ShareList.h"
#include "folder_host/store/Schema.h"

namespace folder_host {

// Read at a position, so that whoever copies the file from the same descriptor begins at its first byte.
std::string firstBytesOf(const Descriptor& file) {
  std::array<char, FIRST_BYTES> bytes{};
  const ssize_t length = ::pread(file.get(), bytes.data(), bytes.size(), 0);
  if (length < 0) throwErrno();
  return {bytes.data(), static_cast<std::size_t>(length)};
}

namespace {

// Takes the word and the blanks before it off the front, where it is there.
bool take(std::string_view& first, std::string_view word) {
  first.remove_prefix(std::min(first.find_first_not_of(" \t\r\n"), first.size()));
  const bool there = first.substr(0, word.size()) == word;
  first.remove_prefix(there ? word.size() : 0);
  return there;
}

// What stands behind the first brace; JSON may begin with a byte order mark and blanks. Empty where there is none.
std::string_view insideObject(std::string_view first) {
  take(first, "\xef\xbb\xbf");
  return take(first, "{") ? first : std::string_view();
}

bool isKey(std::string_view first, std::string_view key) {
  return take(first, '"' + std::string(key) + '"') && take(first, ":");
}

bool holdsKey(std::string_view text, std::string_view key) {
  for (std::size_t at = 0; (at = text.find('"', at)) != text.npos; ++at) {
    if (isKey(text.substr(at), key)) return true;
  }
  return false;
}

}  // namespace

bool firstBytesTellExport(std::string_view first) { return isKey(insideObject(first), EXPORT_KEY); }

// A store under another name, a dump, an archive, a memory, a receipt or an export names labels, profiles and files
// that were held back. It is told by what it begins with, whatever it is called.
bool firstBytesTell(std::string_view first) {
  constexpr std::string_view DATABASE("SQLite format 3\0", 16);
  constexpr std::size_t ID_AT = 68;
  if (first.substr(0, DATABASE.size()) == DATABASE && first.size() >= ID_AT + 4) {
    std::uint32_t id = 0;
    for (std::size_t i = ID_AT; i < ID_AT + 4; ++i) id = (id << 8U) | static_cast<unsigned char>(first[i]);
    return id == STORE_ID;
  }
  for (const std::string_view archived : {".project/", "./.project/"}) {  // the first name of a tar file
    if (first.substr(0, archived.size()) == archived) return true;
  }
  if (first.find(FIRST_STATEMENT) != std::string_view::npos) return true;
  for (const std::string_view head : {MEMORY_HEAD, SHARE_LIST_HEAD, RECEIPT_HEAD, PAGE_HEAD, COPY_NOTES_HEAD}) {
    if (first.substr(0, head.size()) == head) return true;
  }
  const std::string_view object = insideObject(first);
  const auto holds = [&](std::string_view key) { return object.find(key) != std::string_view::npos; };
  if (holds("\"allowed\"") && holds("\"destination\"")) return true;  // its keys were sorted by another program
  return isKey(object, "receipt") || holdsKey(first, EXPORT_KEY);
}

}  // namespace folder_host
