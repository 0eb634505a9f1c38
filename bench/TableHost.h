#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Shape.h"
#include "project/management/ProjectManager.h"

namespace bench {

// A project in memory that finds an entry by its path in a hash table, and removes nothing: it stays the same for the
// next run.
class TableHost final : public project::management::ProjectManager,
                        private project::management::FileManager,
                        private project::management::LabelManager {
 public:
  // Every tenth entry is a folder, the nine after it are files in it. Every other entry carries labels that the items
  // name, the others labels that no item names; they are drawn from as many as there are items. Of a label filter's
  // project every label is in a category with nineteen others.
  explicit TableHost(const Shape& shape);
  ~TableHost() override;

  project::management::LabelManager& getLabelManager() override { return *this; }
  project::management::FileManager& getFileManager() override { return *this; }
  std::shared_ptr<project::metadata::MetadataManager> getMetadataManager() override { return nullptr; }

 private:
  struct Entry {
    bool isFolder = false;
    std::vector<std::uint32_t> labels;
  };

  void addTree(const Shape& shape);
  void addEntry(const Shape& shape, std::u16string text, bool isFolder);
  void addLabels(const Shape& shape);
  const Entry& at(const fl::filesystem::path& entry) const { return entries_[index_.at(entry.text())]; }

  std::vector<fl::filesystem::path> getFiles() override { return paths_; }
  fl::filesystem::path getRootFolder() override { return fl::filesystem::path(u"/p", true); }
  std::vector<project::management::FileLabel> getFileLabels(const fl::filesystem::path& entry) override;
  bool isFolder(const fl::filesystem::path& entry) override { return at(entry).isFolder; }
  std::vector<fl::filesystem::path> removeFiles(const std::vector<fl::filesystem::path>&) override { return {}; }

  std::vector<project::management::CategoryIdentifier> getCategories() const override { return categories_; }
  void removeCategory(const project::management::CategoryIdentifier&) override {}
  std::vector<project::management::LabelIdentifier> getLabels(
      const project::management::CategoryIdentifier& category) const override {
    return labels_.at(category.toString());
  }
  void removeLabel(const project::management::CategoryIdentifier&, const project::management::LabelIdentifier&,
                   bool) override {}

  std::vector<fl::filesystem::path> paths_;
  std::vector<Entry> entries_;
  std::unordered_map<std::u16string_view, std::size_t> index_;
  std::vector<project::management::FileLabel> pool_;  // the labels that hang on entries
  std::vector<project::management::CategoryIdentifier> categories_;
  std::unordered_map<std::u16string, std::vector<project::management::LabelIdentifier>> labels_;
};

}  // namespace bench
