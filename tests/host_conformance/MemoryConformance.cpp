// MemoryConformance [FAULT]: the suite on the host in memory. Each fault that it can be given stands in this folder or
// in the host's functions as a text that begins with the clauses that fail by it; tests/checks/broken_hosts reads them.
#include <gtest/gtest.h>

#include <exception>
#include <mutex>
#include <stdexcept>

#include "host_conformance/HostConformance.h"
#include "memory_host/MemoryHost.h"
#include "tiny_host/Hooks.h"

namespace memory_host {

namespace {

// What careless code makes of texts.
using Text = std::u16string;

Text lower(const Text& given) {
  Text text = given;
  for (char16_t& unit : text) unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
  return text;
}
Text cut(const Text& text) { return text.substr(0, 255); }
Text cutAsKey(const Text& text) { return text.substr(0, 1300); }
Text toNul(const Text& text) { return text.substr(0, text.find(u'\0')); }
Text toNothing(const Text&) { return {}; }

enum class Place { LOCATION, TYPE, KEY, VALUE, CATEGORY, REMOVED };

constexpr struct Spoil {
  const char* fault;
  Place place;
  Text (*change)(const Text&);
} SPOILS[] = {
    {"STORE_008 STORE_009 STORE_014 SHARE_004: locations have no case", Place::LOCATION, lower},
    {"STORE_010: types do not count", Place::TYPE, toNothing},
    {"STORE_016: locations are compared as far as an index goes", Place::LOCATION, cutAsKey},
    {"STORE_016: types are compared as far as an index goes", Place::TYPE, cutAsKey},
    {"STORE_016: keys are compared as far as an index goes", Place::KEY, cutAsKey},
    {"STORE_011: keys have no case", Place::KEY, lower},
    {"STORE_011: values have 255 units", Place::VALUE, cut},
    {"STORE_011: U+0000 ends a value", Place::VALUE, toNul},
    {"LABEL_001: categories have no case", Place::CATEGORY, lower},
    {"FILE_005 FILE_006: removals have no case", Place::REMOVED, lower},
};

// The text as the fault of this process's host has it at that place.
Text spoilt(Place place, const Text& text) {
  for (const Spoil& spoil : SPOILS) {
    if (spoil.place == place && is(spoil.fault)) return spoil.change(text);
  }
  return text;
}

// As SQL's LIKE, whose "_" is any unit.
bool matches(const Text& pattern, const Text& text) {
  return std::equal(pattern.begin(), pattern.end(), text.begin(), text.end(),
                    [](char16_t wanted, char16_t unit) { return wanted == u'_' || wanted == unit; });
}

void throwIf(bool condition, const char* text) {
  if (condition && is(text)) throw std::runtime_error(text);
}

template <class List>
List page(List all, const char* text) {
  if (is(text)) all.erase(all.begin() + std::min<std::ptrdiff_t>(1000, all.end() - all.begin()), all.end());
  return all;
}

template <class List, class Condition>
void dropIf(List& list, const Condition& condition) {
  list.erase(std::remove_if(list.begin(), list.end(), condition), list.end());
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

// For a scope, and for a call.
std::recursive_mutex allStores, allCalls;

// A session with a store, which others may have, too.
class FaultyMetadata final : public MetadataManager {
 public:
  explicit FaultyMetadata(std::shared_ptr<TinyMetadata> stored) : store(std::move(stored)) {}

  MetadataScopeGuard beginReadScope() override { return begin(false); }
  MetadataScopeGuard beginWriteScope() override { return begin(true); }
  std::unique_ptr<MetadataNode> getNode(const MetadataPath& path) override {
    const std::lock_guard lock(allCalls);
    tell();
    throwIf(openScopes_ == 0, "STORE_003 SHARE_004: no access without a scope");
    if (is("STORE_014 SHARE_004: a session reads a value once") && values_.count(path) != 0) {
      return std::make_unique<MetadataNodeSpecification>(values_.at(path));
    }
    auto node = store->getNode(seen(path));
    if (!node && is("STORE_006: getNode makes a node")) return std::make_unique<MetadataNodeSpecification>();
    if (node) values_[path] = dynamic_cast<MetadataNodeSpecification&>(*node);
    return node;
  }
  void setNodes(const std::map<MetadataPath, std::shared_ptr<MetadataNode>>& given) override {
    const std::lock_guard lock(allCalls);
    tell();
    for (const auto& [path, node] : given) {
      if (path.getElements().size() > 3 && is("STORE_001 STORE_007 SHARE_004: three levels are enough")) continue;
      MetadataNodeSpecification stored;
      for (const auto& [key, value] : dynamic_cast<MetadataNodeSpecification&>(*node).values()) {
        stored.put(spoilt(Place::KEY, key), spoilt(Place::VALUE, value));
      }
      if (stored.values().empty() && is("SHARE_004: a node without values is none")) continue;
      if (is("SHARE_004: setNodes drops the children")) store->removeNodes(getChildPaths(path));
      store->setNodes({{seen(path), std::make_shared<MetadataNodeSpecification>(stored)}});
      values_[path] = stored;
    }
  }
  std::vector<MetadataPath> getChildPaths(const MetadataPath& path) override {
    const std::lock_guard lock(allCalls);
    tell();
    return page(store->getChildPaths(seen(path)), "SHARE_004: the first page of children is all");
  }
  void removeNodes(const std::vector<MetadataPath>& paths) override {
    const std::lock_guard lock(allCalls);
    tell();
    if (is("SHARE_004: removals wait for the end of the scope")) return later_ = paths, void();
    for (const MetadataPath& path : paths) {
      throwIf(!nodeExists(path), "STORE_005: removeNodes of none throws");
      for (const MetadataPath& top : store->getChildPaths(seen(parentOf(path)))) {
        const bool isLike =
            is("STORE_009: removals go by LIKE") && matches(path.getLeaf().getLocation(), top.getLeaf().getLocation());
        if (isLike || top == seen(path)) store->removeNodes({top});
      }
      const bool isLast = store->getChildPaths(parentOf(path)).empty();
      if (isLast && is("STORE_004: a parent goes with its last child")) store->nodes.erase(parentOf(path));
    }
  }
  bool nodeExists(MetadataPath path) override {
    const std::lock_guard lock(allCalls);
    tell();
    return store->nodeExists(seen(path));
  }

  const std::shared_ptr<TinyMetadata> store;
  bool failsNext = false;  // the commit at the end of the next outermost write scope

 private:
  MetadataScopeGuard begin(bool write) {
    throwIf(isStuck_, "SCOPE_003: scopes do not end by an exception");
    throwIf(openScopes_ > 0 && !outerWrites_, "SHARE_004: no scope in a read scope");
    throwIf(openScopes_ > 0 && outerWrites_, "SCOPE_002: no scope in a write scope");
    tell();
    const bool isEarly = is("SCOPE_009: a scope is undone to what it was asked for");
    if (isEarly) before_.push_back(content());
    std::unique_lock lock = lockFor(write);
    if (!isEarly) before_.push_back(content());
    if (openScopes_++ == 0) outerWrites_ = write;
    const int known = is("SCOPE_006: a scope fails by an older exception") ? 0 : std::uncaught_exceptions();
    const auto shared = std::make_shared<std::unique_lock<std::recursive_mutex>>(std::move(lock));
    return MetadataScopeGuard([this, write, known, shared] { end(write && std::uncaught_exceptions() > known); });
  }

  std::unique_lock<std::recursive_mutex> lockFor(bool write) {
    std::unique_lock lock(allStores, std::try_to_lock);
    bool waits = !is("SCOPE_008: sessions share a store without a lock");
    if (write && ++writers_ % 7 == 0 && is("SCOPE_009: of many writers some do not wait")) waits = false;
    if (!write && is("SCOPE_010: a reader does not wait for a writer")) waits = false;
    if (waits && !lock) lock.lock();
    return lock;
  }

  void end(bool fails) {
    const std::lock_guard lock(allCalls);
    isStuck_ = std::uncaught_exceptions() > 0;
    if (--openScopes_ == 0 && outerWrites_ && std::exchange(failsNext, false)) {
      isUntold_ = !is("SCOPE_011: a failed commit is not told");
      fails = !is("SCOPE_011: what could not be kept is shown");
    }
    if (fails && !is("SCOPE_006: what fails is committed")) store->nodes.swap(before_.back());
    before_.pop_back();
    for (auto& before : before_) {
      if (is("SCOPE_007: the end of an inner scope commits")) before = store->nodes;
    }
    store->removeNodes(std::exchange(later_, {}));
  }

  // Throws for a commit that failed, once.
  void tell() {
    const bool isTold = isUntold_ && !is("SCOPE_011: a failed commit is told for ever");
    if (isTold ? std::exchange(isUntold_, false) : isUntold_) throw std::runtime_error("the last commit failed");
  }

  std::map<MetadataPath, MetadataNodeSpecification> content() const {
    const std::lock_guard lock(allCalls);
    return store->nodes;
  }

  int openScopes_ = 0, writers_ = 0;
  bool outerWrites_ = false, isStuck_ = false, isUntold_ = false;
  std::vector<std::map<MetadataPath, MetadataNodeSpecification>> before_;
  std::vector<MetadataPath> later_;
  std::map<MetadataPath, MetadataNodeSpecification> values_;
};

class FaultyProject final : public MemoryProject {
 public:
  explicit FaultyProject(std::shared_ptr<TinyMetadata> store = std::make_shared<TinyMetadata>())
      : session(std::make_shared<FaultyMetadata>(std::move(store))) {}

  std::shared_ptr<MetadataManager> getMetadataManager() override {
    return std::exchange(session, is("SHARE_001: metadata is given once") ? nullptr : session);
  }
  std::vector<LabelIdentifier> getLabels(const CategoryIdentifier& category) const override {
    auto found = page(MemoryProject::getLabels(category), "LABEL_005: the first page of labels is all");
    for (LabelIdentifier& label : found) {
      if (is("LABEL_001 SHARE_002: every label may be removed")) label = LabelIdentifier(label.getUUID());
    }
    return found;
  }
  void removeLabel(const CategoryIdentifier& category, const LabelIdentifier& label, bool flag) override {
    const auto before = entries;
    MemoryProject::removeLabel(category, label, flag);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].isFolder && is("LABEL_004 SHARE_002: a removed label remains on folders")) entries[i] = before[i];
    }
    const bool isLast = MemoryProject::getLabels(category).empty();
    if (isLast && is("LABEL_003: a category goes with its last label")) categories.erase(category.toString());
  }

