#include "receipt/ReceiptReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include "Refusal.h"
#include "folder_host/files/Compressed.h"
#include "folder_host/share/read/FirstBytes.h"
#include "output/Json.h"
#include "output/JsonMaker.h"
#include "receipt/ReceiptParts.h"
#include "words/Names.h"

namespace project_share {

using folder_host::RECEIPT_HEAD;

namespace {

using Visit = std::function<void(const std::string& part, const Part& value)>;

// Puts together, checks and visits one part or, of a list, one element at a time.
class Parts final : public JsonMaker {
 public:
  // `onDone` is told after each part, and each element of one.
  Parts(const Visit& visit, std::function<void()> onDone)
      : JsonMaker(DEEPEST, UINT64_MAX), visit_(visit), onDone_(std::move(onDone)) {}

  // Once all was parsed.
  bool areAllThere() const {
    return std::all_of(partShapes().begin(), partShapes().end(),
                       [&](const auto& part) { return !part.second.isNeeded || names_.count(part.first) != 0; });
  }

  bool parse_error(std::size_t /*at*/, const std::string& /*token*/, const Part::exception& /*error*/) override {
    return false;
  }

  bool start_object(std::size_t size) override {
    return std::exchange(isBegun_, true) ? JsonMaker::start_object(size) : true;
  }

  bool start_array(std::size_t size) override {
    if (isInList_ || isInside()) return JsonMaker::start_array(size);
    isInList_ = true;
    return isBegun_ && shapeOfPart(part_).value(Part::array());
  }

  bool key(string_t& name) override {
    if (isInside()) return JsonMaker::key(name);
    return names_.size() < MOST_PARTS && names_.insert(part_ = name).second;
  }

  bool end_object() override { return !isInside() || JsonMaker::end_object(); }

  bool end_array() override {
    if (isInside()) return JsonMaker::end_array();
    isInList_ = false;
    return true;
  }

 private:
  static constexpr std::size_t DEEPEST = 64;  // no receipt comes near this
  static constexpr std::size_t MOST_PARTS = 1000;

  // Checked as soon as it is whole, and forgotten after its visit: of a long list one element is held at a time.
  bool isRight(Part& whole) override {
    const PartShape& shape = shapeOfPart(part_);
    if (!isBegun_ || !(isInList_ ? shape.element : shape.value)(whole)) return false;
    visit_(part_, whole);
    onDone_();
    return true;
  }
  bool fail(const std::string& /*why*/) override { return false; }

  const Visit& visit_;
  std::function<void()> onDone_;
  std::set<std::string> names_;  // of the parts so far
  std::string part_;
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
  Bytes(folder_host::Descriptor file, std::uint64_t most)
      : file_(std::move(file)), most_(most), begin_(static_cast<off_t>(beginOf(firstLineOf(file_)))) {}

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
    if (all_ > most_ || sinceElement_ > LONGEST) throw std::system_error(EFBIG, std::generic_category());
  }

  folder_host::Descriptor file_;
  std::uint64_t most_;
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

std::optional<ReceiptHead> keptHeadOf(const folder_host::Descriptor& file) {
  const std::string line = firstLineOf(file);
  if (line.empty()) return {};
  return headIn(
      Part::parse(line.begin() + static_cast<std::ptrdiff_t>(RECEIPT_HEAD.size()), line.end(), nullptr, false));
}

// Opened once for all readings: what is judged and what is compared are one file, whatever the name stands for by then.
// A pipe in its place is not waited for.
ReceiptReader::ReceiptReader(const std::string& file) : ReceiptReader(openReceipt(file), file) {}

ReceiptReader::ReceiptReader(folder_host::Descriptor file, std::string named, std::uint64_t most)
    : named_(std::move(named)) {
  try {
    if (!S_ISREG(statusOf(file).st_mode)) throw unreadable(named_, "it is no file");
    bytes_ = std::make_unique<Bytes>(std::move(file), most);
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
    } else if (partShapes().count(part) != 0 && !shapeOfPart(part).isList()) {
      head[part] = value;
    }
  });
  auto found = headIn(head);
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
