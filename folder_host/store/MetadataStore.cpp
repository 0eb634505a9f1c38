#include "folder_host/store/MetadataStore.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "folder_host/Error.h"
#include "folder_host/store/Blob.h"
#include "folder_host/store/NodeKey.h"
#include "folder_host/store/Store.h"
#include "folder_host/text/Utf.h"

namespace folder_host {

using project::metadata::MetadataNode;
using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataPath;
using project::metadata::MetadataScopeGuard;
using project::metadata::PathElement;

namespace {

using NodeValues = std::map<std::u16string, std::u16string>;

// A node as it was read.
class StoredNode final : public MetadataNode {
 public:
  explicit StoredNode(NodeValues values) : values_(std::move(values)) {}
  ~StoredNode() override;

  const NodeValues& values() const { return values_; }

  const std::u16string& getValue(std::u16string key) override { return values_.at(key); }
  void setValue(std::u16string key, std::u16string value) override { values_[std::move(key)] = std::move(value); }

 private:
  NodeValues values_;
};

StoredNode::~StoredNode() = default;

NodeValues valuesAt(Store& store, const std::string& key) {
  NodeValues values;
  for (const Store::Row& row : store.query("SELECT key, value FROM node_value WHERE node = ?", {key})) {
    values[fromBlob(row[0])] = fromBlob(row[1]);
  }
  return values;
}

// The root is always there, though no row stands for it: it has neither a type nor a location.
bool isStored(Store& store, const MetadataPath& path) {
  if (path.getElements().empty()) return true;
  const PathElement& leaf = path.getLeaf();
  const char* sql = "SELECT 1 FROM node WHERE parent = ? AND type = ? AND location = ?";
  return !store.query(sql, {parentKeyOf(path), toBlob(leaf.getType()), toBlob(leaf.getLocation())}).empty();
}

// What a node of unknown making gives for the keys that are stored, or what is stored where it gives nothing.
// The interface has no way to ask a node for its keys.
NodeValues askedFor(MetadataNode& node, NodeValues stored) {
  for (auto& [key, value] : stored) {
    try {
      value = node.getValue(key);
    } catch (const std::out_of_range&) {
    }
  }
  return stored;
}

NodeValues valuesGivenBy(MetadataNode& node, Store& store, const MetadataPath& path) {
  if (const auto* specification = dynamic_cast<const MetadataNodeSpecification*>(&node)) return specification->values();
  if (const auto* stored = dynamic_cast<const StoredNode*>(&node)) return stored->values();
  return askedFor(node, valuesAt(store, nodeKeyOf(path)));
}

// Gives the node's key. Those above it are made, too: no walk from the root would find a node without a parent, and a
// store that holds one is refused as damaged.
std::string makeNodes(Store& store, const MetadataPath& path) {
  std::string parent;
  for (const PathElement& element : path.getElements()) {
    store.run("INSERT INTO node VALUES(?, ?, ?) ON CONFLICT(parent, type, location) DO NOTHING",
              {parent, toBlob(element.getType()), toBlob(element.getLocation())});
    appendToNodeKey(parent, element);
  }
  return parent;
}

void setNode(Store& store, const MetadataPath& path, MetadataNode& node) {
  const NodeValues values = valuesGivenBy(node, store, path);
  const std::string key = makeNodes(store, path);
  for (const auto& [name, value] : values) {
    store.run("INSERT INTO node_value VALUES(?, ?, ?) ON CONFLICT(node, key) DO UPDATE SET value = excluded.value",
              {key, toBlob(name), toBlob(value)});
  }
}

// Keys of all that lies below a node begin with the node's own, so they are one range, found without a walk. A search
// by text (LIKE) would find neighbours whose names begin alike, too.
void removeNode(Store& store, const MetadataPath& path) {
  if (path.getElements().empty()) {
    store.run("DELETE FROM node");
    store.run("DELETE FROM node_value");
    return;
  }
  const PathElement& leaf = path.getLeaf();
  const std::string key = nodeKeyOf(path);
  const std::string end = endOfKeys(key);
  store.run("DELETE FROM node WHERE parent = ? AND type = ? AND location = ?",
            {parentKeyOf(path), toBlob(leaf.getType()), toBlob(leaf.getLocation())});
  store.run("DELETE FROM node WHERE parent >= ? AND parent < ?", {key, end});
  store.run("DELETE FROM node_value WHERE node >= ? AND node < ?", {key, end});
}

}  // namespace

MetadataStore::MetadataStore(std::shared_ptr<Store> store) : store_(std::move(store)) {}

MetadataStore::~MetadataStore() = default;

MetadataScopeGuard MetadataStore::beginReadScope() { return store_->beginRead(); }

MetadataScopeGuard MetadataStore::beginWriteScope() { return store_->beginWrite(); }

// In one scope, or another program could remove the node after it was found and before its values are read.
std::unique_ptr<MetadataNode> MetadataStore::getNode(const MetadataPath& path) {
  const MetadataScopeGuard scope = store_->beginRead();
  if (!isStored(*store_, path)) return nullptr;
  return std::make_unique<StoredNode>(valuesAt(*store_, nodeKeyOf(path)));
}

void MetadataStore::setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& nodes) {
  for (const auto& [path, node] : nodes) {
    if (path.getElements().empty()) throw std::invalid_argument("MetadataStore::setNodes: the root has no values");
    if (node == nullptr) throw std::invalid_argument("MetadataStore::setNodes: there is no node");
  }
  store_->atomically([&] {
    for (const auto& [path, node] : nodes) setNode(*store_, path, *node);
  });
}

std::vector<MetadataPath> MetadataStore::getChildPaths(const MetadataPath& path) {
  std::vector<MetadataPath> children;
  const char* sql = "SELECT type, location FROM node WHERE parent = ? ORDER BY type, location";
  for (const Store::Row& row : store_->query(sql, {nodeKeyOf(path)})) {
    std::vector<PathElement> elements;
    elements.reserve(path.getElements().size() + 1);
    elements.insert(elements.end(), path.getElements().begin(), path.getElements().end());
    elements.emplace_back(fromBlob(row[0]), fromBlob(row[1]));
    children.emplace_back(std::move(elements));
  }
  return children;
}

void MetadataStore::removeNodes(const std::vector<MetadataPath>& paths) {
  store_->atomically([&] {
    for (const MetadataPath& path : paths) removeNode(*store_, path);
  });
}

MetadataStore::Nodes MetadataStore::nodes() const {
  Nodes nodes;
  const auto pathOf = [](const std::string& key) {
    auto path = pathOfNodeKey(key);
    if (!path) throw Error(errors::STORE_UNREADABLE, "the store has a node without a path; take it from a backup");
    return std::move(*path);
  };
  const MetadataScopeGuard scope = store_->beginRead();
  for (const Store::Row& row : store_->query("SELECT parent, type, location FROM node")) {
    std::vector<PathElement> elements = pathOf(row[0]).getElements();
    elements.emplace_back(fromBlob(row[1]), fromBlob(row[2]));
    nodes[MetadataPath(std::move(elements))];
  }
  for (const Store::Row& row : store_->query("SELECT node, key, value FROM node_value")) {
    nodes[pathOf(row[0])][fromBlob(row[1])] = fromBlob(row[2]);
  }
  return nodes;
}

bool MetadataStore::nodeExists(MetadataPath path) { return isStored(*store_, path); }

}  // namespace folder_host
