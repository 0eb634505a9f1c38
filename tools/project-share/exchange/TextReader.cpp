#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "exchange/ProjectText.h"
#include "folder_host/files/Path.h"
#include "folder_host/share/read/FirstBytes.h"
#include "folder_host/store/Blob.h"
#include "folder_host/text/Patterns.h"
#include "folder_host/text/Utf.h"
#include "output/Json.h"
#include "output/JsonMaker.h"
#include "project/sharing/profiles/ExportProfileTransformation.h"
#include "words/FilterKinds.h"
#include "words/Labels.h"
#include "words/Names.h"

namespace project_share {

using folder_host::MarkKind;
using project::metadata::MetadataPath;
using project::metadata::MetadataPathBuilder;

namespace {

using Tree = JsonMaker::Value;

// The text that putText was given.
std::optional<std::u16string> textFrom(const Tree& object, const std::string& key) {
  const auto text = object.find(key);
  if (text == object.end() || !text->is_string()) return {};
  const auto& shown = text->get_ref<const std::string&>();
  const auto hex = object.find(key + "Hex");
  if (hex == object.end()) return folder_host::fromBytes(shown);
  const auto bytes = hex->is_string() ? bytesOf(hex->get<std::string>()) : std::nullopt;
  if (!bytes || bytes->size() % 2 != 0) return {};
  std::u16string units = folder_host::fromBlob(*bytes);
  return utf8(units) == shown ? std::optional(std::move(units)) : std::nullopt;
}

using KeyNames = std::initializer_list<std::string_view>;

// A part of the text, and where it stands in it.
class Piece {
 public:
  Piece(const Tree& value, const std::string& file, std::string where)
      : value_(value), file_(file), where_(std::move(where)) {}

  [[noreturn]] void refuse(const std::string& why) const {
    throw Refusal(refusals::IMPORT_UNREADABLE,
                  fmt::format("{} cannot be read as an export: {}{}{}", inQuotes(file_), where_.empty() ? "" : "at ",
                              where_.empty() ? "" : inQuotes(where_) + ": ", why));
  }
  void require(bool holds, const char* why) const {
    if (!holds) refuse(why);
  }

  // An object of these keys and no others: what is passed over unread could be what holds something back. Texts may
  // have a second key with their digits.
  void requireKeys(KeyNames texts, KeyNames others, KeyNames optional = {}) const {
    require(value_.is_object(), "it is no object");
    std::set<std::string> known;
    for (const KeyNames& needed : {texts, others}) {
      for (const std::string_view key : needed) {
        if (!value_.contains(std::string(key))) refuse(fmt::format("it has no {}", inQuotes(key)));
        known.emplace(key);
      }
    }
    for (const std::string_view key : texts) known.insert(std::string(key) + "Hex");
    for (const std::string_view key : optional) known.emplace(key);
    for (const auto& [key, value] : value_.items()) {
      if (known.count(key) == 0) refuse(fmt::format("{} is not known", inQuotes(key)));
    }
  }

  const Tree& value() const noexcept { return value_; }
  bool has(const char* key) const { return value_.contains(key); }
  Piece at(const char* key) const { return {value_.at(key), file_, where_ + "/" + key}; }

  template <class Visit>
  void forEach(const char* key, const Visit& visit) const {
    const Piece list = at(key);
    list.require(list.value_.is_array(), "it is no list");
    for (std::size_t i = 0; i < list.value_.size(); ++i) {
      visit(Piece(list.value_[i], file_, fmt::format("{}/{}", list.where_, i)));
    }
  }

  std::u16string text(const char* key) const {
    auto found = textFrom(value_, key);
    if (!found) refuse(fmt::format("{} is no text, or its digits are of another one", inQuotes(key)));
    return std::move(*found);
  }
  // One that something is called by.
  std::u16string name(const char* key) const {
    std::u16string found = text(key);
    if (found.empty()) refuse(fmt::format("{} is empty", inQuotes(key)));
    return found;
  }
  std::string bytes(const char* key) const {
    auto found = pathIn(value_, key);
    if (!found) refuse(fmt::format("{} is no text, or its digits are of another one", inQuotes(key)));
    return std::move(*found);
  }

 private:
  const Tree& value_;
  const std::string& file_;
  std::string where_;  // as a pointer into JSON: "/categories/0/name"
};

class TreeMaker final : public JsonMaker {
 public:
  TreeMaker(const std::string& text, const Piece& whole) : JsonMaker(DEEPEST, MOST_PARTS), text_(text), whole_(whole) {}

  Tree made() {
    Tree::sax_parse(text_, this);
    return std::move(root_);
  }

