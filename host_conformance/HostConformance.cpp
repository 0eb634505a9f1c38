#include "HostConformance.h"

#include <iostream>

#include "Bench.h"
#include "OtherProcess.h"

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

Content holding(const std::u16string& key, const std::u16string& value) {
  auto node = std::make_shared<project::metadata::MetadataNodeSpecification>();
  node->put(key, value);
  return node;
}

Listing entriesOf(project::management::ProjectManager& project) {
  project::management::FileManager& files = project.getFileManager();
  const std::size_t root = files.getRootFolder().text().size();
  Listing all;
  for (const Path& path : files.getFiles()) {
    Labels labels;
    for (const Label& label : files.getFileLabels(path)) labels.insert(keyOf(label));
    all.emplace(path.text().substr(root), files.isFolder(path), std::move(labels));
  }
  return all;
}

Removable labelsOf(project::management::ProjectManager& project) {
  Removable all;
  for (const auto& category : project.getLabelManager().getCategories()) {
    for (const auto& label : project.getLabelManager().getLabels(category)) {
      all.emplace(category.toString(), Label(category, label).getUUID(), label.isRemovable() != 0);
    }
  }
  return all;
}

Texts categoriesOf(project::management::ProjectManager& project) {
  Texts all;
  for (const auto& category : project.getLabelManager().getCategories()) all.insert(category.toString());
  return all;
}

Bench::~Bench() = default;

void Bench::use(const Project& project) {
  host_.project = project;
  metadata = host_.project ? host_.project->getMetadataManager() : nullptr;
  if (!metadata) throw std::logic_error("the host gives no project, or a project without metadata");
}

Nodes Bench::existing(std::initializer_list<Node> nodes) const {
  Nodes found;
  for (const Node& node : nodes) {
    if (exists(node)) found.insert(node);
  }
  return found;
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

void Bench::write(const Node& node, const std::u16string& value) const {
  writing()->setNodes({{pathOf(node), holding(u"Data", value)}});
}

void Bench::write(const Nodes& nodes) const {
  const Access access = writing();
  for (const Node& node : nodes) access->setNodes({{pathOf(node), holding(u"Data", node.back().second)}});
}

void Bench::remove(const Nodes& nodes) const {
  std::vector<MetadataPath> paths;
  for (const Node& node : nodes) paths.push_back(pathOf(node));
  writing()->removeNodes(paths);
}

std::size_t Bench::addEntry(std::size_t folder, const std::u16string& name, bool isFolder) {
  const auto& add = isFolder ? hook(&Host::addFolder, "addFolder") : hook(&Host::addFile, "addFile");
  try {
    const Path path = add(folder == TOP ? files().getRootFolder() : entries.at(folder).path, name);
    entries.push_back({path, isFolder, folder, {}});
    return entries.size() - 1;
  } catch (const std::invalid_argument&) {
    return refused_.push_back(name), TOP;
  }
}

std::vector<Label> Bench::addLabels(const std::vector<std::u16string>& categories, bool isRemovable) {
  std::vector<Label> added;
  for (const std::u16string& category : categories) {
    try {
      added.push_back(hook(&Host::addLabel, "addLabel")(category, isRemovable));
    } catch (const std::invalid_argument&) {
      refused_.push_back(category);
    }
  }
  return added;
}

void Bench::attach(std::size_t entry, const Label& label) {
  if (entries.at(entry).labels.count(keyOf(label)) != 0) return;
  hook(&Host::attach, "attach")(entries[entry].path, label);
  entries[entry].labels.insert(keyOf(label));
}

void Bench::plant() {
  const std::size_t top = addEntry(TOP, u"d", true);
  for (const std::u16string& name : hardNames()) {
    addEntry(TOP, u"f" + name, false);
    const std::size_t folder = addEntry(top, name, true);
    if (folder == TOP) continue;
    addEntry(addEntry(folder, u"d", true), name, false);
    addEntry(folder, u".e", true);
    addEntry(folder, u".f", false);
  }
  std::size_t deep = top;
  for (int depth = 0; depth < 30; ++depth) deep = addEntry(deep, u"d", true);
  addEntry(deep, u"f", false);
}

std::vector<const Entry*> Bench::left(const std::function<bool(const Entry&)>& stays) const {
  std::vector<bool> are(entries.size());
  for (std::size_t i = entries.size(); i-- > 0;) {  // what lies in a folder stands after it
    if (stays(entries[i])) are[i] = true;
    const bool isFileThatStays = are[i] && !entries[i].isFolder;
    for (std::size_t above = entries[i].folder; isFileThatStays && above != TOP; above = entries[above].folder) {
      are[above] = true;
    }
  }
  std::vector<const Entry*> all;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].folder != TOP) are[i] = are[i] && are[entries[i].folder];
    if (are[i]) all.push_back(&entries[i]);
  }
  return all;
}

Listing Bench::planted(const std::function<bool(const Entry&)>& stays) const {
  const std::size_t root = files().getRootFolder().text().size();
  Listing all;
  for (const Entry* entry : left(stays)) all.emplace(entry->path.text().substr(root), entry->isFolder, entry->labels);
  return all;
}

Texts Bench::paths(const std::function<bool(const Entry&)>& stays) const {
  Texts all;
  for (const Entry* entry : left(stays)) all.insert(entry->path.text());
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

void registerSuite(const std::string& name, const std::function<Host()>& factory) {
  tellUuidsIfAsked();
  for (const Clauses& clauses : {metadataClauses(), projectClauses(), sharingClauses()}) {
    for (const auto& [id, check] : clauses) {
      testing::RegisterTest(name.c_str(), id, nullptr, nullptr, __FILE__, __LINE__,
                            [check = check, factory] { return new Bench(check, factory()); });
    }
  }
}

}  // namespace host_conformance
