#include "receipt/ReceiptReader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

#include "Refusal.h"
#include "folder_host/files/Compressed.h"
#include "folder_host/files/Path.h"
#include "folder_host/share/read/FirstBytes.h"
#include "output/Json.h"
#include "words/Names.h"

namespace project_share {

using folder_host::EntryKind;
using folder_host::RECEIPT_HEAD;

namespace {

using Part = nlohmann::json;  // sorts its keys: an object of very many takes no longer for each
using Check = bool (*)(const Part& value);

bool isText(const Part& value) { return value.is_string(); }
bool isCount(const Part& value) { return value.is_number_unsigned(); }
bool isFlag(const Part& value) { return value.is_boolean(); }
bool isList(const Part& value) { return value.is_array(); }
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

// The parts of an entry that its kind needs, and no default for one that is missing: what has no size would be compared
// with nothing.
std::optional<ReceiptEntry> handedOutIn(const Part& value) {
  auto path = pathIn(value, "path");
  const auto kind = kindIn(value);
  if (!path || !kind) return {};
  ReceiptEntry entry;
  entry.path = *std::move(path);
  entry.kind = *kind;
  const bool isStore = entry.path == folder_host::STORE_FOLDER || entry.path == folder_host::STORE_FILE;
  if (*kind == EntryKind::link) {
    auto target = pathIn(value, "target");
    if (!target || isStore) return {};
    entry.target = *std::move(target);
  }
  if (*kind == EntryKind::file && !takeContent(value, entry)) return {};
  if (isStore) return *kind == EntryKind::folder || !entry.sha256.empty() ? std::optional(entry) : std::nullopt;
  return folder_host::isEntryPath(entry.path) && takeStatus(value, entry) ? std::optional(entry) : std::nullopt;
}

bool isHandedOut(const Part& value) { return handedOutIn(value).has_value(); }

bool isProfile(const Part& value) {
  return value.is_null() || (has(value, "uuid", isText) && has(value, "name", isText));
}

bool isLabel(const Part& value) {
  if (has(value, "deleted", isFlag)) return has(value, "uuid", isText);
  return has(value, "uuid", isText) && has(value, "category", isText) && has(value, "name", isText) &&
         has(value, "protected", isFlag);
}

bool areLabels(const Part& value) { return isList(value) && std::all_of(value.begin(), value.end(), isLabel); }

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

std::optional<ReceiptHeldBack> heldBackIn(const Part& value) {
  auto path = pathIn(value, "path");
  const auto kind = kindIn(value);
  auto labels = textsIn(value, "labels");
  if (!path || !kind || !labels || !has(value, "reason", isReason)) return {};
  return ReceiptHeldBack{*std::move(path), *kind, value.at("reason"), *std::move(labels)};
}

bool isHeldBack(const Part& value) { return heldBackIn(value).has_value(); }

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
      {"from", {isText}},
      {"fromHex", {isHex, isAnything, false}},
      {"destination", {isText}},
      {"destinationHex", {isHex, isAnything, false}},
      {"shape", {isShape}},
      {"plain", {isFlag}},
      {"content", {isFlag}},
      {"judgement", {isSha256}},
      {"copy", {isSha256}},
      {"filters", {isList, isFilter}},
      {"allowed", {isList, isText}},
      {"risks", {isList, isRisk}},
      {"labelsRemoved", {isList, isLabel}},
      {"labels", {isList, isLeavingLabel}},
      {"allLabels", {isList, isLabel}},
      {"handedOut", {isList, isHandedOut}},
      {"heldBack", {isList, isHeldBack}},
  };
  return all;
}

// Of an object in which each part has its type.
std::optional<ReceiptHead> headOf(const Part& object) {
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
  return head;
}

constexpr std::array<const char*, 9> HEAD = {"time",  "profile", "from",      "destination", "shape",
                                             "plain", "content", "judgement", "copy"};

using Visit = std::function<void(const std::string& part, const Part& value)>;

// Puts together, checks and visits one part or, of a list, one element at a time. Whatever gives false ends the
// parsing.
class Parts : public nlohmann::json_sax<Part> {
 public:
  // `onDone` is told after each part, and each element of one.
  Parts(const Visit& visit, std::function<void()> onDone) : visit_(visit), onDone_(std::move(onDone)) {}

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
    if (open_.empty()) return names_.size() < MOST_PARTS && names_.insert(part_ = name).second;
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
  static constexpr std::size_t MOST_PARTS = 1000;

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
    if (onDone_) onDone_();
    return true;
  }

  const Visit& visit_;
  std::function<void()> onDone_;
  std::set<std::string> names_;  // of the parts so far
  std::string part_;
  Part whole_;
  std::vector<Part*> open_;  // objects and arrays of it, each in the one before
  Part* field_ = nullptr;    // of the last of them, named last
  bool isBegun_ = false;
  bool isInList_ = false;  // in a part that is one
};