  std::vector<Path> getFiles() override {
    auto all = page(MemoryProject::getFiles(), "FILE_002 SHARE_002: the first page of entries is all");
    if (is("FILE_002 SHARE_002 SHARE_003: what is hidden is not listed")) {
      dropIf(all, [](const Path& path) { return path.text().find(u"/.") != Text::npos; });
    }
    if (is("FILE_001 FILE_002: the root is listed")) all.push_back(getRootFolder());
    return all;
  }
  std::vector<Path> removeFiles(const std::vector<Path>& removed) override {
    throwIf(removed.empty(), "FILE_001 FILE_005: nothing cannot be removed");
    for (const Path& top : removed) {
      const auto isTop = [&](const Entry& one) { return one.name == top; };
      throwIf(std::none_of(entries.begin(), entries.end(), isTop), "FILE_006 SHARE_002: what went along is missed");
      dropIf(entries, [&](const Entry& one) {
        const Text text = spoilt(Place::REMOVED, one.name.text()), prefix = spoilt(Place::REMOVED, top.text());
        const bool isWhole = text.size() <= prefix.size() || text[prefix.size()] == u'/';
        return text.rfind(prefix, 0) == 0 && (isWhole || is("FILE_005 FILE_006: removals go by a prefix"));
      });
    }
    return removed;
  }

