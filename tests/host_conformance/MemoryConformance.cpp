// MemoryConformance [FAULT]: the suite on the host in memory. Each fault that it can be given stands in this file or in
// the host's functions as a text that begins with the clauses that fail by it; tests/checks/broken_hosts reads them.
#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <stdexcept>

#include "host_conformance/HostConformance.h"
#include "memory_host/MemoryHost.h"
#include "tiny_host/Hooks.h"

namespace memory_host {

namespace {

void throwIf(bool condition, const char* text) {
  if (condition && is(text)) throw std::runtime_error(text);
}

MetadataPath parentOf(const MetadataPath& path) {
  return MetadataPath({path.getElements().begin(), path.getElements().end() - 1});
}

// The path as a store sees it that does not tell all paths apart.
MetadataPath seen(const MetadataPath& path) {
  MetadataPathBuilder builder;
  for (const PathElement& element : path.getElements()) {
    std::u16string location = element.getLocation();
    if (is("STORE_008 STORE_009 STORE_014: names have no case"))
      std::replace(location.begin(), location.end(), u'A', u'a');
    builder.add(is("STORE_010: types do not count") ? u"type" : element.getType(), location);
  }
  return builder.build();
}

class FaultyMetadata final : public MemoryMetadata {
 public:
  MetadataScopeGuard beginReadScope() override { return begin(false); }
  MetadataScopeGuard beginWriteScope() override { return begin(true); }
  std::unique_ptr<MetadataNode> getNode(const MetadataPath& path) override {
    throwIf(openScopes() == 0, "SCOPE_004 STORE_003: no access without a scope");
    auto node = MemoryMetadata::getNode(seen(path));
    if (!node && is("STORE_006: getNode makes a node")) return std::make_unique<MetadataNodeSpecification>();
    return node;
  }
  void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& given) override {
    for (const auto& [path, node] : given) {
      const bool isOrphan = path.getElements().size() > 1 && !nodeExists(parentOf(path));
      throwIf(isOrphan, "STORE_001: setNodes makes no parents");
      if (isOrphan && is("STORE_001: parents are made anew")) nodes[parentOf(parentOf(path))] = {};
      MetadataNodeSpecification stored;
      for (const auto& [key, value] : dynamic_cast<MetadataNodeSpecification&>(*node).values()) {
        stored.put(key, is("STORE_011 STORE_014: U+0000 ends a value") ? value.substr(0, value.find(u'\0')) : value);
      }
      if (stored.values().empty() && is("STORE_012: a node without values is none")) continue;
      if (is("STORE_002: setNodes drops the children")) MemoryMetadata::removeNodes(getChildPaths(path));
      MemoryMetadata::setNodes({{seen(path), std::make_shared<MetadataNodeSpecification>(stored)}});
    }
  }
  std::vector<MetadataPath> getChildPaths(const MetadataPath& path) override {
    throwIf(!nodeExists(path), "STORE_006: getChildPaths of none throws");
    std::vector<MetadataPath> children = MemoryMetadata::getChildPaths(seen(path)), others;
    if (is("STORE_001 STORE_007: grandchildren are children")) others = children;
    if (is("STORE_008: children go by a prefix")) children.clear(), others = like(path);
    for (const MetadataPath& other : others) {
      for (const MetadataPath& child : MemoryMetadata::getChildPaths(other)) children.push_back(child);
    }
    return children;
  }
  void removeNodes(const std::vector<MetadataPath>& paths) override {
    if (is("STORE_013: removals wait for the end of the scope")) return later_ = paths, void();
    if (paths.empty() && is("STORE_005: an empty list is everything")) nodes.clear();
    for (const MetadataPath& path : paths) {
      throwIf(!nodeExists(path), "STORE_005: removeNodes of none throws");
      if (is("STORE_004 STORE_013: removeNodes keeps the children")) return nodes.erase(path), void();
      const bool wasThere = nodeExists(path);
      MemoryMetadata::removeNodes(is("STORE_009: removals go by a prefix") ? like(path) : std::vector{seen(path)});
      const bool isEmpty = wasThere && MemoryMetadata::getChildPaths(parentOf(path)).empty();
      if (isEmpty && is("STORE_004: a parent goes with its last child")) nodes.erase(parentOf(path));
    }
  }
  bool nodeExists(MetadataPath path) override {
    throwIf(hasLostScope_, "SCOPE_001 SCOPE_002: an inner scope ends the outer one");
    return MemoryMetadata::nodeExists(seen(path));
  }

