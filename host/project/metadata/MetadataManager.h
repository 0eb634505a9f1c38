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
// in a read or a write scope, and a write scope in a write scope, so that an application can join several edits. Nodes
// are read and written without a scope as well. Texts, types and locations of nodes are stored and compared code unit
// by code unit.
class MetadataManager {
 public:
  // All that is read while the scope lasts is one state of the store.
  virtual MetadataScopeGuard beginReadScope() = 0;

  // The scope keeps other writers out while it lasts. The host had best undo a scope that an exception ends, for the
  // library undoes nothing.
  virtual MetadataScopeGuard beginWriteScope() = 0;

  // Gives a copy of the node, to be changed and given to setNodes; an empty pointer where there is no such node.
  virtual std::unique_ptr<MetadataNode> getNode(const MetadataPath& path) = 0;

  // Writes each node at its path, missing parents included. The values that the node gives replace the stored ones of
  // the same keys; what lies below the node is not touched. A node is one that getNode gave, or a
  // MetadataNodeSpecification with or without values.
  virtual void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& nodes) = 0;

  // Gives the direct children, each once, as whole paths in any order; none for an absent node.
  virtual std::vector<MetadataPath> getChildPaths(const MetadataPath& path) = 0;

  // Removes each node with all that lies below it. An absent node is passed over, and an empty list removes nothing.
  virtual void removeNodes(const std::vector<MetadataPath>& paths) = 0;

  virtual bool nodeExists(MetadataPath path) = 0;

  virtual ~MetadataManager() = default;
};

// Gives a new UUID: never one that was given before in any process, and never "wholeproject". The host defines this
// function.
std::u16string generateUUID();

}  // namespace project::metadata

#pragma GCC visibility pop
