#include "exchange/Changes.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "exchange/ProjectText.h"
#include "folder_host/text/Utf.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"

namespace project_share {

using folder_host::LabelRecord;
using folder_host::MarkKind;
using project::metadata::MetadataPath;
using Nodes = folder_host::MetadataStore::Nodes;
using Values = Nodes::mapped_type;

namespace {

template <class Map, class Key>
const typename Map::mapped_type* findIn(const Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : &found->second;
}

template <class Value>
Turn turnOf(const Value* before, const Value* after) {
  if (before == nullptr) return Turn::added;
  return after == nullptr ? Turn::removed : Turn::changed;
}

class Comparison {
 public:
  Comparison(const ProjectState& before, const ProjectState& after) : before_(before), after_(after) {}

  std::vector<Change> made() {
    forEachIn(before_.categories, after_.categories,
              [&](const auto&, const auto* was, const auto* is, const auto& either) {
                if (was == nullptr || is == nullptr || *was != *is) addCategory(was, is, either);
              });
    std::set<std::pair<std::string, std::u16string>> labels;
    forEachIn(before_.labels, after_.labels, [&](const auto& uuid, const auto*, const auto*, const auto&) {
      labels.emplace(nameOf(record(uuid)), uuid);
    });
    for (const auto& [name, uuid] : labels) compareLabel(uuid);
    forEachIn(before_.nodes, after_.nodes,
              [&](const MetadataPath& path, const Values* was, const Values* is, const Values& either) {
                if (was == nullptr || is == nullptr || *was != *is) compareNode(path, was, is, either);
              });
    return std::move(changes_);
  }

 private:
  // visit(key, before or null, after or null, after or else before), sorted by the key.
  template <class Map, class Visit>
  static void forEachIn(const Map& before, const Map& after, const Visit& visit) {
    for (auto b = before.begin(), a = after.begin(); b != before.end() || a != after.end();) {
      const bool isBefore = a == after.end() || (b != before.end() && !(a->first < b->first));
      const bool isAfter = b == before.end() || (a != after.end() && !(b->first < a->first));
      visit(isBefore ? b->first : a->first, isBefore ? &b->second : nullptr, isAfter ? &a->second : nullptr,
            isAfter ? a->second : b->second);
      if (isBefore) ++b;
      if (isAfter) ++a;
    }
  }

  void add(Turn turn, const char* what, const std::string& text, const Json& fields) {
    Json object{{"what", what}};
    object.update(fields);
    changes_.push_back({turn, fmt::format("{} {}", what, text), std::move(object)});
  }

  // As it is now or, where it is not there any more, as it was.
  LabelRecord record(const std::u16string& uuid) const {
    return recordOf(after_.labels.count(uuid) != 0 ? after_ : before_, uuid);
  }

  void addCategory(const std::u16string* was, const std::u16string* is, const std::u16string& name) {
    add(turnOf(was, is), "category",
        freeName(name) + (was != nullptr && is != nullptr ? "  was " + freeName(*was) : ""), {{"name", utf8(name)}});
  }

  void compareLabel(const std::u16string& uuid) {
    static const LabelState none;
    const LabelState* was = findIn(before_.labels, uuid);
    const LabelState* is = findIn(after_.labels, uuid);
    const LabelRecord label = record(uuid);
    const std::string name = freeName(nameOf(label));
    const Json fields{{"label", jsonOf(label)}};
    if (was == nullptr || is == nullptr || was->name != is->name || was->category != is->category ||
        was->isProtected != is->isProtected) {
      std::string how;
      if (was != nullptr && is != nullptr) {
        if (was->isProtected != is->isProtected) how = is->isProtected ? "  now protected" : "  protected no more";
        const std::string old = nameOf(recordOf(before_, uuid));
        if (old != nameOf(label)) how += "  was " + freeName(old);
      }
      add(turnOf(was, is), "label", name + how, fields);
    }
    const LabelState& before = was == nullptr ? none : *was;
    const LabelState& after = is == nullptr ? none : *is;
    compareRules(name, fields, before.rules, after.rules);
    forEachIn(before.marks, after.marks,
              [&](const std::string& path, const MarkKind* mark, const MarkKind* now, MarkKind either) {
                if (mark == nullptr || now == nullptr || *mark != *now) addMark(name, fields, path, mark, now, either);
              });
  }

  void compareRules(const std::string& label, const Json& fields, const std::vector<std::string>& before,
                    const std::vector<std::string>& after) {
    const auto tell = [&](Turn turn, const std::vector<std::string>& rules, const std::vector<std::string>& others) {
      const std::set<std::string> known(others.begin(), others.end());
      std::vector<std::string> common;
      for (const std::string& rule : rules) {
        if (known.count(rule) != 0) {
          common.push_back(rule);
          continue;
        }
        Json object = fields;
        object["rule"] = utf8(rule);
        add(turn, "rule", fmt::format("{}  {}", label, freeName(rule)), object);
      }
      return common;
    };
    const auto left = tell(Turn::removed, before, after);
    if (left != tell(Turn::added, after, before)) {
      add(Turn::changed, "rules", label + "  in another order", fields);
    }
  }

