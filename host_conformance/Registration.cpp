#include "HostConformance.h"

#include <iostream>

#include "Bench.h"

namespace host_conformance {

using project::metadata::MetadataPath;

Node at(const std::vector<std::u16string>& locations) {
  Node node = {{u"Export", u"Root"}};
  for (const std::u16string& location : locations) node = std::move(node) + location;
  return node;
}

Node operator+(Node node, const std::u16string& location) {
  node.emplace_back(node.size() == 1 ? u"ExportProfile" : u"Filter", location);
  return node;
}

MetadataPath pathOf(const Node& node) {
  project::metadata::MetadataPathBuilder builder;
  for (const auto& [type, location] : node) builder.add(type, location);
  return builder.build();
}

Content holding(const std::u16string& value) {
  auto node = std::make_shared<project::metadata::MetadataNodeSpecification>();
  node->put(u"Data", value);
  return node;
}

Facts factsOf(project::management::ProjectManager& project) {
  project::management::FileManager& files = project.getFileManager();
  const std::size_t root = files.getRootFolder().text().size();
  Facts all;
  for (const Path& path : files.getFiles()) {
    const std::u16string text = path.text().substr(root);
    all.insert({files.isFolder(path) ? u"folder" : u"file", text});
    for (const Label& label : files.getFileLabels(path)) {
      all.insert({u"on", text, label.getCategory().toString(), label.getUUID()});
    }
  }
  for (const auto& category : project.getLabelManager().getCategories()) {
    all.insert({u"category", category.toString()});
    for (const auto& label : project.getLabelManager().getLabels(category)) {
      all.insert(
          {label.isRemovable() != 0 ? u"label" : u"protected", category.toString(), Label(category, label).getUUID()});
    }
  }
  return all;
}

namespace {

class Differing : public testing::Test {
 public:
  explicit Differing(std::vector<std::string> differences) : differences_(std::move(differences)) {}

 private:
  void TestBody() override {
    for (const std::string& difference : differences_) ADD_FAILURE() << difference;
  }

