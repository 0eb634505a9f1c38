#include "Floor.h"

#include <algorithm>
#include <set>

namespace bench {

using fl::filesystem::path;
using project::management::CategoryIdentifier;
using project::management::FileManager;
using project::management::Label;
using project::management::LabelIdentifier;
using project::management::LabelManager;
using namespace project::sharing::profiles;

namespace {

using Listed = std::set<ExportStrategyItem>;

bool isListed(const Listed& items, const Label& label) {
  return items.count({label.getCategory().toString(), label.getUUID()}) != 0;
}

std::u16string parentOf(const std::u16string& text) {
  const std::u16string parent = fl::filesystem::detail::extract_parent_path(text);
  return parent.empty() ? parent : fl::filesystem::detail::make_native_form(parent, true);
}

// How many folders above `text` were asked for; those that are new are added.
unsigned need(std::u16string text, const std::u16string& root, std::set<std::u16string>& needed) {
  for (unsigned questions = 1;; ++questions) {
    text = parentOf(text);
    if (text.empty() || text == root || !needed.insert(text).second) return questions;
  }
}

}  // namespace

Floor::Floor(std::u16string kind, const plain::Items& items, project::management::ProjectManager& project)
    : kind_(std::move(kind)),
      ofFiles_(kind_ == EXCLUDE_FILES_WITH_LABEL || kind_ == INCLUDE_FILES_WITH_LABEL),
      project_(project) {
  ofFiles_ ? planFiles(items) : planLabels(items);
}

Floor::~Floor() = default;

void Floor::planFiles(const plain::Items& items) {
  const Listed listed(items.begin(), items.end());
  FileManager& manager = project_.getFileManager();
  const bool listedGo = kind_ == EXCLUDE_FILES_WITH_LABEL;
  std::set<std::u16string> needed;
  std::vector<path> selected;
  for (const path& entry : manager.getFiles()) {
    const auto labels = manager.getFileLabels(entry);
    const auto goes = [&](const Label& label) { return isListed(listed, label) == listedGo; };
    const auto found = std::find_if(labels.begin(), labels.end(), goes);
    Step& step = steps_.emplace_back();
    step.stays = found == labels.end() && (listedGo || !labels.empty());
    step.labels = static_cast<unsigned>(found - labels.begin()) + (found != labels.end() ? 1 : 0);
    if (!step.stays) selected.push_back(entry);
    if (step.stays && !manager.isFolder(entry)) {
      step.questions = need(entry.text(), manager.getRootFolder().text(), needed);
    }
  }
  folders_ = needed.size();
  const auto goes = [&](const path& entry) { return needed.count(entry.text()) == 0; };
  std::copy_if(selected.begin(), selected.end(), std::back_inserter(files_), goes);
}

void Floor::planLabels(const plain::Items& items) {
  const Listed listed(items.begin(), items.end());
  const LabelManager& manager = project_.getLabelManager();
  for (const CategoryIdentifier& category : manager.getCategories()) {
    for (const LabelIdentifier& label : manager.getLabels(category)) {
      const Label one(category, label);
      if (isListed(listed, one) == (kind_ == EXCLUDE_LABEL)) labels_.push_back(one);
    }
  }
}

void Floor::call() { ofFiles_ ? callForFiles() : callForLabels(); }

void Floor::look(const Label& label) {
  seen_ = label.getCategory().toString().back();
  seen_ = label.getUUID().back();
}

void Floor::walk(const std::u16string& text, unsigned questions) {
  if (questions == 0) return;
  std::u16string parent = parentOf(text);
  while (--questions > 0) parent = parentOf(parent);
  seen_ = parent.size();
}

void Floor::callForFiles() {
  FileManager& manager = project_.getFileManager();
  const std::vector<path> entries = manager.getFiles();
  seen_ = manager.getRootFolder().text().size();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto labels = manager.getFileLabels(entries[i]);
    for (unsigned j = 0; j < steps_[i].labels; ++j) look(labels[j]);
    if (steps_[i].stays && !manager.isFolder(entries[i])) walk(entries[i].text(), steps_[i].questions);
  }
  manager.removeFiles(files_);
}

void Floor::callForLabels() {
  LabelManager& manager = project_.getLabelManager();
  std::vector<Label> labels;
  for (const CategoryIdentifier& category : manager.getCategories()) {
    for (LabelIdentifier& label : manager.getLabels(category)) labels.emplace_back(category, std::move(label));
  }
  for (const Label& label : labels) {
    look(label);
    seen_ = static_cast<std::size_t>(label.getLabelIdentifier().isRemovable());
  }
  for (const Label& label : labels_) {
    manager.removeLabel(label.getCategory(), label.getLabelIdentifier(), false);
    if (manager.getLabels(label.getCategory()).empty()) manager.removeCategory(label.getCategory());
  }
}

}  // namespace bench
