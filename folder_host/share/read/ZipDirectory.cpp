#include "folder_host/share/read/ZipDirectory.h"

#include <algorithm>
#include <string_view>

#include "folder_host/Error.h"

namespace folder_host {

namespace {

constexpr std::uint32_t NO_32 = UINT32_MAX;  // the number stands elsewhere, in 64 bits
constexpr std::size_t END = 22, END_64 = 56, LOCATOR = 20, CENTRAL = 46, LOCAL = 30;
constexpr std::uint64_t LONGEST_DIRECTORY = std::uint64_t{1} << 28U;
constexpr std::uint64_t LONGEST_TARGET = 4096;
constexpr std::uint64_t LONGEST_EXTRA = 512;
constexpr std::uint64_t LONGEST_DESCRIPTOR = 24;  // of sizes, behind what is compressed

// Numbers in it have their lowest byte first. What lies outside of it is refused.
class Block {
 public:
  Block(std::string_view bytes, const std::string& named) : bytes_(bytes), named_(named) {}

  Block part(std::uint64_t at, std::uint64_t size) const {
    if (at > bytes_.size() || size > bytes_.size() - at) refuse();
    return {bytes_.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(size)), named_};
  }
  std::uint64_t number(std::size_t at, std::size_t size) const {
    const std::string_view digits = part(at, size).bytes_;
    std::uint64_t value = 0;
    for (std::size_t i = size; i > 0; --i) value = value << 8U | static_cast<unsigned char>(digits[i - 1]);
    return value;
  }
  std::uint64_t u16(std::size_t at) const { return number(at, 2); }
  std::uint64_t u32(std::size_t at) const { return number(at, 4); }
  std::uint64_t u64(std::size_t at) const { return number(at, 8); }
  std::string_view bytes() const { return bytes_; }
  void require(bool holds) const {
    if (!holds) refuse();
  }

 private:
  [[noreturn]] void refuse() const {
    throw Error(errors::ARCHIVE_UNREADABLE,
                inQuotes(named_) + " is no zip of one meaning, or not all of it; ask for it once more");
  }

  std::string_view bytes_;
  const std::string& named_;
};

struct Extent {
  std::uint64_t entries, size, at;
};

// Where the directory lies. It is told twice in a large zip, and both have to agree.
Extent directoryIn(const Descriptor& file, const std::string& named) {
  const auto length = static_cast<std::uint64_t>(statusOf(file).st_size);
  const std::uint64_t tail = std::min<std::uint64_t>(length, END + LOCATOR + END_64);
  const std::string last = readAt(file, static_cast<std::size_t>(tail), length - tail);
  const Block all(last, named);
  all.require(tail >= END);
  const Block end = all.part(tail - END, END);
  end.require(end.u32(0) == 0x06054b50 && end.u32(4) == 0 && end.u16(20) == 0 && end.u16(8) == end.u16(10));
  Extent found{end.u16(10), end.u32(12), end.u32(16)};
  std::uint64_t stop = length - END;
  if (tail >= END + LOCATOR && all.part(tail - END - LOCATOR, 4).u32(0) == 0x07064b50) {
    stop = length - END - LOCATOR - END_64;
    const Block locator = all.part(tail - END - LOCATOR, LOCATOR);
    all.require(tail == END + LOCATOR + END_64 && locator.u32(4) == 0 && locator.u64(8) == stop);
    const Block big = all.part(0, END_64);
    big.require(big.u32(0) == 0x06064b50 && big.u64(16) == 0 && big.u64(24) == big.u64(32));
    const Extent whole{big.u64(32), big.u64(40), big.u64(48)};
    big.require((found.entries == whole.entries || found.entries == UINT16_MAX) &&
                (found.size == whole.size || found.size == NO_32) && (found.at == whole.at || found.at == NO_32));
    found = whole;
  }
  all.require(found.size <= LONGEST_DIRECTORY && found.at <= stop && stop - found.at == found.size);
  return found;
}

// The numbers that stand in 64 bits, and no second name.
void readExtra(const Block& extra, const std::vector<std::uint64_t*>& numbers) {
  constexpr std::uint64_t SIZES = 1, SECOND_NAME = 0x7075;
  const std::size_t size = extra.bytes().size();
  for (std::size_t at = 0; at < size;) {
    const std::uint64_t id = extra.u16(at);
    const Block value = extra.part(at + 4, extra.u16(at + 2));
    extra.require(id != SECOND_NAME);
    std::size_t next = 0;
    for (std::uint64_t* number : numbers) {
      if (id != SIZES || *number != NO_32) continue;
      *number = value.u64(next);
      next += 8;
    }
    at += 4 + value.bytes().size();
  }
}

// One behind the other and all before the directory, the local heads are compared with it.
class Locals {
 public:
  Locals(const Descriptor& file, const std::string& named, std::uint64_t directory)
      : file_(file), named_(named), directory_(directory) {}

