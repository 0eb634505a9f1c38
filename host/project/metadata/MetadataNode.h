#pragma once

#include <map>
#include <string>
#include <utility>

#pragma GCC visibility push(default)

namespace project::metadata {

// The values of one node, by key. The object is a copy: what is set on it is stored when it is given to
// MetadataManager::setNodes.
class MetadataNode {
 public:
  // The reference lives until the node is changed or destroyed. The host decides what happens for an absent key.
  virtual const std::u16string& getValue(std::u16string key) = 0;
  virtual void setValue(std::u16string key, std::u16string value) = 0;
  virtual ~MetadataNode() = default;
};

// A node made in memory, to be given to MetadataManager::setNodes. Its getValue throws std::out_of_range for an absent
// key.
class MetadataNodeSpecification : public MetadataNode {
 public:
  // Sets the value of the key, in place of the one that is there.
  void put(std::u16string key, std::u16string value) { values_[std::move(key)] = std::move(value); }

  const std::map<std::u16string, std::u16string>& values() const noexcept { return values_; }

  const std::u16string& getValue(std::u16string key) override { return values_.at(key); }
  void setValue(std::u16string key, std::u16string value) override { put(std::move(key), std::move(value)); }

 private:
  std::map<std::u16string, std::u16string> values_;
};

}  // namespace project::metadata

#pragma GCC visibility pop
