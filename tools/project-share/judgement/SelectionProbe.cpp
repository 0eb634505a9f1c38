#include "judgement/SelectionProbe.h"

#include <map>
#include <stdexcept>
#include <string>

#include "project/management/ProjectManager.h"

namespace project_share {

using fl::filesystem::path;
using project::management::CategoryIdentifier;
using project::management::LabelIdentifier;

namespace {

// A filter that asks for more than its kind needs would decide by something that nobody made up: that is an error and
// no answer.
class Probe : public project::management::ProjectManager {
 public:
  project::management::LabelManager& getLabelManager() override { throw std::logic_error("the probe has no labels"); }
  project::management::FileManager& getFileManager() override { throw std::logic_error("the probe has no files"); }
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override {
    throw std::logic_error("the probe has no metadata");
  }
};

// Every entry is a folder, so that none is spared for the sake of another.
// A filter spares a folder for the sake of a file below it. To learn what it selects by labels alone, it is asked about
// a project without files, in which each entry lies beside the others.
class FoldersOnly final : public Probe, private project::management::FileManager {
 public:
  FoldersOnly(std::size_t count, const std::function<Labels(std::size_t)>& labelsOf)
      : selected(count), labelsOf_(labelsOf) {}

  project::management::FileManager& getFileManager() override { return *this; }

  std::vector<bool> selected;

 private:
  std::vector<path> getFiles() override {
    std::vector<path> files;
    files.reserve(selected.size());
    for (std::size_t i = 0; i < selected.size(); ++i) {
      const std::string digits = std::to_string(i);
      files.emplace_back(u"/" + std::u16string(digits.begin(), digits.end()), true);
    }
    return files;
  }
  path getRootFolder() override { return path(u"/", true); }
  Labels getFileLabels(const path& entry) override { return labelsOf_(indexOf(entry)); }
  bool isFolder(const path& /*entry*/) override { return true; }
  std::vector<path> removeFiles(const std::vector<path>& entries) override {
    for (const path& entry : entries) selected[indexOf(entry)] = true;
    return entries;
  }

  static std::size_t indexOf(const path& entry) {
    return std::stoul(std::string(entry.text().begin() + 1, entry.text().end()));
  }

  const std::function<Labels(std::size_t)>& labelsOf_;
};

class LabelsOnly final : public Probe, private project::management::LabelManager {
 public:
  explicit LabelsOnly(const Labels& labels) {
    for (const auto& label : labels) byCategory_[label.getCategory().toString()].push_back(label.getLabelIdentifier());
  }

  project::management::LabelManager& getLabelManager() override { return *this; }

  bool isAnyRemoved = false;

 private:
  std::vector<CategoryIdentifier> getCategories() const override {
    std::vector<CategoryIdentifier> categories;
    for (const auto& [category, labels] : byCategory_) categories.emplace_back(category);
    return categories;
  }
  void removeCategory(const CategoryIdentifier& /*category*/) override {}
  // Once one was removed, the answer is known.
  std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const override {
    return isAnyRemoved ? std::vector<LabelIdentifier>() : byCategory_.at(category.toString());
  }
  void removeLabel(const CategoryIdentifier& /*category*/, const LabelIdentifier& /*label*/, bool /*flag*/) override {
    isAnyRemoved = true;
  }

  std::map<std::u16string, std::vector<LabelIdentifier>> byCategory_;
};

}  // namespace

std::vector<bool> selectedBy(project::sharing::profiles::ExportFilter& filter, std::size_t count,
                             const std::function<Labels(std::size_t)>& labelsOf) {
  FoldersOnly project(count, labelsOf);
  filter.apply(project);
  return std::move(project.selected);
}

bool takesAwayAny(project::sharing::profiles::ExportFilter& filter, const Labels& labels) {
  LabelsOnly project(labels);
  filter.apply(project);
  return project.isAnyRemoved;
}

}  // namespace project_share
