#include "filters/NeededFolders.h"

#include <utility>

namespace project::sharing::profiles {

namespace {

std::u16string parentOf(const std::u16string& text) {
  if (text.empty()) return {};
  std::u16string parent = fl::filesystem::detail::extract_parent_path(text);
  return parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true);
}

}  // namespace

NeededFolders::NeededFolders(std::u16string root) : root_(std::move(root)) {}

void NeededFolders::needAncestorsOf(const fl::filesystem::path& entry) {
  std::u16string folder = parentOf(entry.text());
  if (latest_ != nullptr && folder == *latest_) return;
  bool isFirst = true;
  while (!folder.empty() && folder != root_) {
    const auto [known, isNew] = folders_.insert(std::move(folder));
    if (std::exchange(isFirst, false)) latest_ = &*known;
    if (!isNew) return;
    folder = parentOf(*known);
  }
}

bool NeededFolders::forget(const fl::filesystem::path& folder) {
  latest_ = nullptr;
  return folders_.erase(folder.text()) != 0;
}

}  // namespace project::sharing::profiles
