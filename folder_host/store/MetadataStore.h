#pragma once

#include <map>
#include <memory>
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

  // getValue of a key that the node does not have: std::out_of_range. The node stays valid when the store is gone.
  std::unique_ptr<project::metadata::MetadataNode> getNode(const project::metadata::MetadataPath& path) override;

  // Values that a node does not give stay as they are. Of a node that is neither a specification nor one that getNode
  // made, the keys that are already stored at the path are asked for; std::out_of_range means that it gives none.
  // All nodes are written or none. The empty path, or no node: std::invalid_argument.
  void setNodes(const std::map<project::metadata::MetadataPath, std::shared_ptr<project::metadata::MetadataNode>>&
                    nodes) override;

  // Sorted by type, then location (code-unit order).
  std::vector<project::metadata::MetadataPath> getChildPaths(const project::metadata::MetadataPath& path) override;

  // Of the empty path: every node.
  void removeNodes(const std::vector<project::metadata::MetadataPath>& paths) override;

  bool nodeExists(project::metadata::MetadataPath path) override;

 private:
  std::shared_ptr<Store> store_;
};

}  // namespace folder_host
