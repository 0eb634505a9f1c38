#include "HostConformance.h"

#include <stdexcept>

#include "Bench.h"

namespace host_conformance {

Node at(const std::vector<std::u16string>& locations) {
  project::metadata::MetadataPathBuilder builder;
  for (const std::u16string& location : locations) builder.add(u"type", location);
  return builder.build();
}

Content holding(const std::u16string& value) {
  auto node = std::make_shared<project::metadata::MetadataNodeSpecification>();
  node->put(u"key", value);
  return node;
}

Nodes shown(const std::vector<Node>& nodes) {
  Nodes all;
  for (const Node& node : nodes) {
    std::vector<std::u16string> texts;
    for (const auto& element : node.getElements()) {
      texts.insert(texts.end(), {element.getType(), element.getLocation()});
    }
    all.insert(texts);
  }
  return all;
}

Texts shown(const std::vector<Path>& paths) {
  Texts texts;
  for (const Path& path : paths) texts.insert(path.text());
  return texts;
}

Bench::~Bench() = default;

void Bench::use(Project project) {
  host_.project = std::move(project);
  metadata = host_.project ? host_.project->getMetadataManager() : nullptr;
  if (!metadata) throw std::logic_error("the host gives no project, or a project without metadata");
}

Nodes Bench::existing(std::initializer_list<Node> nodes) const {
  std::vector<Node> found;
  for (const Node& node : nodes) {
    if (exists(node)) found.push_back(node);
  }
  return shown(found);
}

std::u16string Bench::valueAt(const Node& node) const {
  const Access access = reading();
  const Content content = access->getNode(node);
  return content ? content->getValue(u"key") : u"(getNode gives none)";
}

void Bench::write(const Node& node, const std::u16string& value) const {
  const Node parent({node.getElements().begin(), node.getElements().end() - 1});
  if (!parent.getElements().empty() && !exists(parent)) write(parent);
  writing()->setNodes({{node, holding(value)}});
}

Tree Bench::plant() const {
  const auto& addFolder = hook(&Host::addFolder, "addFolder");
  const auto& addFile = hook(&Host::addFile, "addFile");
  const Path root = files().getRootFolder(), folder = addFolder(root, u"d"), inner = addFolder(folder, u"e");
  return {folder, inner, addFile(inner, u"f"), addFolder(root, u"de"), addFile(root, u"f")};
}

Labels Bench::allLabels() const {
  std::vector<Label> all;
  for (const auto& category : labels().getCategories()) {
    for (const auto& label : labels().getLabels(category)) all.emplace_back(category, label);
  }
  return shown(all);
}

void Bench::TestBody() {
  try {
    check_(*this);
  } catch (const Undeclared& missing) {
    GTEST_SKIP() << "the host does not declare " << missing.hook;
  } catch (const std::exception& error) {
    ADD_FAILURE() << "the host throws (" << error.what() << ") at a call that has to succeed";
  }
}

void registerSuite(const std::string& name, const std::function<Host()>& factory) {
  for (const Clauses& clauses : {metadataClauses(), projectClauses()}) {
    for (const auto& [id, check] : clauses) {
      testing::RegisterTest(name.c_str(), id, nullptr, nullptr, __FILE__, __LINE__,
                            [check = check, factory] { return new Bench(check, factory()); });
    }
  }
}

}  // namespace host_conformance