  std::shared_ptr<FaultyMetadata> session;
};

std::shared_ptr<FaultyProject> copyOf(const std::shared_ptr<FaultyProject>& project) {
  if (is("SHARE_002 COPY_001: a working copy is the project")) return project;
  auto copy = std::make_shared<FaultyProject>(*project);
  const auto store = std::make_shared<TinyMetadata>(*project->session->store);
  if (!is("COPY_001: a copy shares its metadata")) copy->session = std::make_shared<FaultyMetadata>(store);
  return copy;
}

host_conformance::Host makeHost() {
  const auto project = std::make_shared<FaultyProject>();
  host_conformance::Host bare;
  bare.project = project;
  if (is("no hooks")) return bare;
  host_conformance::Host host = hostOf(project);
  host.openAgain = [project] { return std::make_shared<FaultyProject>(project->session->store); };
  host.addLabel = [project](const Text& name, bool isRemovable) {
    static std::size_t made = 0;
    const std::string number = std::to_string(++made);
    const LabelKey key(spoilt(Place::CATEGORY, name), Text(number.begin(), number.end()));
    project->addLabel(key.first, key.second, isRemovable ? 1 : 0);
    return Label(CategoryIdentifier(key.first), LabelIdentifier(key.second, isRemovable ? 1 : 0));
  };
  host.attach = [project](const Path& entry, const Label& label) {
    const bool haveNoCase = is("FILE_004 SHARE_002: labels go by names without case");
    for (Entry& one : project->entries) {
      const Text &text = one.name.text(), &wanted = entry.text();
      const bool isIt = haveNoCase ? lower(text) == lower(wanted) : text == wanted;
      if (isIt) one.labels.emplace(label.getCategory().toString(), label.getUUID());
    }
  };
  host.workingCopy = [project] { return copyOf(project); };
  host.isolatesSessions = true;
  host.failNextCommit = [project] { project->session->failsNext = true; };
  return host;
}

}  // namespace

}  // namespace memory_host

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc > 1) memory_host::fault = argv[1];
  auto layout = project::sharing::profiles::hostLayout();
  if (memory_host::is("LAYOUT_001: the program has other headers")) layout.front().value += "0";
  host_conformance::registerSuite("MemoryHost", memory_host::makeHost, layout);
  return RUN_ALL_TESTS();
}