  const std::vector<std::string> differences_;
};

}  // namespace

Bench::~Bench() = default;

void Bench::use(const Project& project) {
  host_.project = project;
  metadata = host_.project ? host_.project->getMetadataManager() : nullptr;
  if (!metadata) throw std::logic_error("the host gives no project, or a project without metadata");
}

Nodes Bench::children(const Node& node) const {
  const Access access = reading();
  Nodes all;
  for (const MetadataPath& path : access->getChildPaths(pathOf(node))) {
    Node child = node;
    child.emplace_back(path.getLeaf().getType(), path.getLeaf().getLocation());
    const MetadataPath whole = pathOf(child);
    if (path < whole || whole < path) child.emplace_back(u"is", u"not what the path says");
    all.insert(std::move(child));
  }
  return all;
}

std::u16string Bench::valueAt(const Node& node, const std::u16string& key) const {
  const Access access = reading();
  const Content content = access->getNode(pathOf(node));
  return content ? content->getValue(key) : u"(getNode gives none)";
}

void Bench::write(const Nodes& nodes, const std::u16string& value) const {
  const Access access = writing();
  for (const Node& node : nodes) access->setNodes({{pathOf(node), holding(value)}});
}

void Bench::remove(const Nodes& nodes) const {
  std::vector<MetadataPath> paths;
  for (const Node& node : nodes) paths.push_back(pathOf(node));
  writing()->removeNodes(paths);
}

std::size_t Bench::addEntry(std::size_t folder, const std::u16string& name, bool isFolder) {
  const auto& add = isFolder ? hook(&Host::addFolder, "addFolder") : hook(&Host::addFile, "addFile");
  try {
    const Path above = folder == TOP ? project().getFileManager().getRootFolder() : entries.at(folder).path;
    entries.push_back({add(above, name), isFolder, folder, {}});
    return entries.size() - 1;
  } catch (const std::invalid_argument&) {
    return refused_.push_back(name), TOP;
  }
}

void Bench::addLabels(const std::vector<std::u16string>& names, bool isRemovable) {
  for (const std::u16string& name : names) {
    try {
      labels.push_back({hook(&Host::addLabel, "addLabel")(name, isRemovable), isRemovable});
      categories.insert(keyOf(labels.back().label).first);
    } catch (const std::invalid_argument&) {
      refused_.push_back(name);
    }
  }
}

void Bench::attach(std::size_t entry, const Label& label) {
  if (!entries.at(entry).labels.insert(keyOf(label)).second) return;
  hook(&Host::attach, "attach")(entries[entry].path, label);
}

void Bench::plant() {
  const std::size_t top = addEntry(TOP, u"d", true), files = addEntry(TOP, u"de", true);
  for (const std::u16string& name : hardNames(std::u16string_view(u"/\0", 2))) {
    addEntry(files, name, false);
    const std::size_t folder = addEntry(top, name, true);
    if (folder == TOP) continue;
    addEntry(addEntry(folder, u"d", true), name, false);
    addEntry(folder, u".e", true);
    addEntry(folder, u".f", false);
  }
  std::size_t deep = top;
  for (int depth = 0; depth < 30; ++depth) deep = addEntry(deep, u"d", true);
  for (const std::size_t folder : {deep, TOP}) addEntry(folder, u"f", false);
}

void Bench::removeLabel(project::management::ProjectManager& from, const Label& label) const {
  from.getLabelManager().removeLabel(label.getCategory(), label.getLabelIdentifier(), false);
}

std::vector<bool> Bench::shared(const std::function<bool(const Entry&)>& isShared) const {
  std::vector<bool> are(entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    are[i] = isShared(entries[i]);
    if (!are[i] || entries[i].isFolder) continue;
    for (std::size_t above = entries[i].folder; above != TOP; above = entries[above].folder) are[above] = true;
  }
  for (std::size_t i = 0; i < entries.size(); ++i) {  // what lies in a folder has a higher number
    if (entries[i].folder != TOP) are[i] = are[i] && are[entries[i].folder];
  }
  return are;
}

Facts Bench::facts(const std::function<bool(const Entry&)>& isShared,
                   const std::function<bool(const Known&)>& isRemoved) const {
  Facts all;
  std::set<Key> removed;
  std::set<std::u16string> emptied, inhabited;
  for (const Known& known : labels) {
    const Key key = keyOf(known.label);
    (isRemoved(known) ? emptied : inhabited).insert(key.first);
    if (isRemoved(known)) removed.insert(key);
    if (!isRemoved(known)) all.insert({known.isRemovable ? u"label" : u"protected", key.first, key.second});
  }
  for (const std::u16string& category : categories) {
    if (emptied.count(category) == 0 || inhabited.count(category) != 0) all.insert({u"category", category});
  }
  const std::vector<bool> are = shared(isShared);
  const std::size_t root = project().getFileManager().getRootFolder().text().size();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (!are[i]) continue;
    const std::u16string text = entries[i].path.text().substr(root);
    all.insert({entries[i].isFolder ? u"folder" : u"file", text});
    for (const Key& label : entries[i].labels) {
      if (removed.count(label) == 0) all.insert({u"on", text, label.first, label.second});
    }
  }
  return all;
}

void Bench::TestBody() {
  try {
    check_(*this);
  } catch (const Undeclared& missing) {
    GTEST_SKIP() << "the host does not declare " << missing.hook;
  } catch (const std::exception& error) {
    ADD_FAILURE() << "the host throws (" << error.what() << ") at a call that has to succeed";
  }
  const auto isPlain = [](char16_t unit) { return unit >= u'a' && unit <= u'z'; };
  for (const std::u16string& name : refused_) {
    EXPECT_FALSE(std::all_of(name.begin(), name.end(), isPlain)) << "refused: " << testing::PrintToString(name);
  }
  if (!refused_.empty()) std::cout << "refused, and so not tried: " << testing::PrintToString(refused_) << '\n';
}

void registerSuite(const std::string& name, const std::function<Host()>& factory,
                   const project::sharing::profiles::HostLayout& ofCaller) {
  using project::sharing::profiles::hostLayout;
  using project::sharing::profiles::hostLayoutDifferences;
  for (const auto& layout : {ofCaller, hostLayout()}) {
    const auto differences = hostLayoutDifferences(layout);
    if (differences.empty()) continue;
    testing::RegisterTest(name.c_str(), "required_LAYOUT_001_AllAreBuiltAgainstTheSameHeaders", nullptr, nullptr,
                          __FILE__, __LINE__, [=] { return new Differing(differences); });
    return;
  }
  tellUuidsIfAsked();
  for (const Clauses& clauses : {metadataClauses(), sessionClauses(), projectClauses(), sharingClauses()}) {
    for (const auto& [id, check] : clauses) {
      testing::RegisterTest(name.c_str(), id, nullptr, nullptr, __FILE__, __LINE__,
                            [check = check, factory] { return new Bench(check, factory()); });
    }
  }
}

}  // namespace host_conformance
