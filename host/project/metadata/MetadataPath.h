#pragma once

#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#pragma GCC visibility push(default)

namespace project::metadata {

// One step of a path: the type of a node, and its location among the nodes of that type.
class PathElement {
 public:
  PathElement(std::u16string type, std::u16string location) : type_(std::move(type)), location_(std::move(location)) {}

  const std::u16string& getType() const noexcept { return type_; }
  const std::u16string& getLocation() const noexcept { return location_; }

  friend bool operator==(const PathElement& a, const PathElement& b) noexcept {
    return a.type_ == b.type_ && a.location_ == b.location_;
  }
  friend bool operator<(const PathElement& a, const PathElement& b) noexcept {
    return std::tie(a.type_, a.location_) < std::tie(b.type_, b.location_);
  }

 private:
  std::u16string type_;
  std::u16string location_;
};

// Names a node by its elements from the top down. A MetadataPathBuilder makes paths. They are ordered element by
// element, and a path comes before the paths below it.
class MetadataPath {
 public:
  MetadataPath() = default;
  explicit MetadataPath(std::vector<PathElement> elements) : elements_(std::move(elements)) {}

  const std::vector<PathElement>& getElements() const noexcept { return elements_; }

  // Gives the last element; throws std::out_of_range for an empty path.
  const PathElement& getLeaf() const {
    if (elements_.empty()) throw std::out_of_range("MetadataPath::getLeaf: the path is empty");
    return elements_.back();
  }

 private:
  std::vector<PathElement> elements_;
};

inline bool operator==(const MetadataPath& a, const MetadataPath& b) noexcept {
  return a.getElements() == b.getElements();
}
inline bool operator<(const MetadataPath& a, const MetadataPath& b) noexcept {
  return a.getElements() < b.getElements();
}

class MetadataPathBuilder {
 public:
  MetadataPathBuilder& add(std::u16string type, std::u16string location) {
    elements_.emplace_back(std::move(type), std::move(location));
    return *this;
  }
  MetadataPathBuilder& add(const MetadataPath& path) {
    elements_.insert(elements_.end(), path.getElements().begin(), path.getElements().end());
    return *this;
  }
  MetadataPath build() const { return MetadataPath(elements_); }

 private:
  std::vector<PathElement> elements_;
};

}  // namespace project::metadata

#pragma GCC visibility pop
