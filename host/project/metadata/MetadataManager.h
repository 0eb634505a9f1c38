#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "project/metadata/MetadataNode.h"
#include "project/metadata/MetadataPath.h"
#include "project/metadata/MetadataScopeGuard.h"

#pragma GCC visibility push(default)

namespace project::metadata {

// The metadata store of one project: a tree of nodes, each with values by key. Scopes nest on one thread: a read scope
// in a read or a write scope; a write scope in a write scope, so that an application can put several edits into one.
// Nodes are read and written without a scope as well. Texts, types and locations of nodes are kept and compared code
// unit by code unit.
class MetadataManager {
 public:
  // What is read while it lasts is one state of the store.
  virtual MetadataScopeGuard beginReadScope() = 0;

  // Keeps other writers out while it lasts. One that an exception ends is best undone: the library undoes nothing.
  virtual MetadataScopeGuard beginWriteScope() = 0;

  // A copy, to be changed and given to setNodes. Empty where there is no node.
  virtual std::unique_ptr<MetadataNode> getNode(const MetadataPath& path) = 0;

  // Writes each node at its path, missing parents included, and replaces the values that the node gives; what lies
  // below it stays. A node is one that getNode gave, or a MetadataNodeSpecification, with or without values.
  virtual void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& nodes) = 0;

  // The direct children, each once, as whole paths in any order; none of an absent node.
  virtual std::vector<MetadataPath> getChildPaths(const MetadataPath& path) = 0;

  // Each node goes with all that lies below it; an absent one is passed over, and an empty list removes nothing.
  virtual void removeNodes(const std::vector<MetadataPath>& paths) = 0;

  virtual bool nodeExists(MetadataPath path) = 0;

  virtual ~MetadataManager() = default;
};

// A new UUID, never one that was given before in any process, nor "wholeproject"; defined by the host.
std::u16string generateUUID();

}  // namespace project::metadata

#pragma GCC visibility pop