 private:
  // Those beside it whose names begin as its own, and itself.
  std::vector<MetadataPath> like(const MetadataPath& path) {
    std::vector<MetadataPath> alike;
    for (const MetadataPath& other : MemoryMetadata::getChildPaths(parentOf(path))) {
      if (other.getLeaf().getLocation().rfind(path.getLeaf().getLocation(), 0) == 0) alike.push_back(other);
    }
    return alike;
  }

  MetadataScopeGuard begin(bool write) {
    throwIf(isStuck_, "SCOPE_003: scopes do not end by an exception");
    throwIf(openScopes() > 0 && !outerWrites_, "SCOPE_001: no scope in a read scope");
    throwIf(openScopes() > 0 && outerWrites_, "SCOPE_002: no scope in a write scope");
    if (openScopes() == 0) outerWrites_ = write;
    const auto scope = std::make_shared<MetadataScopeGuard>(MemoryMetadata::beginReadScope());
    return MetadataScopeGuard([this, scope] {
      isStuck_ = std::uncaught_exceptions() > 0;
      hasLostScope_ = openScopes() > 1;
      MemoryMetadata::removeNodes(std::exchange(later_, {}));
    });
  }

  bool outerWrites_ = false, isStuck_ = false, hasLostScope_ = false;
  std::vector<MetadataPath> later_;
};

struct FaultyProject final : MemoryProject {
  explicit FaultyProject(std::shared_ptr<TinyMetadata> store = std::make_shared<FaultyMetadata>()) {
    metadata = std::move(store);
  }
  std::shared_ptr<MetadataManager> getMetadataManager() override {
    return std::exchange(metadata, is("SHARE_001 STORE_014: metadata is given once") ? nullptr : metadata);
  }
  std::vector<CategoryIdentifier> getCategories() const override {
    auto all = MemoryProject::getCategories();
    if (!all.empty() && is("LABEL_001 LABEL_003 FILE_004: a category comes twice")) all.emplace_back(all[0].toString());
    return all;
  }
  std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const override {
    auto found = MemoryProject::getLabels(category);
    if (!is("LABEL_002: every label may be removed")) return found;
    for (LabelIdentifier& label : found) label = LabelIdentifier(label.getUUID());
    return found;
  }
  void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) override {
    const auto before = entries;
    for (const LabelIdentifier& one : MemoryProject::getLabels(category)) {
      const bool isIt = one.getUUID() == label.getUUID();
      if (isIt || is("LABEL_003 LABEL_004: removeLabel takes the category"))
        MemoryProject::removeLabel(category, one, flag);
    }
    if (is("LABEL_004: a removed label stays attached")) entries = before;
  }
  std::vector<Path> getFiles() override {
    auto all = MemoryProject::getFiles();
    if (is("FILE_001 FILE_002 FILE_005 FILE_006: the root is listed")) all.push_back(getRootFolder());
    return all;
  }
  std::vector<FileLabel> getFileLabels(const Path& entry) override {
    return MemoryProject::getFileLabels(is("FILE_004: labels come of another entry") ? entries.back().name : entry);
  }
  bool isFolder(const Path& entry) override {
    return is("FILE_003: all are folders") || MemoryProject::isFolder(entry);
  }
  std::vector<Path> removeFiles(const std::vector<Path>& going) override {
    throwIf(going.empty(), "FILE_001 FILE_005: nothing cannot be removed");
    for (const Path& entry : going) {
      if (!isFolder(entry) || !is("FILE_006: folders are not removed")) MemoryProject::removeFiles({entry});
    }
    return going;
  }
};

host_conformance::Host makeHost() {
  const auto project = std::make_shared<FaultyProject>();
  host_conformance::Host bare;
  bare.project = project;
  if (is("no hooks")) return bare;
  host_conformance::Host host = hostOf(project);
  host.openAgain = [store = is("STORE_014: sessions share nothing") ? nullptr : project->metadata] {
    return store ? std::make_shared<FaultyProject>(store) : std::make_shared<FaultyProject>();
  };
  return host;
}

}  // namespace

}  // namespace memory_host

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc > 1) memory_host::fault = argv[1];
  host_conformance::registerSuite("MemoryHost", memory_host::makeHost);
  return RUN_ALL_TESTS();
}
