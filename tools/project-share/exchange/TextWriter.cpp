#include <algorithm>
#include <utility>

#include "exchange/ProjectText.h"
#include "folder_host/files/Path.h"
#include "folder_host/share/read/FirstBytes.h"
#include "folder_host/store/Blob.h"
#include "folder_host/text/Utf.h"
#include "output/Json.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"

namespace project_share {

using folder_host::MarkKind;
using project::metadata::MetadataPath;
using Nodes = folder_host::MetadataStore::Nodes;

namespace {

// As putPath, for a text that need be no valid UTF-16.
void putText(Json& object, const std::string& key, const std::u16string& text) {
  object[key] = utf8(text);
  if (folder_host::fromBytes(object[key].get_ref<const std::string&>()) == text) return;
  object[key + "Hex"] = folder_host::hexOf(folder_host::toBlob(text));
}

Json jsonOfRule(const std::string& pattern) {
  Json object;
  putPath(object, "pattern", pattern);
  return object.size() == 1 ? object["pattern"] : object;
}

Json jsonOfLabel(const std::u16string& uuid, const LabelState& label) {
  Json object;
  putText(object, "name", label.name);
  putText(object, "uuid", uuid);
  object["protected"] = label.isProtected;
  object["rules"] = Json::array();
  for (const std::string& pattern : label.rules) object["rules"].push_back(jsonOfRule(pattern));
  object["marks"] = Json::array();
  for (const auto& [path, kind] : label.marks) {
    Json mark;
    putPath(mark, "path", path);
    if (kind != MarkKind::reach) mark["kind"] = wordOf(kind);
    object["marks"].push_back(std::move(mark));
  }
  return object;
}

// By name, for whoever reads them, and then by UUID, by which they come.
using Named = std::vector<std::pair<std::u16string, Json>>;

Json inOrder(Named named) {
  const auto before = [](const auto& a, const auto& b) { return a.first < b.first; };
  std::stable_sort(named.begin(), named.end(), before);
  Json all = Json::array();
  for (auto& one : named) all.push_back(std::move(one.second));
  return all;
}

Json jsonOfCategories(const ProjectState& state) {
  std::map<std::u16string, Named> labels;
  for (const auto& [uuid, label] : state.labels) {
    labels[label.category].emplace_back(label.name, jsonOfLabel(uuid, label));
  }
  Named categories;
  for (const auto& [uuid, name] : state.categories) {
    Json category;
    putText(category, "name", name);
    putText(category, "uuid", uuid);
    category["labels"] = inOrder(std::move(labels[uuid]));
    categories.emplace_back(name, std::move(category));
  }
  return inOrder(std::move(categories));
}

// Takes the nodes in their order, each behind that above it. What is readable stands for exactly the nodes that the
// reader makes of it; all else stands as it is stored.
class NodeWriter {
 public:
  explicit NodeWriter(const ProjectState& state) : state_(state) {
    for (const auto& [path, values] : state.nodes) {
      if (!addReadable(path, values)) raw_.push_back(path);
    }
    raw_.erase(std::remove_if(raw_.begin(), raw_.end(), [&](const auto& path) { return isMadeAnyway(path); }),
               raw_.end());
  }

  void write(Json& whole) {
    whole["profiles"] = inOrder(std::move(profiles_));
    whole["settled"] = std::move(settled_);
    whole["nodes"] = Json::array();
    for (const MetadataPath& path : raw_) whole["nodes"].push_back(jsonOfNode(path, state_.nodes.at(path)));
  }

 private:
  using Values = Nodes::mapped_type;

  static const std::u16string* onlyValue(const Values& values, const char16_t* key) {
    return values.size() == 1 && values.begin()->first == key ? &values.begin()->second : nullptr;
  }

  bool addReadable(const MetadataPath& path, const Values& values) {
    switch (kindOf(path)) {
      case NodeKind::profile:
        return addProfile(path, onlyValue(values, u"Name"));
      case NodeKind::filter:
        return values.empty() && parentOf(path) == profile_ && addFilter(path);
      case NodeKind::item:
        return parentOf(path) == filter_ && addItem(path, onlyValue(values, u"Data"));
      case NodeKind::settled:
        return addSettled(path, values);
      case NodeKind::profilesRoot:
      case NodeKind::settledRoot:
      case NodeKind::other:
        break;
    }
    return false;
  }

