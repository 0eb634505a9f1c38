#include "memory_host/MemoryHost.h"

namespace memory_host {

std::string fault;

MemoryMetadata::~MemoryMetadata() = default;
MemoryProject::~MemoryProject() = default;

void MemoryMetadata::setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& given) {
  TinyMetadata changed;
  changed.nodes = nodes;
  changed.setNodes(given);
  nodes.swap(changed.nodes);
}

void MemoryProject::addLabel(const std::u16string& category, const std::u16string& uuid, int isRemovable) {
  categories.insert(category);
  labels[{category, uuid}] = isRemovable;
}

void MemoryProject::add(const std::u16string& text, bool isFolder, const std::set<LabelKey>& attached) {
  for (const LabelKey& label : attached) labels.emplace(label, 1);
  entries.push_back({Path(text, entries.size() % 2 == 0), isFolder, attached});
}

std::vector<std::u16string> MemoryProject::texts() const {
  std::vector<std::u16string> texts;
  for (const Entry& entry : entries) texts.push_back(entry.name.text());
  return texts;
}

std::vector<Path> MemoryProject::removeFiles(const std::vector<Path>& removed) {
  for (const Path& path : removed) {
    const auto isIt = [&](const Entry& one) { return one.name == path && one.name.flag() == path.flag(); };
    const auto found = std::find_if(entries.begin(), entries.end(), isIt);
    if (found == entries.end()) throw std::logic_error("there is no such entry");
    entries.erase(found);
  }
  return removed;
}

}  // namespace memory_host
