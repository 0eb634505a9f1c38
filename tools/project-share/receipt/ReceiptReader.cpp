#include "receipt/ReceiptReader.h"

#include <fcntl.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "Refusal.h"
#include "folder_host/Error.h"
#include "folder_host/files/Descriptor.h"
#include "output/Json.h"

namespace project_share {

using folder_host::EntryKind;

namespace {

using Part = nlohmann::json;  // sorts its keys: an object of very many takes no longer for each
using Check = bool (*)(const Part& value);

bool isText(const Part& value) { return value.is_string(); }
bool isCount(const Part& value) { return value.is_number_unsigned(); }
bool isFlag(const Part& value) { return value.is_boolean(); }
bool isList(const Part& value) { return value.is_array(); }
bool isVersion(const Part& value) { return value.is_number_unsigned() && value == 1U; }
bool isAnything(const Part& /*value*/) { return true; }

bool isHex(const Part& value) { return value.is_string() && bytesOf(value.get_ref<const std::string&>()).has_value(); }

// "2026-11-21T06:40:24Z". The time is printed, so it is in this form or the file is no receipt.
bool isTime(const Part& value) {
  constexpr std::string_view FORM = "0000-00-00T00:00:00Z";
  const auto* text = value.get_ptr<const std::string*>();
  return text != nullptr && text->size() == FORM.size() &&
         std::equal(FORM.begin(), FORM.end(), text->begin(),
                    [](char form, char c) { return form == '0' ? c >= '0' && c <= '9' : form == c; });
}

bool isSha256(const Part& value) { return isHex(value) && value.get_ref<const std::string&>().size() == 64; }

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

// The parts of an entry that its kind needs, and no default for one that is missing: a file without a digest would be
// compared with nothing.
std::optional<NotedEntry> handedOutIn(const Part& value) {
  const auto path = pathIn(value, "path");
  const auto kind = kindIn(value);
  if (!path || !kind) return {};
  if (*kind == EntryKind::folder) return NotedEntry{*path, *kind, {}, 0, {}};
  if (*kind == EntryKind::link) {
    const auto target = pathIn(value, "target");
    return target ? std::optional(NotedEntry{*path, *kind, *target, 0, {}}) : std::nullopt;
  }
  if (!has(value, "size", isCount) || !has(value, "sha256", isSha256)) return {};
  return NotedEntry{*path, *kind, {}, value.at("size").get<std::uint64_t>(), value.at("sha256").get<std::string>()};
}

bool isHandedOut(const Part& value) { return handedOutIn(value).has_value(); }

bool isProfile(const Part& value) {
  return value.is_null() || (has(value, "uuid", isText) && has(value, "name", isText));
}

bool isLabel(const Part& value) {
  return has(value, "uuid", isText) && has(value, "category", isText) && has(value, "name", isText) &&
         has(value, "protected", isFlag);
}

bool areLabels(const Part& value) { return isList(value) && std::all_of(value.begin(), value.end(), isLabel); }

bool isLeavingLabel(const Part& value) { return isLabel(value) && has(value, "entries", isCount); }

bool isReason(const Part& value) {
  if (!has(value, "rule", isText)) return false;
  if (value.at("rule") != "filter" && value.at("rule") != "folder") return true;
  return has(value, "filter", isCount) && has(value, "kind", isText) && has(value, "labels", areLabels);
}

bool isHeldBack(const Part& value) { return pathIn(value, "path") && kindIn(value) && has(value, "reason", isReason); }

// What a part is and, where it is a list, what its elements are.
struct Shape {
  Check value;
  Check element = isAnything;
  bool isNeeded = true;
};

// A receipt may come from anyone, and verify believes what it says about files. So every part is of the type that a
// receipt has, and is there once, before any of it is compared with a copy.
const std::map<std::string, Shape>& shapes() {
  static const std::map<std::string, Shape> all{
      {"receipt", {isVersion}},
      {"time", {isTime}},
      {"profile", {isProfile}},
      {"destination", {isText}},
      {"destinationHex", {isHex, isAnything, false}},
      {"allowed", {isList, isText}},
      {"labelsRemoved", {isList, isLabel}},
      {"handedOut", {isList, isHandedOut}},
      {"heldBack", {isList, isHeldBack}},
      {"labels", {isList, isLeavingLabel}},
  };
  return all;
}

using Visit = std::function<void(const std::string& part, const Part& value)>;

// Puts together, checks and visits one part or, of a list, one element at a time. Whatever gives false ends the
// parsing.
class Parts : public nlohmann::json_sax<Part> {
 public:
  explicit Parts(const Visit& visit) : visit_(visit) {}

  // Once all was parsed.
  bool areAllThere() const {
    return std::all_of(shapes().begin(), shapes().end(),
                       [&](const auto& part) { return !part.second.isNeeded || names_.count(part.first) != 0; });
  }