  bool parse_error(std::size_t at, const std::string& /*token*/, const Tree::exception& /*error*/) override {
    const auto end = text_.begin() + static_cast<std::ptrdiff_t>(std::min(at, text_.size()));
    whole_.refuse(fmt::format("it is no JSON from line {} on", 1 + std::count(text_.begin(), end, '\n')));
  }

 private:
  static constexpr std::size_t DEEPEST = 16;
  static constexpr std::uint64_t MOST_PARTS = std::uint64_t{1} << 23U;

  bool isRight(Tree& whole) override {
    root_ = std::move(whole);
    return true;
  }
  bool fail(const std::string& why) override { whole_.refuse(why); }

  const std::string& text_;
  const Piece& whole_;
  Tree root_;
};

Tree parsedText(const std::string& text, const std::string& file) {
  const Tree nothing;
  const Piece whole(nothing, file, {});
  whole.require(text.size() <= LONGEST_EXPORT, "it is too long");
  // The parser takes a zero byte for the end.
  whole.require(text.find('\0') == std::string::npos, "it is no JSON");
  return TreeMaker(text, whole).made();
}

class Reader {
 public:
  ProjectState read(const Piece& whole) {
    requireVersion(whole);
    const std::string key(folder_host::EXPORT_KEY);
    whole.requireKeys({}, {key, "categories", "profiles", "settled", "nodes"});
    whole.forEach("categories", [&](const Piece& category) { readCategory(category); });
    whole.forEach("profiles", [&](const Piece& profile) { readProfile(profile); });
    whole.forEach("settled", [&](const Piece& settled) { readSettled(settled); });
    whole.forEach("nodes", [&](const Piece& node) { readNode(node); });
    requireProfiles(whole.at("nodes"));
    dropIdleRoots(state_.nodes);
    return std::move(state_);
  }

 private:
  using Values = folder_host::MetadataStore::Nodes::mapped_type;

  static void requireVersion(const Piece& whole) {
    const char* key = folder_host::EXPORT_KEY.data();
    whole.require(whole.value().is_object() && whole.has(key), "it is none");
    const Tree& version = whole.value().at(key);
    whole.require(version.is_number_unsigned() && version != 0U, "it is none");
    whole.require(version == 1U, "it was written by a newer version of project-share; get that one");
  }

  void readCategory(const Piece& part) {
    part.requireKeys({"name", "uuid"}, {"labels"});
    const std::u16string uuid = part.name("uuid");
    part.require(state_.categories.emplace(uuid, part.name("name")).second, "its UUID is there twice");
    part.forEach("labels", [&](const Piece& label) { readLabel(uuid, label); });
  }

  void readLabel(const std::u16string& category, const Piece& part) {
    part.requireKeys({"name", "uuid"}, {"protected", "rules", "marks"});
    const auto [place, isNew] = state_.labels.emplace(part.name("uuid"), LabelState());
    part.require(isNew, "its UUID is there twice");
    LabelState& label = place->second;
    label.category = category;
    label.name = part.name("name");
    part.require(part.at("protected").value().is_boolean(), "'protected' is neither true nor false");
    label.isProtected = part.at("protected").value().get<bool>();
    std::set<std::string> patterns;
    part.forEach("rules", [&](const Piece& rule) {
      label.rules.push_back(ruleIn(rule));
      rule.require(patterns.insert(label.rules.back()).second, "the rule is there twice");
    });
    part.forEach("marks", [&](const Piece& mark) { readMark(label, mark); });
  }

  static std::string ruleIn(const Piece& part) {
    if (!part.value().is_string()) part.requireKeys({"pattern"}, {});
    std::string pattern = part.value().is_string() ? part.value().get<std::string>() : part.bytes("pattern");
    const char* fault = folder_host::patternFault(pattern);
    if (fault != nullptr) part.refuse(fmt::format("{} is no pattern: {}", inQuotes(pattern), fault));
    return pattern;
  }

  static void readMark(LabelState& label, const Piece& part) {
    part.requireKeys({"path"}, {}, {"kind"});
    const std::string path = part.bytes("path");
    const MarkKind kind = part.has("kind") ? markKindIn(part.at("kind")) : MarkKind::reach;
    part.require(path.empty() ? kind == MarkKind::reach : folder_host::isEntryPath(path),
                 "no entry of a project can have that path");
    part.require(label.marks.emplace(path, kind).second, "the path is there twice");
  }

  static MarkKind markKindIn(const Piece& part) {
    for (const MarkKind kind : {MarkKind::entry, MarkKind::reach, MarkKind::exception}) {
      if (part.value() == wordOf(kind)) return kind;
    }
    part.refuse("it is none of 'entry', 'reach' and 'exception'");
  }

