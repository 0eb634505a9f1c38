#include "exchange/ProjectState.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <utility>

#include "project/metadata/MetadataPath.h"

namespace project_share {

using folder_host::CategoryRecord;
using folder_host::LabelRecord;
using folder_host::LabelStore;
using folder_host::MarkKind;
using folder_host::MetadataStore;
using project::management::CategoryIdentifier;
using project::management::LabelIdentifier;
using project::metadata::MetadataNode;
using project::metadata::MetadataNodeSpecification;
using project::metadata::MetadataPath;

namespace {

bool isSame(const LabelState& a, const LabelState& b) {
  return a.category == b.category && a.name == b.name && a.isProtected == b.isProtected;
}

void putLabels(const ProjectState& from, const ProjectState& to, LabelStore& store) {
  std::vector<CategoryRecord> categories;
  for (const auto& [uuid, name] : to.categories) {
    const auto before = from.categories.find(uuid);
    if (before == from.categories.end() || before->second != name) categories.push_back({uuid, name});
  }
  std::vector<LabelRecord> labels;
  for (const auto& [uuid, label] : to.labels) {
    const auto before = from.labels.find(uuid);
    if (before == from.labels.end() || !isSame(before->second, label)) labels.push_back(recordOf(to, uuid));
  }
  for (const auto& [uuid, label] : from.labels) {
    if (to.labels.count(uuid) == 0) {
      store.removeLabel(CategoryIdentifier(label.category), LabelIdentifier(uuid), false);
    }
  }
  store.put(categories, labels);
  // Last, for a label may have left one.
  for (const auto& [uuid, name] : from.categories) {
    if (to.categories.count(uuid) == 0) store.removeCategory(CategoryIdentifier(uuid));
  }
}

void putMarks(const std::u16string& uuid, const LabelState& from, const LabelState& to, LabelStore& store) {
  std::vector<std::string> gone;
  for (const auto& [path, kind] : from.marks) {
    if (to.marks.count(path) == 0) gone.push_back(path);
  }
  store.detach(uuid, gone);
  for (const MarkKind kind : {MarkKind::entry, MarkKind::reach, MarkKind::exception}) {
    std::vector<std::string> paths;
    for (const auto& [path, wanted] : to.marks) {
      const auto before = from.marks.find(path);
      if (wanted == kind && (before == from.marks.end() || before->second != kind)) paths.push_back(path);
    }
    if (!paths.empty()) store.attach(uuid, paths, kind);
  }
}

// A value goes with its node alone: where one is to go, its node is made again, with all that is to be below it.
void putNodes(const MetadataStore::Nodes& from, const MetadataStore::Nodes& to, MetadataStore& store) {
  std::vector<MetadataPath> gone;
  for (const auto& [path, values] : from) {
    const auto after = to.find(path);
    const bool keeps = after != to.end() && std::all_of(values.begin(), values.end(), [&](const auto& value) {
                         return after->second.count(value.first) != 0;
                       });
    if (!keeps) gone.push_back(path);
  }
  std::map<MetadataPath, std::shared_ptr<MetadataNode>> put;
  for (const auto& [path, values] : to) {
    const auto before = from.find(path);
    if (gone.empty() && before != from.end() && before->second == values) continue;
    const auto node = std::make_shared<MetadataNodeSpecification>();
    for (const auto& [key, value] : values) node->put(key, value);
    put.emplace(path, node);
  }
  store.removeNodes(gone);
  store.setNodes(put);
}

}  // namespace

ProjectState stateOf(const LabelStore& labels, const MetadataStore& metadata) {
  ProjectState state;
  for (const CategoryRecord& category : labels.categories()) state.categories[category.uuid] = category.name;
  for (const LabelRecord& label : labels.list()) {
    state.labels[label.uuid] = {label.categoryUUID, label.name, label.isProtected, {}, {}};
  }
  for (folder_host::Rule& rule : labels.rules()) state.labels[rule.label].rules.push_back(std::move(rule.pattern));
  for (folder_host::Mark& mark : labels.marks()) state.labels[mark.label].marks[std::move(mark.path)] = mark.kind;
  state.nodes = metadata.nodes();
  dropIdleRoots(state.nodes);
  return state;
}

void dropIdleRoots(MetadataStore::Nodes& nodes) {
  for (auto node = nodes.begin(); node != nodes.end();) {
    const auto next = std::next(node);
    const auto& elements = node->first.getElements();
    const bool isAbove = next != nodes.end() && next->first.getElements().front() == elements.front();
    if (elements.size() == 1 && node->second.empty() && !isAbove) nodes.erase(node);
    node = next;
  }
}

void change(const ProjectState& from, const ProjectState& to, LabelStore& labels, MetadataStore& metadata) {
  putLabels(from, to, labels);
  for (const auto& [uuid, label] : to.labels) {
    const auto found = from.labels.find(uuid);
    const LabelState before = found == from.labels.end() ? LabelState() : found->second;
    if (before.rules != label.rules) labels.setRules(uuid, label.rules);
    putMarks(uuid, before, label, labels);
  }
  putNodes(from.nodes, to.nodes, metadata);
}

LabelRecord recordOf(const ProjectState& state, const std::u16string& uuid) {
  const LabelState& label = state.labels.at(uuid);
  return {uuid, label.name, label.category, state.categories.at(label.category), label.isProtected};
}

}  // namespace project_share
