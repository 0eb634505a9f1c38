#include "PlainFilters.h"

#include <algorithm>
#include <set>

namespace plain {

using fl::filesystem::path;
using project::management::Label;
using namespace project::sharing::profiles;

namespace {

bool isListed(const Items& items, const Label& label) {
  const ExportStrategyItem item(label.getCategory().toString(), label.getUUID());
  return std::find(items.begin(), items.end(), item) != items.end();
}

std::u16string parentOf(const std::u16string& text) {
  if (text.empty()) return text;
  const std::u16string parent = fl::filesystem::detail::extract_parent_path(text);
  return parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true);
}

bool isSelected(const std::u16string& kind, const Items& items,
                const std::vector<project::management::FileLabel>& labels) {
  if ((labels.empty() || items.empty()) && kind == INCLUDE_FILES_WITH_LABEL) return true;
  const bool listedGo = kind == EXCLUDE_FILES_WITH_LABEL;
  return std::any_of(labels.begin(), labels.end(),
                     [&](const Label& label) { return isListed(items, label) == listedGo; });
}

void spare(const std::set<std::u16string>& needed, std::vector<path>& removals) {
  for (const std::u16string& folder : needed) {
    const auto found = std::find(removals.begin(), removals.end(), path(folder, true));
    if (found != removals.end()) removals.erase(found);
  }
}

}  // namespace

void applyFileFilter(const std::u16string& kind, const Items& items, project::management::ProjectManager& project) {
  project::management::FileManager& manager = project.getFileManager();
  const std::vector<path> entries = manager.getFiles();
  const path root = manager.getRootFolder();
  std::vector<path> removals;
  std::set<std::u16string> needed;
  for (const path& entry : entries) {
    if (isSelected(kind, items, manager.getFileLabels(entry))) {
      removals.push_back(entry);
    } else if (!manager.isFolder(entry)) {
      for (auto up = parentOf(entry.text()); !up.empty() && up != root.text(); up = parentOf(up)) needed.insert(up);
    }
  }
  spare(needed, removals);
  manager.removeFiles(removals);
}

void applyLabelFilter(const std::u16string& kind, const Items& items, project::management::ProjectManager& project) {
  if (items.empty()) return;
  project::management::LabelManager& manager = project.getLabelManager();
  std::vector<Label> labels;
  for (const auto& category : manager.getCategories()) {
    for (const auto& label : manager.getLabels(category)) labels.emplace_back(category, label);
  }
  const auto stays = [&](const Label& label) {
    return label.getLabelIdentifier().isRemovable() == 0 || isListed(items, label) != (kind == EXCLUDE_LABEL);
  };
  labels.erase(std::remove_if(labels.begin(), labels.end(), stays), labels.end());
  for (const Label& label : labels) {
    manager.removeLabel(label.getCategory(), label.getLabelIdentifier(), false);
    if (manager.getLabels(label.getCategory()).empty()) manager.removeCategory(label.getCategory());
  }
}

}  // namespace plain
