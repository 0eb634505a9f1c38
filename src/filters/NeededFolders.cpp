#include "filters/NeededFolders.h"

#include <cstring>
#include <utility>

namespace project::sharing::profiles {

namespace {

// The host's functions are written for paths: neither is ever given an empty text.
std::u16string parentOf(const std::u16string& text) {
  if (text.empty()) return {};
  std::u16string parent = fl::filesystem::detail::extract_parent_path(text);
  return parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true);
}

}  // namespace

NeededFolders::NeededFolders(std::u16string rootText, const KeyedHash& hash)
    : root(std::move(rootText)), folders(hash) {}

// The walk stops at the first folder that is known, so the host gives the parent of each folder once, however many
// files lie below it. Most files lie in the folder of the file before them, and cost one comparison, of bytes, since
// the standard library compares such texts unit by unit.
void NeededFolders::needAncestorsOf(const fl::filesystem::path& entry) {
  std::u16string folder = parentOf(entry.text());
  const bool isLatest = folder.size() == latest.size() &&
                        std::memcmp(folder.data(), latest.data(), sizeof(char16_t) * folder.size()) == 0;
  if (isLatest) return;
  latest = folder;
  while (!folder.empty() && folder != root && folders.insert(folder).isNew) folder = parentOf(folder);
}

bool NeededFolders::spare(const fl::filesystem::path& folder, Mark mark) { return folders.erase(folder.text(), mark); }

}  // namespace project::sharing::profiles
