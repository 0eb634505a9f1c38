// MemoryConformance [FAULT]: the suite on the host in memory. Each fault that it can be given stands in this folder or
// in the host's functions as a text that begins with clauses that fail by it; tests/checks/broken_hosts reads them.
#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>

#include "host_conformance/HostConformance.h"
#include "host_conformance/Spoilt.h"
#include "memory_host/MemoryHost.h"
#include "tiny_host/Hooks.h"

namespace memory_host {

namespace {

constexpr std::ptrdiff_t PAGE = 1000;

template <class List>
List firstPage(List all) {
  if (static_cast<std::ptrdiff_t>(all.size()) > PAGE) all.erase(all.begin() + PAGE, all.end());
  return all;
}

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
    builder.add(spoilt(Place::TYPE, element.getType()), spoilt(Place::LOCATION, element.getLocation()));
  }
  return builder.build();
}

// A session with a store, which others may have, too.
class FaultyMetadata final : public MetadataManager {
 public:
  explicit FaultyMetadata(std::shared_ptr<TinyMetadata> stored) : store(std::move(stored)) {}

  MetadataScopeGuard beginReadScope() override { return begin(false); }
  MetadataScopeGuard beginWriteScope() override { return begin(true); }
  std::unique_ptr<MetadataNode> getNode(const MetadataPath& path) override {
    throwIf(openScopes_ == 0, "SCOPE_004 STORE_003 SHARE_004: no access without a scope");
    if (is("STORE_014 SHARE_004: a session reads a value once")) {
      const auto known = values_.find(path);
      if (known != values_.end()) return std::make_unique<MetadataNodeSpecification>(known->second);
    }
    auto node = store->getNode(seen(path));
    if (!node && is("STORE_006: getNode makes a node")) return std::make_unique<MetadataNodeSpecification>();
    if (node) values_[path] = dynamic_cast<MetadataNodeSpecification&>(*node);
    return node;
  }
  void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& given) override {
    for (const auto& [path, node] : given) {
      const bool isOrphan = path.getElements().size() > 1 && !nodeExists(parentOf(path));
      throwIf(isOrphan, "STORE_001 STORE_015: setNodes makes no parents");
      throwIf(path.getLeaf().getLocation().empty(), "STORE_008 SHARE_004: a location is not empty");
      if (isOrphan && is("STORE_001: parents are made anew")) store->nodes[parentOf(parentOf(path))] = {};
      if (path.getElements().size() > 3 && is("STORE_001 STORE_007 SHARE_004: three levels are enough")) continue;
      MetadataNodeSpecification stored;
      for (const auto& [key, value] : dynamic_cast<MetadataNodeSpecification&>(*node).values()) {
        stored.put(spoilt(Place::KEY, key), spoilt(Place::VALUE, value));
      }
      if (stored.values().empty() && is("STORE_012: a node without values is none")) continue;
      if (is("STORE_002 SHARE_004: setNodes drops the children")) store->removeNodes(getChildPaths(path));
      store->setNodes({{seen(path), std::make_shared<MetadataNodeSpecification>(stored)}});
      values_[path] = stored;
    }
  }
  std::vector<MetadataPath> getChildPaths(const MetadataPath& path) override {
    throwIf(!nodeExists(path), "STORE_006: getChildPaths of none throws");
    if (is("STORE_014 SHARE_004: a session lists children once")) {
      const auto known = children_.find(path);
      if (known != children_.end()) return known->second;
    }
    std::vector<MetadataPath> children = store->getChildPaths(seen(path)), others;
    if (is("STORE_007: grandchildren are children")) others = children;
    if (is("STORE_008: children go by a prefix")) children.clear(), others = like(path);
    for (const MetadataPath& other : others) {
      for (const MetadataPath& child : store->getChildPaths(other)) children.push_back(child);
    }
    if (is("STORE_010: children are told apart by their locations")) dropEqualLocations(children);
    if (is("STORE_015 SHARE_004: the first page of children is all")) children = firstPage(std::move(children));
    for (MetadataPath& child : children) {
      if (is("STORE_007: children are without what is above them")) child = MetadataPath({child.getLeaf()});
    }
    return children_[path] = children;
  }
  void removeNodes(const std::vector<MetadataPath>& paths) override {
    if (is("STORE_013: removals wait for the end of the scope")) return later_ = paths, void();
    if (paths.empty() && is("STORE_005: an empty list is everything")) store->nodes.clear();
    for (const MetadataPath& path : is("STORE_015: the first page is removed") ? firstPage(paths) : paths) {
      throwIf(!nodeExists(path), "STORE_005: removeNodes of none throws");
      if (is("STORE_004 STORE_013: removeNodes keeps the children")) return store->nodes.erase(path), void();
      if (is("STORE_004: removals reach the grandchildren")) return removeThreeLevels(path);
      const bool wasThere = nodeExists(path);
      const bool goesLike = is("STORE_009 SHARE_004: removals go by a prefix") || is("STORE_009: removals go by LIKE");
      store->removeNodes(goesLike ? like(path) : std::vector{seen(path)});
      const bool isEmpty = wasThere && store->getChildPaths(parentOf(path)).empty();
      if (isEmpty && is("STORE_004: a parent goes with its last child")) store->nodes.erase(parentOf(path));
    }
  }
  bool nodeExists(MetadataPath path) override {
    throwIf(hasLostScope_, "SCOPE_001 SCOPE_002: an inner scope ends the outer one");
    if (is("STORE_001: only what was written is there"))
      return store->nodes.count(path) != 0 && !store->nodes[path].values().empty();
    return store->nodeExists(seen(path));
  }

  const std::shared_ptr<TinyMetadata> store;

 private:
  // Those beside it whose names are like its own, and itself.
  std::vector<MetadataPath> like(const MetadataPath& path) {
    std::vector<MetadataPath> alike;
    const std::u16string& name = path.getLeaf().getLocation();
    for (const MetadataPath& other : store->getChildPaths(parentOf(path))) {
      const std::u16string& location = other.getLeaf().getLocation();
      if (is("STORE_009: removals go by LIKE") ? matches(name, location) : location.rfind(name, 0) == 0) {
        alike.push_back(other);
      }
    }
    return alike;
  }

  static void dropEqualLocations(std::vector<MetadataPath>& children) {
    const auto isSame = [](const MetadataPath& a, const MetadataPath& b) {
      return a.getLeaf().getLocation() == b.getLeaf().getLocation();
    };
    const auto isLess = [](const MetadataPath& a, const MetadataPath& b) {
      return a.getLeaf().getLocation() < b.getLeaf().getLocation();
    };
    std::stable_sort(children.begin(), children.end(), isLess);
    children.erase(std::unique(children.begin(), children.end(), isSame), children.end());
  }

  void removeThreeLevels(const MetadataPath& path) {
    for (auto one = store->nodes.begin(); one != store->nodes.end();) {
      const bool goes = isIn(one->first, path) && one->first.getElements().size() < path.getElements().size() + 3;
      one = goes ? store->nodes.erase(one) : ++one;
    }
  }

  MetadataScopeGuard begin(bool write) {
    throwIf(isStuck_, "SCOPE_003: scopes do not end by an exception");
    throwIf(openScopes_ > 0 && !outerWrites_, "SCOPE_001: no scope in a read scope");
    throwIf(openScopes_ > 0 && outerWrites_, "SCOPE_002: no scope in a write scope");
    if (openScopes_++ == 0) outerWrites_ = write;
    const bool isUndone = write && !is("SCOPE_006: what fails is committed");
    return MetadataScopeGuard(
        [this, before = store->nodes, isUndone, exceptions = std::uncaught_exceptions()]() mutable {
          const int known = is("SCOPE_006: a scope fails by an older exception") ? 0 : exceptions;
          isStuck_ = std::uncaught_exceptions() > 0;
          hasLostScope_ = openScopes_-- > 1;
          if (isUndone && std::uncaught_exceptions() > known) store->nodes.swap(before);
          store->removeNodes(std::exchange(later_, {}));
        });
  }

  int openScopes_ = 0;
  bool outerWrites_ = false, isStuck_ = false, hasLostScope_ = false;
  std::vector<MetadataPath> later_;
  std::map<MetadataPath, MetadataNodeSpecification> values_;
  std::map<MetadataPath, std::vector<MetadataPath>> children_;
};