Refusal unreadable(const std::string& named, const std::string& why) {
  return {refusals::RECEIPT_UNREADABLE, folder_host::inQuotes(named) + " cannot be read as a receipt: " + why +
                                            "; name the file that share --receipt made"};
}

constexpr std::size_t LONGEST_HEAD = std::size_t{1} << 16U;

// Nothing where the file does not begin with a line.
std::string firstLineOf(const folder_host::Descriptor& file) {
  std::string bytes(LONGEST_HEAD, '\0');
  bytes.resize(static_cast<std::size_t>(folder_host::check(::pread(file.get(), bytes.data(), bytes.size(), 0))));
  const std::size_t end = bytes.find('\n');
  if (end == std::string::npos || bytes.compare(0, RECEIPT_HEAD.size(), RECEIPT_HEAD) != 0) return {};
  bytes.resize(end);
  return bytes;
}

}  // namespace

// The bytes of the receipt itself, one after the other, as often as they are asked for. Those of a kept one expand: a
// crafted file would else have no end.
class ReceiptReader::Bytes {
 public:
  explicit Bytes(folder_host::Descriptor file)
      : file_(std::move(file)), begin_(static_cast<off_t>(beginOf(firstLineOf(file_)))) {}

  const folder_host::Descriptor& file() const noexcept { return file_; }
  bool isKept() const noexcept { return begin_ > 0; }

  void rewind() {
    folder_host::check(::lseek(file_.get(), begin_, SEEK_SET));
    expander_ = isKept() ? std::make_unique<folder_host::Expander>(file_) : nullptr;
    rest_ = {};
    all_ = 0;
    sinceElement_ = 0;
    more();
  }

  bool isAtEnd() const noexcept { return rest_.empty(); }
  char current() const noexcept { return rest_.front(); }
  void next() {
    rest_.remove_prefix(1);
    if (rest_.empty()) more();
  }
  void endElement() noexcept { sinceElement_ = 0; }

 private:
  static constexpr std::uint64_t MOST = std::uint64_t{1} << 33U;
  static constexpr std::uint64_t LONGEST = std::uint64_t{1} << 25U;  // of an element; all that is ever in memory

  static std::size_t beginOf(const std::string& line) { return line.empty() ? 0 : line.size() + 1; }

  void more() {
    if (expander_) {
      rest_ = expander_->next();
    } else {
      buffer_.resize(std::size_t{1} << 16U);
      const ssize_t length = folder_host::check(::read(file_.get(), buffer_.data(), buffer_.size()));
      rest_ = std::string_view(buffer_).substr(0, static_cast<std::size_t>(length));
    }
    all_ += rest_.size();
    sinceElement_ += rest_.size();
    if (all_ > MOST || sinceElement_ > LONGEST) throw std::system_error(EFBIG, std::generic_category());
  }

  folder_host::Descriptor file_;
  off_t begin_;
  std::unique_ptr<folder_host::Expander> expander_;
  std::string buffer_;
  std::string_view rest_;
  std::uint64_t all_ = 0;
  std::uint64_t sinceElement_ = 0;
};

namespace {

// What the parser takes its bytes from.
template <class Bytes>
class Position {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;

  explicit Position(Bytes* bytes = nullptr) : bytes_(bytes) {}
  char operator*() const { return bytes_->current(); }
  Position& operator++() {
    bytes_->next();
    return *this;
  }
  bool operator!=(const Position& other) const { return isAtEnd() != other.isAtEnd(); }
  bool operator==(const Position& other) const { return !(*this != other); }

 private:
  bool isAtEnd() const { return bytes_ == nullptr || bytes_->isAtEnd(); }

  Bytes* bytes_;
};

folder_host::Descriptor openReceipt(const std::string& file) {
  folder_host::Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (descriptor.get() < 0) throw unreadable(file, "it cannot be opened");
  return descriptor;
}

}  // namespace

bool operator==(const ReceiptHead& a, const ReceiptHead& b) {
  const auto all = [](const ReceiptHead& head) {
    return std::tie(head.time, head.profileUuid, head.profileName, head.from, head.destination, head.shape,
                    head.isPlain, head.hasContent, head.judgement, head.copy);
  };
  return all(a) == all(b);
}

Json jsonOf(const ReceiptHead& head) {
  Json object{{"receipt", 2}, {"time", head.time}};
  const bool whole = head.profileUuid.empty();
  object["profile"] = whole ? Json() : Json{{"uuid", head.profileUuid}, {"name", head.profileName}};
  putPath(object, "from", head.from);
  putPath(object, "destination", head.destination);
  object["shape"] = head.shape;
  object["plain"] = head.isPlain;
  object["content"] = head.hasContent;
  object["judgement"] = head.judgement;
  object["copy"] = head.copy;
  return object;
}

