#include "filters/NeededFolders.h"

#include <cstring>
#include <utility>

namespace project::sharing::profiles {

namespace {

std::u16string parentOf(const std::u16string& text) {
  if (text.empty()) return {};
  std::u16string parent = fl::filesystem::detail::extract_parent_path(text);
  return parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true);
}

}  // namespace

NeededFolders::NeededFolders(std::u16string rootText, const KeyedHash& hash)
    : root(std::move(rootText)), folders(hash) {}

void NeededFolders::needAncestorsOf(const fl::filesystem::path& entry) {
  std::u16string folder = parentOf(entry.text());
  if (isLatest(folder)) return;
  latest = folder;
  while (!folder.empty() && folder != root && folders.insert(folder).isNew) folder = parentOf(folder);
}

bool NeededFolders::isLatest(TextSet::Text folder) const {
  return folder.size() == latest.size() &&
         std::memcmp(folder.data(), latest.data(), sizeof(char16_t) * folder.size()) == 0;
}

bool NeededFolders::spare(const fl::filesystem::path& folder, Mark mark) { return folders.erase(folder.text(), mark); }

}  // namespace project::sharing::profiles
