#include "receipt/ReceiptParts.h"

#include <algorithm>
#include <array>
#include <utility>

#include "folder_host/files/Path.h"
#include "output/Json.h"

namespace project_share {

using folder_host::EntryKind;

namespace {

using Check = PartShape::Check;

bool isText(const Part& value) { return value.is_string(); }
bool isCount(const Part& value) { return value.is_number_unsigned(); }
bool isFlag(const Part& value) { return value.is_boolean(); }
bool isListValue(const Part& value) { return value.is_array(); }
bool isVersion(const Part& value) { return value.is_number_unsigned() && value == 2U; }
bool isAnything(const Part& /*value*/) { return true; }

bool isHex(const Part& value) { return value.is_string() && bytesOf(value.get_ref<const std::string&>()).has_value(); }

// "2026-11-21T06:40:24Z". The time is printed, so it is in this form or the file is no receipt.
bool isTime(const Part& value) {
  constexpr std::string_view TIME = "0000-00-00T00:00:00Z";
  const auto* text = value.get_ptr<const std::string*>();
  return text != nullptr && text->size() == TIME.size() &&
         std::equal(TIME.begin(), TIME.end(), text->begin(),
                    [](char form, char c) { return form == '0' ? c >= '0' && c <= '9' : form == c; });
}

bool isSha256(const Part& value) { return isHex(value) && value.get_ref<const std::string&>().size() == 64; }

bool isShape(const Part& value) {
  constexpr std::array<const char*, 5> ALL = {"folder", "tar", "tar.gz", "tar.zst", "zip"};
  return std::any_of(ALL.begin(), ALL.end(), [&](const char* shape) { return value == shape; });
}

// Of what is no object: nothing.
bool has(const Part& object, const std::string& key, Check check) {
  const auto found = object.find(key);
  return found != object.end() && check(*found);
}

std::optional<EntryKind> kindIn(const Part& object) {
  if (!has(object, "kind", isText)) return {};
  for (const EntryKind kind : {EntryKind::file, EntryKind::folder, EntryKind::link}) {
    if (object.at("kind") == wordOf(kind)) return kind;
  }
  return {};
}

// Seconds since 1970, and nanoseconds.
std::optional<timespec> timeIn(const Part& object) {
  const auto found = object.find("modified");
  constexpr std::uint64_t SECOND = 1000000000;
  if (found == object.end() || !found->is_array() || found->size() != 2 || !(*found)[0].is_number_integer() ||
      !isCount((*found)[1]) || (*found)[1].get<std::uint64_t>() >= SECOND) {
    return {};
  }
  return timespec{(*found)[0].get<time_t>(), (*found)[1].get<long>()};
}

// "0644"
std::optional<mode_t> modeIn(const Part& object) {
  if (!has(object, "mode", isText)) return {};
  const auto& digits = object.at("mode").get_ref<const std::string&>();
  if (digits.size() != 4 || digits.find_first_not_of("01234567") != std::string::npos) return {};
  return static_cast<mode_t>(std::stoul(digits, nullptr, 8));
}

std::optional<std::vector<std::string>> textsIn(const Part& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_array() || !std::all_of(found->begin(), found->end(), isText)) return {};
  return found->get<std::vector<std::string>>();
}

// A file's size, and its digest where it has one: one that is there is right.
bool takeContent(const Part& value, ReceiptEntry& entry) {
  if (!has(value, "size", isCount)) return false;
  entry.size = value.at("size").get<std::uint64_t>();
  if (value.find("sha256") == value.end()) return true;
  if (!has(value, "sha256", isSha256)) return false;
  entry.sha256 = value.at("sha256").get<std::string>();
  return true;
}

// Where it was shared from, what it had there.
bool takeStatus(const Part& value, ReceiptEntry& entry) {
  const auto modified = timeIn(value);
  const auto mode = entry.kind == EntryKind::link ? std::optional<mode_t>(0) : modeIn(value);
  auto labels = textsIn(value, "labels");
  if (!modified || !mode || !labels) return false;
  entry.modified = *modified;
  entry.mode = *mode;
  entry.labels = *std::move(labels);
  return true;
}

bool isHandedOut(const Part& value) { return handedOutIn(value).has_value(); }

bool isProfile(const Part& value) {
  return value.is_null() || (has(value, "uuid", isText) && has(value, "name", isText));
}

bool isStoreState(const Part& value) {
  return has(value, "revision", isCount) && has(value, "edit", isText) &&
         (has(value, "address", isText) || value.value("address", Part(0)).is_null());
}

// Of one that was deleted, nothing but its UUID is known.
bool isLabel(const Part& value) {
  if (!has(value, "uuid", isText)) return false;
  if (has(value, "deleted", isFlag)) return value.find("category") == value.end() && value.find("name") == value.end();
  return has(value, "category", isText) && has(value, "name", isText) && has(value, "protected", isFlag);
}

bool areLabels(const Part& value) { return isListValue(value) && std::all_of(value.begin(), value.end(), isLabel); }

bool isLeavingLabel(const Part& value) { return isLabel(value) && has(value, "entries", isCount); }

bool isFilter(const Part& value) {
  return has(value, "filter", isCount) && has(value, "kind", isText) && has(value, "labels", areLabels);
}

bool isRisk(const Part& value) { return has(value, "identifier", isText) && has(value, "message", isText); }

bool isReason(const Part& value) {
  if (!has(value, "rule", isText)) return false;
  if (value.at("rule") == "link" || value.at("rule") == "emptied") return true;
  return (value.at("rule") == "filter" || value.at("rule") == "folder") && isFilter(value) &&
         (value.find("from") == value.end() || pathIn(value, "from"));
}

bool isHeldBack(const Part& value) { return heldBackIn(value).has_value(); }

constexpr std::array<const char*, 10> HEAD = {"receipt", "time",  "profile", "from",      "destination",
                                              "shape",   "plain", "content", "judgement", "copy"};

}  // namespace