std::optional<ReceiptHead> keptHeadOf(const folder_host::Descriptor& file) {
  const std::string line = firstLineOf(file);
  if (line.empty()) return {};
  const Part object =
      Part::parse(line.begin() + static_cast<std::ptrdiff_t>(RECEIPT_HEAD.size()), line.end(), nullptr, false);
  const auto isThere = [&](const char* part) { return has(object, part, shapes().at(part).value); };
  if (!object.is_object() || !isThere("receipt") || !std::all_of(HEAD.begin(), HEAD.end(), isThere)) return {};
  return headOf(object);
}

std::string reasonInWords(const Part& reason) {
  const std::string rule = reason.at("rule");
  if (rule == "link") return "a link to what is not handed out";
  if (rule == "emptied") return "nothing in it is shared";
  const std::string kind = reason.at("kind");
  std::string text = fmt::format("filter {}, {}: ", reason.at("filter").get<std::uint64_t>(), kind);
  if (rule == "folder") return text + "lies in a folder that is held back";
  const Part& labels = reason.at("labels");
  if (labels.empty()) return text + "without a label";
  if (kind == "keep-files") text += "not listed: ";
  const char* separator = "";
  for (const Part& label : labels) {
    text += std::exchange(separator, ", ") +
            folder_host::freeName(label.value("category", "") + "/" + label.value("name", ""));
  }
  const auto from = pathIn(reason, "from");
  return text + (from ? fmt::format(" (by the labels that it had as {})", folder_host::inQuotes(*from)) : "");
}

// Opened once for all readings: what is judged and what is compared are one file, whatever the name stands for by then.
// A pipe in its place is not waited for.
ReceiptReader::ReceiptReader(const std::string& file) : ReceiptReader(openReceipt(file), file) {}

ReceiptReader::ReceiptReader(folder_host::Descriptor file, std::string named) : named_(std::move(named)) {
  try {
    if (!S_ISREG(statusOf(file).st_mode)) throw unreadable(named_, "it is no file");
    bytes_ = std::make_unique<Bytes>(std::move(file));
  } catch (const std::system_error& error) {
    throw unreadable(named_, error.code().message());
  }
  judge();
}

ReceiptReader::ReceiptReader(ReceiptReader&&) noexcept = default;
ReceiptReader::~ReceiptReader() = default;

// In the order of their paths no entry can be there twice: it would be found once, and be told of as missing the second
// time.
void ReceiptReader::judge() {
  Part head = Part::object();
  std::map<std::string, std::string> last;  // path of each list
  bool lacksContent = false;
  read([&](const std::string& part, const Part& value) {
    if (part == "handedOut" || part == "heldBack") {
      std::string path = pathIn(value, "path").value();
      const auto [before, isFirst] = last.emplace(part, path);
      if (!isFirst && path <= before->second)
        throw unreadable(named_, "its entries are not in the order of their paths");
      before->second = std::move(path);
      if (part == "handedOut") {
        lacksContent = lacksContent || (value.at("kind") == "file" && value.find("sha256") == value.end());
      }
    } else if (const auto known = shapes().find(part); known != shapes().end() && known->second.value != isList) {
      head[part] = value;
    }
  });
  auto found = headOf(head);
  if (!found || (found->hasContent && lacksContent)) throw unreadable(named_, "it is none");
  head_ = *std::move(found);
  if (bytes_->isKept() && !(keptHeadOf(bytes_->file()) == head_))
    throw unreadable(named_, "its first line is not its own");
}

void ReceiptReader::forEachShared(const std::function<void(ReceiptEntry)>& visit) {
  read([&](const std::string& part, const Part& value) {
    if (part == "handedOut") visit(handedOutIn(value).value());
  });
}

void ReceiptReader::forEachHeldBack(const std::function<void(ReceiptHeldBack)>& visit) {
  read([&](const std::string& part, const Part& value) {
    if (part == "heldBack") visit(heldBackIn(value).value());
  });
}

void ReceiptReader::forEachOf(const std::string& part, const std::function<void(const Part&)>& visit) {
  read([&](const std::string& name, const Part& value) {
    if (name == part) visit(value);
  });
}

void ReceiptReader::read(const Visit& visit) {
  bool isWhole = false;
  try {
    Parts parts(visit, [&] { bytes_->endElement(); });
    bytes_->rewind();
    isWhole = Part::sax_parse(Position<Bytes>(bytes_.get()), Position<Bytes>(), &parts) && parts.areAllThere();
  } catch (const std::system_error& error) {
    throw unreadable(named_, error.code().message());
  }
  if (!isWhole) throw unreadable(named_, "it is none");
}

}  // namespace project_share
