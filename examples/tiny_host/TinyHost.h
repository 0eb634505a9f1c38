#pragma once

#include <algorithm>
#include <exception>
#include <set>

#include "project/management/ProjectManager.h"

// A whole host: a project in memory, for one thread at a time. The seven functions are defined in TinyHost.cpp.
namespace tiny_host {

using namespace project::management;
using namespace project::metadata;
using fl::filesystem::path;

inline bool isIn(const MetadataPath& node, const MetadataPath& top) {
  const auto &elements = node.getElements(), &first = top.getElements();
  return elements.size() >= first.size() && std::equal(first.begin(), first.end(), elements.begin());
}

struct TinyMetadata : MetadataManager {
  std::map<MetadataPath, MetadataNodeSpecification> nodes;
  MetadataScopeGuard beginReadScope() override { return MetadataScopeGuard(nullptr); }
  MetadataScopeGuard beginWriteScope() override {  // what an exception leaves half done is undone
    return MetadataScopeGuard([this, before = nodes, exceptions = std::uncaught_exceptions()]() mutable {
      if (std::uncaught_exceptions() > exceptions) nodes.swap(before);
    });
  }
  std::unique_ptr<MetadataNode> getNode(const MetadataPath& node) override {
    return nodeExists(node) ? std::make_unique<MetadataNodeSpecification>(nodes.at(node)) : nullptr;
  }
  void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& given) override {
    for (const auto& [place, node] : given) {  // a specification of the library's, or one that getNode gave
      const auto& values = dynamic_cast<const MetadataNodeSpecification&>(*node).values();
      MetadataPathBuilder parents;
      for (const auto& one : place.getElements()) nodes[parents.add(one.getType(), one.getLocation()).build()];
      for (const auto& [key, value] : values) nodes.at(place).put(key, value);
    }
  }
  std::vector<MetadataPath> getChildPaths(const MetadataPath& top) override {
    std::vector<MetadataPath> children;
    for (const auto& [node, values] : nodes) {
      if (isIn(node, top) && node.getElements().size() == top.getElements().size() + 1) children.push_back(node);
    }
    return children;
  }
  void removeNodes(const std::vector<MetadataPath>& tops) override {
    for (const auto& top : tops) {
      for (auto one = nodes.begin(); one != nodes.end();) one = isIn(one->first, top) ? nodes.erase(one) : ++one;
    }
  }
  bool nodeExists(MetadataPath node) override { return nodes.count(node) != 0; }
};

using LabelKey = std::pair<std::u16string, std::u16string>;  // category, UUID
struct Entry {
  path name;
  bool isFolder;
  std::set<LabelKey> labels;
};

struct TinyProject : ProjectManager, LabelManager, FileManager {
  std::set<std::u16string> categories;
  std::map<LabelKey, int> labels;  // and whether a filter may remove the label
  std::vector<Entry> entries;
  std::shared_ptr<TinyMetadata> metadata = std::make_shared<TinyMetadata>();

  LabelManager& getLabelManager() override { return *this; }
  FileManager& getFileManager() override { return *this; }
  std::shared_ptr<MetadataManager> getMetadataManager() override { return metadata; }

  std::vector<CategoryIdentifier> getCategories() const override { return {categories.begin(), categories.end()}; }
  void removeCategory(const CategoryIdentifier& category) override { categories.erase(category.toString()); }
  std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const override {
    std::vector<LabelIdentifier> found;
    for (const auto& [label, isRemovable] : labels) {
      if (label.first == category.toString()) found.emplace_back(label.second, isRemovable);
    }
    return found;
  }
  void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool) override {
    const LabelKey key(category.toString(), label.getUUID());
    labels.erase(key);
    for (Entry& entry : entries) entry.labels.erase(key);
  }

  std::vector<path> getFiles() override {
    std::vector<path> all;
    for (const Entry& entry : entries) all.push_back(entry.name);
    return all;
  }
  path getRootFolder() override { return path(u"/p", true); }
  Entry& at(const path& name) {  // one that is listed
    return *std::find_if(entries.begin(), entries.end(), [&](const Entry& one) { return one.name == name; });
  }
  std::vector<FileLabel> getFileLabels(const path& entry) override {
    std::vector<FileLabel> attached;
    for (const LabelKey& key : at(entry).labels) {
      attached.emplace_back(CategoryIdentifier(key.first), LabelIdentifier(key.second, labels.at(key)));
    }
    return attached;
  }
  bool isFolder(const path& entry) override { return at(entry).isFolder; }
  std::vector<path> removeFiles(const std::vector<path>& removed) override {  // a folder with what lies in it
    for (const path& top : removed) {
      const auto isBelow = [&](const Entry& one) { return (one.name.text() + u"/").rfind(top.text() + u"/", 0) == 0; };
      entries.erase(std::remove_if(entries.begin(), entries.end(), isBelow), entries.end());
    }
    return removed;
  }
};

}  // namespace tiny_host