  void addMark(const std::string& label, Json fields, const std::string& path, const MarkKind* was, const MarkKind* is,
               MarkKind kind) {
    putPath(fields, "path", path);
    fields["kind"] = wordOf(kind);
    std::string how = kind == MarkKind::reach ? "" : fmt::format("  ({})", wordOf(kind));
    if (was != nullptr && is != nullptr) how = fmt::format("  ({}, was {})", wordOf(*is), wordOf(*was));
    add(turnOf(was, is), "mark", fmt::format("{}  {}{}", label, freeName(path.empty() ? "." : path), how), fields);
  }

  std::u16string profileNameAt(const MetadataPath& path) const {
    const MetadataPath profile({path.getElements().begin(), path.getElements().begin() + 2});
    const Values* values = findIn(after_.nodes, profile);
    if (values == nullptr) values = findIn(before_.nodes, profile);
    const auto* name = values == nullptr ? nullptr : findIn(*values, u"Name");
    return name == nullptr ? profile.getLeaf().getLocation() : *name;
  }

  void compareNode(const MetadataPath& path, const Values* was, const Values* is, const Values& either) {
    const Turn turn = turnOf(was, is);
    const NodeKind kind = kindOf(path);
    if (kind == NodeKind::settled) return compareSettled(path, was, is);
    if ((kind == NodeKind::profilesRoot || kind == NodeKind::settledRoot) && either.empty()) {
      return;
    }
    if (kind == NodeKind::profilesRoot || kind == NodeKind::settledRoot || kind == NodeKind::other) {
      std::string text;
      for (const auto& step : path.getElements()) {
        text += (text.empty() ? "" : "/") + folder_host::toBytes(step.getType() + u":" + step.getLocation());
      }
      return add(turn, "node", freeName(text), {{"node", utf8(text)}});
    }
    const auto& elements = path.getElements();
    Json fields{{"profile", {{"uuid", utf8(elements[1].getLocation())}, {"name", utf8(profileNameAt(path))}}}};
    std::string text = freeName(profileNameAt(path));
    if (kind == NodeKind::profile) {
      const auto* old = was != nullptr && is != nullptr ? findIn(*was, u"Name") : nullptr;
      return add(turn, "profile", text + (old != nullptr ? "  was " + freeName(*old) : ""), fields);
    }
    fields["kind"] = wordOf(elements[2].getLocation());
    text += "  " + wordOf(elements[2].getLocation());
    if (kind == NodeKind::filter) return add(turn, "filter", text, fields);
    const std::u16string& label = elements[3].getLocation();
    const bool isThere = after_.labels.count(label) != 0 || before_.labels.count(label) != 0;
    fields["label"] = isThere ? jsonOf(record(label)) : Json{{"uuid", utf8(label)}, {"deleted", true}};
    add(turn, "filter-label", fmt::format("{}  {}", text, isThere ? freeName(nameOf(record(label))) : freeName(label)),
        fields);
  }

  // Of each label, what is settled of one path.
  void compareSettled(const MetadataPath& path, const Values* was, const Values* is) {
    static const Values none;
    const std::string file = folder_host::toBytes(path.getLeaf().getLocation());
    forEachIn(was == nullptr ? none : *was, is == nullptr ? none : *is,
              [&](const std::u16string& label, const std::u16string* old, const std::u16string* now, const auto&) {
                if (old != nullptr && now != nullptr && *old == *now) return;
                const bool isThere = after_.labels.count(label) != 0 || before_.labels.count(label) != 0;
                Json fields{{"label", isThere ? jsonOf(record(label)) : Json{{"uuid", utf8(label)}}}};
                putPath(fields, "path", file);
                const std::string name = isThere ? nameOf(record(label)) : folder_host::toBytes(label);
                add(turnOf(old, now), "settled", fmt::format("{}  {}", freeName(name), freeName(file)), fields);
              });
  }

  const ProjectState& before_;
  const ProjectState& after_;
  std::vector<Change> changes_;
};

}  // namespace

std::vector<Change> changesBetween(const ProjectState& before, const ProjectState& after) {
  return Comparison(before, after).made();
}

std::string textOf(const Change& change) {
  return fmt::format("{} {}", "+-~="[static_cast<std::size_t>(change.turn)], change.text);
}

Json jsonOf(const Change& change) {
  constexpr const char* WORDS[] = {"added", "removed", "changed", "kept"};
  Json object{{"type", "change"}, {"change", WORDS[static_cast<std::size_t>(change.turn)]}};
  object.update(change.object);
  return object;
}

}  // namespace project_share