  void readProfile(const Piece& part) {
    part.requireKeys({"name", "uuid"}, {"filters"});
    const MetadataPath profile =
        MetadataPathBuilder().add(u"Export", u"Root").add(u"ExportProfile", part.name("uuid")).build();
    put(part, profile, {{u"Name", part.name("name")}});
    part.forEach("filters", [&](const Piece& filter) {
      filter.requireKeys({}, {"kind", "labels"});
      const MetadataPath node = MetadataPathBuilder().add(profile).add(u"Filter", filterKindIn(filter)).build();
      put(filter, node, {});
      filter.forEach("labels", [&](const Piece& item) {
        item.requireKeys({"uuid", "category"}, {}, {"label"});
        put(item, MetadataPathBuilder().add(node).add(u"Filter", item.name("uuid")).build(),
            {{u"Data", item.text("category")}});
      });
    });
  }

  static std::u16string filterKindIn(const Piece& part) {
    for (const FilterKind& kind : filterKinds()) {
      if (part.value().at("kind") == kind.word) return kind.text;
    }
    part.refuse("its kind is not known");
  }

  // Of a path, one for each label.
  void readSettled(const Piece& part) {
    part.requireKeys({"path", "label"}, {"sha256"});
    const std::string path = part.bytes("path");
    part.require(folder_host::isEntryPath(path), "no entry of a project can have that path");
    const std::u16string digest = part.text("sha256");
    const auto isDigit = [](char16_t c) { return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f'); };
    part.require(digest.size() == 64 && std::all_of(digest.begin(), digest.end(), isDigit), "'sha256' is no digest");
    const MetadataPath node =
        MetadataPathBuilder().add(u"Settled", u"Root").add(u"Path", folder_host::fromBytes(path)).build();
    makeAbove(node);
    settled_.insert(node);
    part.require(state_.nodes[node].emplace(part.name("label"), digest).second, "that is there twice");
  }

  void readNode(const Piece& part) {
    constexpr std::size_t MOST_STEPS = 64;  // each node above it is made, too
    part.requireKeys({}, {"path", "values"});
    MetadataPathBuilder path;
    part.forEach("path", [&](const Piece& step) {
      step.requireKeys({"type", "location"}, {});
      path.add(step.text("type"), step.text("location"));
    });
    Values values;
    part.forEach("values", [&](const Piece& value) {
      value.requireKeys({"key", "value"}, {});
      value.require(values.emplace(value.text("key"), value.text("value")).second, "the key is there twice");
    });
    const MetadataPath node = path.build();
    part.require(!node.getElements().empty() && node.getElements().size() <= MOST_STEPS,
                 "it has no path, or a long one");
    part.require(settled_.count(node) == 0, "that is there twice");
    put(part, node, std::move(values));
  }

  // Without one of these values in one profile, nothing could be told about any of them.
  void requireProfiles(const Piece& nodes) const {
    for (const auto& [path, values] : state_.nodes) {
      const auto& elements = path.getElements();
      const bool isItem = elements.size() == 4 && elements[3].getType() == u"Filter" &&
                          kindOf(parentOf(parentOf(path))) == NodeKind::profile;
      nodes.require(!isItem || values.count(u"Data") != 0, "a label of a filter has no 'Data' among its values");
      nodes.require(kindOf(path) != NodeKind::profile || values.count(u"Name") != 0,
                    "a profile has no 'Name' among its values");
    }
  }

  // A node may have been made before for the sake of one below it.
  void put(const Piece& part, const MetadataPath& path, Values values) {
    part.require(given_.insert(path).second, "that is there twice");
    makeAbove(path);
    state_.nodes[path] = std::move(values);
  }

  void makeAbove(MetadataPath path) {
    while (path.getElements().size() > 1 && state_.nodes.try_emplace(path = parentOf(path)).second) continue;
  }

  ProjectState state_;
  std::set<MetadataPath> given_;    // each stands in the text itself
  std::set<MetadataPath> settled_;  // has values of several places of the text
};

}  // namespace

ProjectState stateIn(const std::string& text, const std::string& file) {
  const Tree tree = parsedText(text, file);
  const Piece whole(tree, file, {});
  ProjectState state = Reader().read(whole);
  // What no share would know for an export must not come to be used as one.
  whole.require(folder_host::firstBytesTellExport(std::string_view(text).substr(0, folder_host::FIRST_BYTES)),
                "'Project-share export' has to be its first key, in plain letters, right at its beginning");
  return state;
}

}  // namespace project_share