class FaultyProject final : public MemoryProject {
 public:
  explicit FaultyProject(std::shared_ptr<TinyMetadata> store = std::make_shared<TinyMetadata>())
      : session(std::make_shared<FaultyMetadata>(std::move(store))) {}
  FaultyProject(const FaultyProject& other)
      : MemoryProject(other),
        session(std::make_shared<FaultyMetadata>(std::make_shared<TinyMetadata>(*other.session->store))) {}

  std::shared_ptr<MetadataManager> getMetadataManager() override {
    return std::exchange(session, is("SHARE_001: metadata is given once") ? nullptr : session);
  }
  std::vector<CategoryIdentifier> getCategories() const override {
    std::vector<CategoryIdentifier> all;
    for (const std::u16string& category : categories) {
      const auto isIn = [&](const auto& label) { return label.first.first == category; };
      if (is("LABEL_003: an empty category is not listed") && std::none_of(labels.begin(), labels.end(), isIn))
        continue;
      if (is("LABEL_001: a category without attached labels is not listed") && !isUsed(category)) continue;
      all.emplace_back(category);
    }
    if (!all.empty() && is("LABEL_001 LABEL_003 SHARE_002: a category comes twice"))
      all.emplace_back(all[0].toString());
    return is("LABEL_005: the first page of categories is all") ? firstPage(all) : all;
  }
  std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const override {
    auto found = MemoryProject::getLabels(category);
    if (is("LABEL_005: the first page of labels is all")) found = firstPage(std::move(found));
    if (is("LABEL_001: a category has one label")) found.erase(found.begin() + (found.empty() ? 0 : 1), found.end());
    for (LabelIdentifier& label : found) {
      if (is("LABEL_002 SHARE_002: every label may be removed")) label = LabelIdentifier(label.getUUID());
    }
    return found;
  }
  void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) override {
    if (original) original->removeLabel(category, label, flag);
    const auto before = entries;
    for (const auto& [key, isRemovable] : std::map(labels)) {
      const bool isOfCategory = key.first == category.toString(), isOfUuid = key.second == label.getUUID();
      const bool goes = is("LABEL_003: removeLabel takes the category")                   ? isOfCategory
                        : is("LABEL_003 SHARE_002: a UUID alone names a label") ? isOfUuid
                                                                                          : isOfCategory && isOfUuid;
      if (goes) MemoryProject::removeLabel(CategoryIdentifier(key.first), LabelIdentifier(key.second), flag);
    }
    std::size_t found = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].labels == before[i].labels) continue;
      if (is("LABEL_004 SHARE_002: a removed label stays attached") ||
          (entries[i].isFolder && is("LABEL_004 SHARE_002: a removed label stays on folders")) ||
          (found++ > 0 && is("LABEL_004 SHARE_002: a removed label goes from one entry"))) {
        entries[i].labels = before[i].labels;
      }
    }
  }
  void removeCategory(const CategoryIdentifier& category) override {
    if (is("LABEL_003 SHARE_003: a category stays when it is removed")) return;
    MemoryProject::removeCategory(category);
  }

  std::vector<Path> getFiles() override {
    std::vector<Path> all;
    for (const Entry& entry : entries) {
      const std::u16string text = entry.name.text();
      if (text.find(u"/.") != text.npos && is("FILE_002 SHARE_002 SHARE_003: what is hidden is not listed")) continue;
      if (entry.isFolder && !hasEntries(entry) && is("FILE_002 SHARE_002: empty folders are not listed")) continue;
      if (entry.isFolder && is("FILE_002: folders are not listed")) continue;
      all.push_back(entry.name);
    }
    if (is("FILE_001 FILE_002 SHARE_003: the root is listed")) all.push_back(getRootFolder());
    return is("FILE_002 SHARE_002: the first page of entries is all") ? firstPage(all) : all;
  }
  std::vector<FileLabel> getFileLabels(const Path& entry) override {
    std::vector<FileLabel> attached;
    for (const Entry& one : entries) {
      if (!hasLabelsOf(one.name.text(), entry.text())) continue;
      for (const LabelKey& key : one.labels)
        attached.emplace_back(CategoryIdentifier(key.first), LabelIdentifier(key.second));
    }
    return is("LABEL_005: the first page of a file's labels is all") ? firstPage(attached) : attached;
  }
  bool isFolder(const Path& entry) override {
    if (is("FILE_003: what has a dot is a file") && entry.text().rfind(u'.') + 1 > entry.text().rfind(u'/') + 1)
      return false;
    return is("FILE_003 SHARE_002: all are folders") || MemoryProject::isFolder(entry);
  }
  std::vector<Path> removeFiles(const std::vector<Path>& going) override {
    throwIf(going.empty(), "FILE_001 FILE_005: nothing cannot be removed");
    for (const Path& top : is("SHARE_003: the first page is removed") ? firstPage(going) : going) {
      const auto isTop = [&](const Entry& one) { return one.name == top; };
      throwIf(std::none_of(entries.begin(), entries.end(), isTop),
              "FILE_006 SHARE_002: what went with its folder is missed");
      if (MemoryProject::isFolder(top) && is("FILE_006 SHARE_002: folders are not removed")) continue;
      const auto goes = [&](const Entry& one) { return goesWith(one.name.text(), top.text()); };
      entries.erase(std::remove_if(entries.begin(), entries.end(), goes), entries.end());
    }
    if (is("FILE_005 SHARE_002: emptied folders go")) {
      const auto goes = [this](const Entry& one) { return one.isFolder && !hasEntries(one); };
      entries.erase(std::remove_if(entries.begin(), entries.end(), goes), entries.end());
    }
    return going;
  }

  std::shared_ptr<FaultyMetadata> session;
  std::shared_ptr<FaultyProject> original;  // that a copy by mistake has its labels of

 private:
  bool isUsed(const std::u16string& category) const {
    return std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) {
      return std::any_of(entry.labels.begin(), entry.labels.end(),
                         [&](const LabelKey& key) { return key.first == category; });
    });
  }
  bool hasEntries(const Entry& folder) const {
    const std::u16string inside = folder.name.text() + u"/";
    return std::any_of(entries.begin(), entries.end(),
                       [&](const Entry& one) { return one.name.text().rfind(inside, 0) == 0; });
  }
  static bool hasLabelsOf(const std::u16string& carrier, const std::u16string& entry) {
    if (is("FILE_004 SHARE_002: labels are those of the folders above, too")) return isBelow(entry, carrier);
    if (is("FILE_004 SHARE_002: labels go by the leaf name")) return leafOf(entry) == leafOf(carrier);
    return spoilt(Place::ENTRY, entry) == spoilt(Place::ENTRY, carrier);
  }
  static bool goesWith(const std::u16string& entry, const std::u16string& top) {
    if (is("FILE_005 FILE_006: removals go by the leaf name")) return leafOf(entry) == leafOf(top);
    if (is("FILE_005 FILE_006: removals go by a prefix")) return entry.rfind(top, 0) == 0;
    if (is("FILE_005: removals of files go by LIKE")) return matches(top, entry);
    if (is("FILE_006 SHARE_002: a folder leaves the folders in it")) return entry == top;
    if (is("FILE_006 SHARE_002: a folder is emptied, and stays")) return entry != top && isBelow(entry, top);
    return isBelow(spoilt(Place::REMOVED, entry), spoilt(Place::REMOVED, top));
  }
};