  bool addProfile(const MetadataPath& path, const std::u16string* name) {
    const std::u16string& uuid = path.getLeaf().getLocation();
    if (name == nullptr || name->empty() || uuid.empty()) return false;
    Json profile;
    putText(profile, "name", *name);
    putText(profile, "uuid", uuid);
    profile["filters"] = Json::array();
    profiles_.emplace_back(*name, std::move(profile));
    profile_ = path;
    return true;
  }

  bool addFilter(const MetadataPath& path) {
    for (const FilterKind& kind : filterKinds()) {
      if (kind.text != path.getLeaf().getLocation()) continue;
      profiles_.back().second["filters"].push_back({{"kind", kind.word}, {"labels", Json::array()}});
      filter_ = path;
      return true;
    }
    return false;
  }

  bool addItem(const MetadataPath& path, const std::u16string* category) {
    const std::u16string& uuid = path.getLeaf().getLocation();
    if (category == nullptr || uuid.empty()) return false;
    Json item;
    const auto label = state_.labels.find(uuid);
    if (label != state_.labels.end() && label->second.category == *category) {
      item["label"] = utf8(nameOf(recordOf(state_, uuid)));
    }
    putText(item, "uuid", uuid);
    putText(item, "category", *category);
    profiles_.back().second["filters"].back()["labels"].push_back(std::move(item));
    return true;
  }

  bool addSettled(const MetadataPath& path, const Values& values) {
    const std::u16string& location = path.getLeaf().getLocation();
    const std::string file = folder_host::toBytes(location);
    const auto isSettlement = [](const auto& value) {
      const auto digest = bytesOf(folder_host::toBytes(value.second));
      return !value.first.empty() && value.second.size() == 64 && digest;
    };
    if (values.empty() || !folder_host::isEntryPath(file) || folder_host::fromBytes(file) != location ||
        !std::all_of(values.begin(), values.end(), isSettlement)) {
      return false;
    }
    for (const auto& [label, digest] : values) {
      Json settled;
      putPath(settled, "path", file);
      putText(settled, "label", label);
      settled["sha256"] = utf8(digest);
      settled_.push_back(std::move(settled));
    }
    return true;
  }

  // The parent of what is readable.
  bool isMadeAnyway(const MetadataPath& path) const {
    const NodeKind kind = kindOf(path);
    return state_.nodes.at(path).empty() && ((kind == NodeKind::profilesRoot && !profiles_.empty()) ||
                                             (kind == NodeKind::settledRoot && !settled_.empty()));
  }

  static Json jsonOfNode(const MetadataPath& path, const Values& values) {
    Json node{{"path", Json::array()}, {"values", Json::array()}};
    for (const auto& element : path.getElements()) {
      Json& step = node["path"].emplace_back(Json::object());
      putText(step, "type", element.getType());
      putText(step, "location", element.getLocation());
    }
    for (const auto& [key, value] : values) {
      Json& pair = node["values"].emplace_back(Json::object());
      putText(pair, "key", key);
      putText(pair, "value", value);
    }
    return node;
  }

  const ProjectState& state_;
  Named profiles_;
  Json settled_ = Json::array();
  std::vector<MetadataPath> raw_;
  MetadataPath profile_;  // the last one that is readable, and the last filter
  MetadataPath filter_;
};

// One line for what holds no list, so that what changes is a line: a mark, a rule, a label of a filter.
void printPretty(const Json& value, const std::string& indent, std::string& text) {
  const auto holdsLists = [&] {
    return std::any_of(value.begin(), value.end(), [](const Json& part) { return part.is_structured(); });
  };
  if (value.empty() || !(value.is_array() || (value.is_object() && holdsLists()))) {
    text += written(value);
    return;
  }
  const std::string inner = indent + "  ";
  text += value.is_array() ? '[' : '{';
  const char* separator = "\n";
  for (const auto& part : value.items()) {
    text += std::exchange(separator, ",\n") + inner;
    if (value.is_object()) text += written(part.key()) + ": ";
    printPretty(part.value(), inner, text);
  }
  text += "\n" + indent + (value.is_array() ? ']' : '}');
}

}  // namespace

const char* wordOf(MarkKind kind) {
  return kind == MarkKind::entry ? "entry" : kind == MarkKind::reach ? "reach" : "exception";
}

std::string textOf(const ProjectState& state) {
  Json whole{{folder_host::EXPORT_KEY, 1}};
  whole["categories"] = jsonOfCategories(state);
  NodeWriter(state).write(whole);
  std::string text;
  printPretty(whole, {}, text);
  return text + "\n";
}

}  // namespace project_share
