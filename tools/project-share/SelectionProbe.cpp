#include "SelectionProbe.h"

#include "project/management/ProjectManager.h"

namespace project_share {

using fl::filesystem::path;
using project::management::FileLabel;

namespace {

class FoldersOnly final : public project::management::ProjectManager, private project::management::FileManager {
 public:
  explicit FoldersOnly(folder_host::WorkingCopy& copy) : copy_(copy), files_(copy.getFileManager()) {}

  project::management::LabelManager& getLabelManager() override { return copy_.getLabelManager(); }
  project::management::FileManager& getFileManager() override { return *this; }
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override {
    return copy_.getMetadataManager();
  }

  std::vector<std::string> selected;

 private:
  std::vector<path> getFiles() override { return files_.getFiles(); }
  path getRootFolder() override { return files_.getRootFolder(); }
  std::vector<FileLabel> getFileLabels(const path& entry) override { return files_.getFileLabels(entry); }
  bool isFolder(const path&) override { return true; }
  std::vector<path> removeFiles(const std::vector<path>& entries) override {
    for (const path& entry : entries) selected.push_back(copy_.relative(entry));
    return {};
  }

  folder_host::WorkingCopy& copy_;
  project::management::FileManager& files_;
};

}  // namespace

std::vector<std::string> selectedBy(project::sharing::profiles::ExportFilter& filter, folder_host::WorkingCopy& copy) {
  FoldersOnly project(copy);
  filter.apply(project);
  return std::move(project.selected);
}

}  // namespace project_share