bool PartShape::isList() const noexcept { return value == isListValue; }

const std::map<std::string, PartShape>& partShapes() {
  static const std::map<std::string, PartShape> all{
      {"receipt", {isVersion, isAnything, true}},      {"time", {isTime, isAnything, true}},
      {"profile", {isProfile, isAnything, true}},      {"from", {isText, isAnything, true}},
      {"fromHex", {isHex, isAnything, false}},         {"destination", {isText, isAnything, true}},
      {"destinationHex", {isHex, isAnything, false}},  {"shape", {isShape, isAnything, true}},
      {"plain", {isFlag, isAnything, true}},           {"content", {isFlag, isAnything, true}},
      {"judgement", {isSha256, isAnything, true}},     {"copy", {isSha256, isAnything, true}},
      {"store", {isStoreState, isAnything, false}},    {"filters", {isListValue, isFilter, true}},
      {"allowed", {isListValue, isText, true}},        {"risks", {isListValue, isRisk, true}},
      {"labelsRemoved", {isListValue, isLabel, true}}, {"labels", {isListValue, isLeavingLabel, true}},
      {"allLabels", {isListValue, isLabel, true}},     {"handedOut", {isListValue, isHandedOut, true}},
      {"heldBack", {isListValue, isHeldBack, true}},
  };
  return all;
}

const PartShape& shapeOfPart(const std::string& part) {
  static const PartShape unknown{isAnything, isAnything, false};
  const auto found = partShapes().find(part);
  return found != partShapes().end() ? found->second : unknown;
}

std::optional<ReceiptEntry> handedOutIn(const Part& element) {
  auto path = pathIn(element, "path");
  const auto kind = kindIn(element);
  if (!path || !kind) return {};
  ReceiptEntry entry;
  entry.path = *std::move(path);
  entry.kind = *kind;
  const bool isStore = entry.path == folder_host::STORE_FOLDER || entry.path == folder_host::STORE_FILE;
  if (*kind == EntryKind::link) {
    auto target = pathIn(element, "target");
    if (!target || isStore) return {};
    entry.target = *std::move(target);
  }
  if (*kind == EntryKind::file && !takeContent(element, entry)) return {};
  if (isStore) return *kind == EntryKind::folder || !entry.sha256.empty() ? std::optional(entry) : std::nullopt;
  return folder_host::isEntryPath(entry.path) && takeStatus(element, entry) ? std::optional(entry) : std::nullopt;
}

std::optional<ReceiptHeldBack> heldBackIn(const Part& element) {
  auto path = pathIn(element, "path");
  const auto kind = kindIn(element);
  auto labels = textsIn(element, "labels");
  if (!path || !kind || !labels || !has(element, "reason", isReason)) return {};
  return ReceiptHeldBack{*std::move(path), *kind, element.at("reason"), *std::move(labels)};
}

std::optional<ReceiptHead> headIn(const Part& object) {
  const auto isThere = [&](const char* part) { return has(object, part, shapeOfPart(part).value); };
  if (!object.is_object() || !std::all_of(HEAD.begin(), HEAD.end(), isThere)) return {};
  const auto destination = pathIn(object, "destination");
  const auto from = pathIn(object, "from");
  if (!destination || !from) return {};
  ReceiptHead head;
  head.time = object.at("time");
  if (const Part& profile = object.at("profile"); !profile.is_null()) {
    head.profileUuid = profile.at("uuid");
    head.profileName = profile.at("name");
  }
  head.from = *from;
  head.destination = *destination;
  head.shape = object.at("shape");
  head.isPlain = object.at("plain");
  head.hasContent = object.at("content");
  head.judgement = object.at("judgement");
  head.copy = object.at("copy");
  if (!isThere("store")) return head;
  const Part& store = object.at("store");
  head.revision = store.at("revision");
  head.edit = store.at("edit");
  if (store.at("address").is_string()) head.address = store.at("address");
  return head;
}

}  // namespace project_share
