#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "project/management/ProjectManager.h"

namespace bench {

// A project that answers at once, from tables made beforehand, and removes nothing: what is measured is the filter.
class FlatHost final : public project::management::ProjectManager,
                       private project::management::FileManager,
                       private project::management::LabelManager {
 public:
  // Half of the entries are folders, each with one file in it; `depth` folders stand in one another. Every folder
  // carries the label ("c", "selected"), no file carries any: all folders are selected and all are spared.
  FlatHost(std::size_t entries, std::size_t depth);
  ~FlatHost() override;

  project::management::LabelManager& getLabelManager() override { return *this; }
  project::management::FileManager& getFileManager() override { return *this; }
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override { return nullptr; }

  // The calls that a file filter, or a label filter that selects nothing, has to make, and nothing else.
  void callAsAFilterMust();
  void callAsALabelFilterMust() const;

 private:
  std::vector<fl::filesystem::path> getFiles() override { return entries_; }
  fl::filesystem::path getRootFolder() override { return fl::filesystem::path(u"/p", true); }
  std::vector<project::management::FileLabel> getFileLabels(const fl::filesystem::path& entry) override;
  bool isFolder(const fl::filesystem::path& entry) override { return entry.text().back() == u'd'; }
  std::vector<fl::filesystem::path> removeFiles(const std::vector<fl::filesystem::path>&) override { return {}; }

  std::vector<project::management::CategoryIdentifier> getCategories() const override { return {label_.getCategory()}; }
  void removeCategory(const project::management::CategoryIdentifier&) override {}
  std::vector<project::management::LabelIdentifier> getLabels(
      const project::management::CategoryIdentifier&) const override {
    return labels_;
  }
  void removeLabel(const project::management::CategoryIdentifier&, const project::management::LabelIdentifier&,
                   bool) override {}

  std::vector<fl::filesystem::path> entries_;
  std::vector<project::management::LabelIdentifier> labels_;
  project::management::FileLabel label_;
};

}  // namespace bench