  bool null() override { return scalar(nullptr); }
  bool boolean(bool value) override { return scalar(value); }
  bool number_integer(number_integer_t value) override { return scalar(value); }
  bool number_unsigned(number_unsigned_t value) override { return scalar(value); }
  bool number_float(number_float_t value, const string_t& /*text*/) override { return scalar(value); }
  bool string(string_t& value) override { return scalar(std::move(value)); }
  bool binary(binary_t& /*value*/) override { return false; }
  bool parse_error(std::size_t /*at*/, const std::string& /*token*/, const Part::exception& /*error*/) override {
    return false;
  }

  bool start_object(std::size_t /*size*/) override {
    return std::exchange(isBegun_, true) ? open(Part::object()) : true;
  }

  bool start_array(std::size_t /*size*/) override {
    if (isInList_ || !open_.empty()) return open(Part::array());
    isInList_ = true;
    return isBegun_ && shape().value(Part::array());
  }

  // A name that comes twice could mean one thing here and another to the next reader.
  bool key(string_t& name) override {
    if (open_.empty()) return names_.insert(part_ = name).second;
    const auto [added, isNew] = open_.back()->get_ref<Part::object_t&>().emplace(name, nullptr);
    field_ = &added->second;
    return isNew;
  }

  bool end_object() override { return open_.empty() || close(); }

  bool end_array() override {
    if (!open_.empty()) return close();
    isInList_ = false;
    return true;
  }

 private:
  // A crafted file can nest without end, and no receipt comes near this.
  static constexpr std::size_t DEEPEST = 64;

  const Shape& shape() const {
    static const Shape unknown{isAnything};
    const auto found = shapes().find(part_);
    return found != shapes().end() ? found->second : unknown;
  }

  Part& place(Part value) {
    if (open_.empty()) return whole_ = std::move(value);
    if (open_.back()->is_object()) return *field_ = std::move(value);
    return open_.back()->emplace_back(std::move(value));
  }

  bool scalar(Part value) {
    place(std::move(value));
    return isBegun_ && (!open_.empty() || isDone());
  }

  bool open(Part container) {
    if (open_.size() == DEEPEST) return false;
    open_.push_back(&place(std::move(container)));
    return true;
  }

  bool close() {
    open_.pop_back();
    return !open_.empty() || isDone();
  }

  // Checked as soon as it is whole, and forgotten after its visit: of a long list one element is held at a time.
  bool isDone() {
    if (!(isInList_ ? shape().element : shape().value)(whole_)) return false;
    visit_(part_, whole_);
    return true;
  }

  const Visit& visit_;
  std::set<std::string> names_;  // of the parts so far
  std::string part_;
  Part whole_;
  std::vector<Part*> open_;  // objects and arrays of it, each in the one before
  Part* field_ = nullptr;    // of the last of them, named last
  bool isBegun_ = false;
  bool isInList_ = false;  // in a part that is one
};

Refusal unreadable(const std::string& file, const char* why) {
  return {refusals::RECEIPT_UNREADABLE, folder_host::inQuotes(file) + " cannot be read as a receipt: " + why +
                                            "; name the file that share --receipt made"};
}

}  // namespace

// Opened once for both readings: what is judged and what is compared are one file, whatever the name stands for by
// then. A pipe in its place is not waited for.
ReceiptReader::ReceiptReader(std::string file) : file_(std::move(file)) {
  folder_host::Descriptor descriptor(::open(file_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (descriptor.get() < 0) throw unreadable(file_, "it cannot be opened");
  if (!S_ISREG(statusOf(descriptor).st_mode)) throw unreadable(file_, "it is no file");
  stream_.reset(::fdopen(descriptor.get(), "rb"));
  if (!stream_) throw unreadable(file_, "it cannot be opened");
  descriptor.release();
}

// An entry that is named twice would be found once, and be told of as missing the second time.
std::string ReceiptReader::judge() {
  std::set<std::string> paths;
  return read([&](const NotedEntry& entry) {
    if (!paths.insert(entry.path).second) throw unreadable(file_, "it names an entry twice");
  });
}

void ReceiptReader::forEach(const std::function<void(const NotedEntry&)>& visit) { read(visit); }

std::string ReceiptReader::read(const std::function<void(const NotedEntry&)>& visit) {
  std::string time;
  const Visit visitPart = [&](const std::string& part, const Part& value) {
    if (part == "time") time = value.get<std::string>();
    if (part == "handedOut") visit(handedOutIn(value).value());
  };
  Parts parts(visitPart);
  std::rewind(stream_.get());
  // The parser takes a zero byte for the end.
  const bool isWhole = Part::sax_parse(stream_.get(), &parts) && std::feof(stream_.get()) != 0;
  if (!isWhole || !parts.areAllThere()) throw unreadable(file_, "it is none");
  return time;
}

}  // namespace project_share
