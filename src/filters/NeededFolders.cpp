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

NeededFolders::NeededFolders(std::u16string root, const KeyedHash& hash) : root_(std::move(root)), folders_(hash) {}

void NeededFolders::needAncestorsOf(const fl::filesystem::path& entry) {
  std::u16string folder = parentOf(entry.text());
  if (isLatest(folder)) return;
  latest_ = folder;
  while (!folder.empty() && folder != root_ && folders_.insert(folder).isNew) folder = parentOf(folder);
}

bool NeededFolders::isLatest(TextSet::Text folder) const {
  return folder.size() == latest_.size() &&
         std::memcmp(folder.data(), latest_.data(), sizeof(char16_t) * folder.size()) == 0;
}

bool NeededFolders::forget(const fl::filesystem::path& folder, Mark mark) {
  return folders_.erase(folder.text(), mark);
}

}  // namespace project::sharing::profiles
