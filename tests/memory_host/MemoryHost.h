#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "project/management/ProjectManager.h"

// A host that keeps everything in memory and does what the interfaces ask, no more. Lists come in the order in which
// things were added.
namespace memory_host {

using namespace project::management;
using namespace project::metadata;
using Path = fl::filesystem::path;

class MemoryMetadata final : public MetadataManager {
 public:
  ~MemoryMetadata() override;

  MetadataScopeGuard beginReadScope() override;
  MetadataScopeGuard beginWriteScope() override;
  std::unique_ptr<MetadataNode> getNode(const MetadataPath& node) override;
  // All of the nodes or, where it throws, none.
  void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& nodes) override;
  std::vector<MetadataPath> getChildPaths(const MetadataPath& node) override;
  void removeNodes(const std::vector<MetadataPath>& paths) override;
  bool nodeExists(MetadataPath node) override;

  int openScopes() const { return openScopes_; }

 private:
  using Values = std::map<std::u16string, std::u16string>;

  Values* find(const MetadataPath& node);
  Values& make(const MetadataPath& node);

  std::vector<std::pair<MetadataPath, Values>> nodes_;
  int openScopes_ = 0;
};

class MemoryLabels final : public LabelManager {
 public:
  ~MemoryLabels() override;

  void addCategory(const std::u16string& category);
  void addLabel(const std::u16string& category, const std::u16string& uuid, int isRemovable = 1);

  std::vector<CategoryIdentifier> getCategories() const override;
  void removeCategory(const CategoryIdentifier& category) override;
  std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const override;
  void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) override;

 private:
  using Category = std::pair<std::u16string, std::vector<LabelIdentifier>>;

  Category& at(const std::u16string& category);

  std::vector<Category> categories_;
};

class MemoryFiles final : public FileManager {
 public:
  ~MemoryFiles() override;

  std::u16string root = u"/p";

  // Each label is a pair of category and UUID.
  using Labels = std::vector<std::pair<std::u16string, std::u16string>>;
  void addFile(const std::u16string& text, const Labels& labels = {});
  void addFolder(const std::u16string& text, const Labels& labels = {});

  // The texts that are left, in order.
  std::vector<std::u16string> texts() const;

  std::vector<Path> getFiles() override;
  Path getRootFolder() override;
  std::vector<FileLabel> getFileLabels(const Path& entry) override;
  bool isFolder(const Path& entry) override;
  // One entry for each that is listed. A path has to come back as it was given out: std::logic_error.
  std::vector<Path> removeFiles(const std::vector<Path>& entries) override;

 private:
  std::vector<Path> entries_;
  std::map<std::u16string, std::vector<FileLabel>> labels_;
  std::set<std::u16string> folders_;
};

class MemoryProject final : public ProjectManager {
 public:
  ~MemoryProject() override;

  LabelManager& getLabelManager() override { return labels; }
  FileManager& getFileManager() override { return files; }
  std::shared_ptr<MetadataManager> getMetadataManager() override { return metadata; }

  MemoryLabels labels;
  MemoryFiles files;
  std::shared_ptr<MemoryMetadata> metadata = std::make_shared<MemoryMetadata>();
};

// What the host's path functions were asked for so far.
struct PathQuestions {
  std::size_t parents = 0;
  std::size_t misuses = 0;  // an empty text, a false flag: what they must never be given
};
PathQuestions pathQuestions();

// How many error identifiers the host was asked for.
int errorIdentifiersMade();

}  // namespace memory_host