std::shared_ptr<FaultyProject> copyOf(const std::shared_ptr<FaultyProject>& project) {
  if (is("SHARE_002 COPY_001: the working copy is the project")) return project;
  const auto copy = std::make_shared<FaultyProject>(*project);
  if (is("COPY_001: a copy shares its metadata")) copy->session = project->session;
  if (is("SHARE_002 COPY_001: a copy shares its labels")) copy->original = project;
  for (auto& [label, isRemovable] : copy->labels) {
    if (is("SHARE_002 COPY_001: every label of a copy may be removed")) isRemovable = 1;
  }
  for (Entry& entry : copy->entries) {
    if (entry.isFolder && is("SHARE_002 COPY_001: folders of a copy have no labels")) entry.labels.clear();
  }
  return copy;
}

std::u16string numbered(std::size_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

host_conformance::Host makeHost() {
  const auto project = std::make_shared<FaultyProject>();
  host_conformance::Host bare;
  bare.project = project;
  if (is("no hooks")) return bare;
  host_conformance::Host host = hostOf(project);
  host.openAgain = [project] {
    return std::make_shared<FaultyProject>(
        is("STORE_014 SHARE_004: sessions share nothing") ? std::make_shared<TinyMetadata>() : project->session->store);
  };
  // UUIDs that are so in their category alone: two labels in a row have one, if they are in two categories.
  host.addLabel = [project](const std::u16string& name, bool isRemovable) {
    LabelKey key(spoilt(Place::CATEGORY, name), numbered(project->labels.size() / 2));
    while (project->labels.count(key) != 0) key.second += u'+';
    project->addLabel(key.first, key.second, isRemovable ? 1 : 0);
    return Label(CategoryIdentifier(key.first), LabelIdentifier(key.second, isRemovable ? 1 : 0));
  };
  host.workingCopy = [project] { return copyOf(project); };
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
