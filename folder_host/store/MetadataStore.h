#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "project/metadata/MetadataManager.h"

namespace folder_host {

class Store;

// The metadata in a project's store. Every change is atomic by itself; open a write scope around several. The root
// above all nodes is named by the empty path: it is always there and has no values.
// Errors: those of the store; a scope that ends without success is reported by the call that follows.
class MetadataStore final : public project::metadata::MetadataManager {
 public:
  explicit MetadataStore(std::shared_ptr<Store> store);
  ~MetadataStore() override;

  project::metadata::MetadataScopeGuard beginReadScope() override;
  project::metadata::MetadataScopeGuard beginWriteScope() override;

  // Null where there is none. The node is a copy, which outlives the store; its getValue of a key that it does not have
  // throws std::out_of_range.
  std::unique_ptr<project::metadata::MetadataNode> getNode(const project::metadata::MetadataPath& path) override;

  // Values that are stored at the path, and that the node does not have, stay as they are. A node that is neither a
  // specification nor one that getNode made cannot tell its keys: it is asked for those that are stored, and where it
  // throws std::out_of_range, it does not have that one. All nodes are written or none. The empty path, or a null node:
  // std::invalid_argument.
  void setNodes(const std::map<project::metadata::MetadataPath, std::shared_ptr<project::metadata::MetadataNode>>&
                    nodes) override;

  // Sorted by type, then location (code-unit order).
  std::vector<project::metadata::MetadataPath> getChildPaths(const project::metadata::MetadataPath& path) override;

  // Each with what lies below it; the empty path means every node. What is not there is no error.
  void removeNodes(const std::vector<project::metadata::MetadataPath>& paths) override;

  using Nodes = std::map<project::metadata::MetadataPath, std::map<std::u16string, std::u16string>>;
  // Every node with its values. Error: STORE_UNREADABLE where a node's key is none.
  Nodes nodes() const;

  bool nodeExists(project::metadata::MetadataPath path) override;

 private:
  std::shared_ptr<Store> store_;
};

}  // namespace folder_host