  ZipEntry entry(const Block& central) {
    std::uint64_t packed = central.u32(20), at = central.u32(42);
    ZipEntry entry{std::string(central.part(CENTRAL, central.u16(28)).bytes()),
                   central.u32(24),
                   static_cast<mode_t>(central.u32(38) >> 16U),
                   {}};
    readExtra(central.part(CENTRAL + entry.name.size(), central.u16(30)), {&entry.size, &packed, &at});
    const std::uint64_t method = central.u16(10);
    const bool isLink = S_ISLNK(entry.mode);
    // Unix has made it: else the mode means nothing. Of the flags, the one for encryption is the first.
    central.require(central.u16(4) >> 8U == 3 && (central.u16(8) & ~std::uint64_t{0x080e}) == 0 &&
                    (method == 0 || (method == 8 && !isLink)) && at >= end_ && at <= directory_ &&
                    at - end_ <= (end_ == 0 ? 0 : LONGEST_DESCRIPTOR) && (!isLink || packed <= LONGEST_TARGET));
    central.require(method != 0 || packed == entry.size);
    const std::string bytes = readAt(file_, LOCAL + entry.name.size() + LONGEST_EXTRA, at);
    const Block local(bytes, named_);
    local.require(local.u32(0) == 0x04034b50 && local.u16(6) == central.u16(8) && local.u16(8) == method &&
                  local.part(LOCAL, local.u16(26)).bytes() == entry.name);
    const std::uint64_t extra = local.u16(28), head = LOCAL + entry.name.size() + extra;
    local.require(head <= directory_ - at && packed <= directory_ - at - head);
    requireSizes(local, local.part(LOCAL + entry.name.size(), extra), entry.size, packed);
    if (isLink) entry.target = readAt(file_, static_cast<std::size_t>(packed), at + head);
    end_ = at + head + packed;
    return entry;
  }

  std::uint64_t end() const { return end_; }

 private:
  // Who unpacks as he reads goes by these. Where they stand behind what is compressed, there may be none here.
  static void requireSizes(const Block& local, const Block& extra, std::uint64_t size, std::uint64_t packed) {
    constexpr std::uint64_t SIZES_FOLLOW = 8;  // of the flags
    std::uint64_t localSize = local.u32(22), localPacked = local.u32(18);
    readExtra(extra, {&localSize, &localPacked});
    const bool mayLack = (local.u16(6) & SIZES_FOLLOW) != 0;
    local.require((localSize == size || (mayLack && localSize == 0)) &&
                  (localPacked == packed || (mayLack && localPacked == 0)));
  }

  const Descriptor& file_;
  const std::string& named_;
  const std::uint64_t directory_;  // where it begins
  std::uint64_t end_ = 0;
};

}  // namespace

std::vector<ZipEntry> zipDirectoryOf(const Descriptor& file, const std::string& named) {
  const Extent extent = directoryIn(file, named);
  const std::string bytes = readAt(file, static_cast<std::size_t>(extent.size), extent.at);
  const Block all(bytes, named);
  Locals locals(file, named, extent.at);
  std::vector<ZipEntry> entries;
  std::uint64_t at = 0;
  while (at < extent.size) {
    const Block head = all.part(at, CENTRAL);
    const std::uint64_t size = CENTRAL + head.u16(28) + head.u16(30) + head.u16(32);
    head.require(head.u32(0) == 0x02014b50);
    entries.push_back(locals.entry(all.part(at, size)));
    at += size;
  }
  all.require(bytes.size() == extent.size && entries.size() == extent.entries &&
              extent.at - locals.end() <= LONGEST_DESCRIPTOR);
  return entries;
}

}  // namespace folder_host
