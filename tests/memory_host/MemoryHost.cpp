#include "memory_host/MemoryHost.h"

#include <algorithm>
#include <stdexcept>

namespace memory_host {

namespace {

bool isAtOrBelow(const MetadataPath& path, const MetadataPath& above) {
  const std::vector<PathElement>& elements = path.getElements();
  const std::vector<PathElement>& prefix = above.getElements();
  return elements.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), elements.begin());
}

}  // namespace

MemoryMetadata::~MemoryMetadata() = default;
MemoryLabels::~MemoryLabels() = default;
MemoryFiles::~MemoryFiles() = default;
MemoryProject::~MemoryProject() = default;

MetadataScopeGuard MemoryMetadata::beginReadScope() {
  ++openScopes_;
  return MetadataScopeGuard([this] { --openScopes_; });
}

MetadataScopeGuard MemoryMetadata::beginWriteScope() { return beginReadScope(); }

MemoryMetadata::Values* MemoryMetadata::find(const MetadataPath& path) {
  const auto found = std::find_if(nodes_.begin(), nodes_.end(), [&](const auto& node) { return node.first == path; });
  return found != nodes_.end() ? &found->second : nullptr;
}

MemoryMetadata::Values& MemoryMetadata::make(const MetadataPath& path) {
  if (Values* values = find(path)) return *values;
  if (path.getElements().size() > 1) {
    make(MetadataPath({path.getElements().begin(), std::prev(path.getElements().end())}));
  }
  return nodes_.emplace_back(path, Values()).second;
}

std::unique_ptr<MetadataNode> MemoryMetadata::getNode(const MetadataPath& path) {
  const Values* values = find(path);
  if (!values) return nullptr;
  auto node = std::make_unique<MetadataNodeSpecification>();
  for (const auto& [key, value] : *values) node->put(key, value);
  return node;
}

void MemoryMetadata::setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& nodes) {
  MemoryMetadata changed(*this);
  for (const auto& [path, node] : nodes) {
    Values& values = changed.make(path);
    for (const auto& [key, value] : dynamic_cast<MetadataNodeSpecification&>(*node).values()) values[key] = value;
  }
  nodes_.swap(changed.nodes_);
}

std::vector<MetadataPath> MemoryMetadata::getChildPaths(const MetadataPath& path) {
  std::vector<MetadataPath> children;
  for (const auto& [child, values] : nodes_) {
    if (child.getElements().size() == path.getElements().size() + 1 && isAtOrBelow(child, path)) {
      children.push_back(child);
    }
  }
  return children;
}

void MemoryMetadata::removeNodes(const std::vector<MetadataPath>& paths) {
  for (const MetadataPath& path : paths) {
    const auto isGone = [&](const auto& node) { return isAtOrBelow(node.first, path); };
    nodes_.erase(std::remove_if(nodes_.begin(), nodes_.end(), isGone), nodes_.end());
  }
}

bool MemoryMetadata::nodeExists(MetadataPath path) { return find(path) != nullptr; }

MemoryLabels::Category& MemoryLabels::at(const std::u16string& category) {
  for (Category& known : categories_) {
    if (known.first == category) return known;
  }
  throw std::logic_error("no such category");
}

void MemoryLabels::addCategory(const std::u16string& category) { categories_.push_back({category, {}}); }

void MemoryLabels::addLabel(const std::u16string& category, const std::u16string& uuid, int isRemovable) {
  at(category).second.emplace_back(uuid, isRemovable);
}

std::vector<CategoryIdentifier> MemoryLabels::getCategories() const {
  std::vector<CategoryIdentifier> categories;
  for (const Category& category : categories_) categories.emplace_back(category.first);
  return categories;
}

void MemoryLabels::removeCategory(const CategoryIdentifier& category) {
  if (!at(category.toString()).second.empty()) throw std::logic_error("the category is not empty");
  const auto isGone = [&](const Category& known) { return known.first == category.toString(); };
  categories_.erase(std::find_if(categories_.begin(), categories_.end(), isGone));
}

std::vector<LabelIdentifier> MemoryLabels::getLabels(const CategoryIdentifier& category) const {
  return const_cast<MemoryLabels*>(this)->at(category.toString()).second;
}

void MemoryLabels::removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool) {
  std::vector<LabelIdentifier>& labels = at(category.toString()).second;
  const auto isGone = [&](const LabelIdentifier& known) { return known.getUUID() == label.getUUID(); };
  labels.erase(std::find_if(labels.begin(), labels.end(), isGone));
}

void MemoryFiles::addFile(const std::u16string& path, const Labels& labels) {
  entries_.emplace_back(path, entries_.size() % 2 == 0);
  for (const auto& [category, uuid] : labels) {
    labels_[path].emplace_back(CategoryIdentifier(category), LabelIdentifier(uuid));
  }
}

void MemoryFiles::addFolder(const std::u16string& path, const Labels& labels) {
  addFile(path, labels);
  folders_.insert(path);
}

std::vector<std::u16string> MemoryFiles::texts() const {
  std::vector<std::u16string> texts;
  for (const Path& entry : entries_) texts.push_back(entry.text());
  return texts;
}

std::vector<Path> MemoryFiles::getFiles() { return entries_; }

Path MemoryFiles::getRootFolder() { return Path(root, true); }

std::vector<FileLabel> MemoryFiles::getFileLabels(const Path& entry) {
  const auto found = labels_.find(entry.text());
  return found != labels_.end() ? found->second : std::vector<FileLabel>();
}

bool MemoryFiles::isFolder(const Path& entry) { return folders_.count(entry.text()) != 0; }

std::vector<Path> MemoryFiles::removeFiles(const std::vector<Path>& entries) {
  for (const Path& entry : entries) {
    const auto isIt = [&](const Path& one) { return one == entry && one.flag() == entry.flag(); };
    const auto found = std::find_if(entries_.begin(), entries_.end(), isIt);
    if (found == entries_.end()) throw std::logic_error("no such entry");
    entries_.erase(found);
  }
  return entries;
}

}  // namespace memory_host
