#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "Fixture.h"
#include "folder_host/files/Compressed.h"
#include "folder_host/files/Digest.h"
#include "folder_host/share/Shape.h"
#include "folder_host/share/read/ArchiveContent.h"
#include "folder_host/share/read/ZipDirectory.h"

namespace folder_host {

namespace {

using Names = std::vector<std::string>;

constexpr std::size_t BLOCK = 512;
constexpr const char* REFUSED = errors::ARCHIVE_UNREADABLE;

Descriptor fileOf(const std::string& bytes) {
  Descriptor file(check(::memfd_create("archive", MFD_CLOEXEC)));
  writeAll(file, bytes);
  check(::lseek(file.get(), 0, SEEK_SET));
  return file;
}

std::string compressed(const std::string& bytes) {
  const Descriptor file = fileOf({});
  Compressor to(file);
  to.add(bytes);
  to.finish();
  return readAt(file, static_cast<std::size_t>(statusOf(file).st_size), 0);
}

std::string expanded(const std::string& bytes) {
  const Descriptor file = fileOf(bytes);
  Expander from(file);
  std::string all;
  for (std::string_view next = from.next(); !next.empty(); next = from.next()) all += next;
  return all;
}

// Each name, with a mark where it was never handed out; and of a file, the beginning of its content's digest.
Names told(const std::string& bytes, std::uint64_t most = ANY_AMOUNT) {
  Names all;
  openArchiveCopy(fileOf(bytes), "archive", most)
      ->forEach([](const CopyEntry&) { return true; },
                [&](const CopyEntry& entry) {
                  all.push_back(entry.path + (entry.isOther ? " other" : "") + (entry.target.empty() ? "" : ">") +
                                entry.target + (entry.sha256.empty() ? "" : ":" + entry.sha256.substr(0, 4)));
                },
                [](std::uint64_t) {});
  return all;
}

std::string refusalOfArchive(const std::string& bytes, std::uint64_t most = ANY_AMOUNT) {
  return refusalOf([&] { told(bytes, most); });
}

std::string octal(std::uint64_t number, std::size_t digits) {
  std::string text(digits, '0');
  for (; number > 0; number /= 8) text[--digits] = static_cast<char>('0' + number % 8);
  return text;
}

// A head with the sum that it needs.
std::string summed(std::string head) {
  head.replace(148, 8, "        ");
  unsigned sum = 0;
  for (const char byte : head) sum += static_cast<unsigned char>(byte);
  head.replace(148, 7, octal(sum, 6) + '\0');
  return head;
}

// One entry of a tar: its head, and its content in whole blocks.
std::string tarred(const std::string& name, char type = '0', const std::string& content = {},
                   const std::string& target = {}) {
  std::string head(BLOCK, '\0');
  head.replace(0, name.size(), name);
  head.replace(100, 7, octal(0644, 7));
  head.replace(124, 11, octal(content.size(), 11));
  head.replace(136, 11, octal(1000000000, 11));
  head[156] = type;
  head.replace(157, target.size(), target);
  head.replace(257, 8,
               std::string("ustar\0"
                           "00",
                           8));
  std::string padded = content;
  padded.resize((content.size() + BLOCK - 1) / BLOCK * BLOCK, '\0');
  return summed(head) + padded;
}

// Its content lies behind a hole.
std::string sparse() {
  std::string entry = tarred("s", 'S', "content");
  entry.replace(257, 8, std::string("ustar  \0", 8));
  entry.replace(386, 24, octal(BLOCK, 11) + '\0' + octal(7, 11) + '\0');
  entry.replace(483, 12, octal(BLOCK + 7, 11) + '\0');
  return summed(entry.substr(0, BLOCK)) + entry.substr(BLOCK);
}

const std::string END(2 * BLOCK, '\0');
const std::string HASHED = ":" + sha256Of("content").substr(0, 4);

std::string bytesOf(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i) & 0xFFU);
  return bytes;
}

std::uint32_t crcOf(const std::string& bytes) {
  std::uint32_t crc = UINT32_MAX;
  for (const char byte : bytes) {
    crc ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~crc;
}

// One entry of a zip, as its two heads tell of it.
struct Zipped {
  struct Head {
    std::string name = "a";
    std::uint64_t flags = 0, method = 0, size = 7, packed = 7;
    std::string extra = {};
  };
  Head local = {}, central = {};
  std::uint64_t system = 3, mode = 0100644;
  std::string content = "content";
  std::uint64_t crc = crcOf(content);
  std::uint64_t at = UINT64_MAX;  // of the local head: where it is
};

std::string headOf(const Zipped::Head& head, std::uint64_t crc) {
  return bytesOf(head.flags, 2) + bytesOf(head.method, 2) + bytesOf(0, 4) + bytesOf(crc, 4) + bytesOf(head.packed, 4) +
         bytesOf(head.size, 4) + bytesOf(head.name.size(), 2) + bytesOf(head.extra.size(), 2);
}

struct Zip {
  std::vector<Zipped> entries;
  std::string before = {}, between = {}, after = {}, comment = {};
  std::uint64_t count = UINT64_MAX;  // as many as there are

  std::string bytes() const {
    std::string all = before, directory;
    for (const Zipped& one : entries) {
      const std::uint64_t at = one.at == UINT64_MAX ? all.size() : one.at;
      all +=
          "PK\x03\x04" + bytesOf(20, 2) + headOf(one.local, one.crc) + one.local.name + one.local.extra + one.content;
      directory += "PK\x01\x02" + bytesOf(one.system << 8U, 2) + bytesOf(20, 2) + headOf(one.central, one.crc) +
                   bytesOf(0, 2) + bytesOf(0, 4) + bytesOf(one.mode << 16U, 4) + bytesOf(at, 4) + one.central.name +
                   one.central.extra;
    }
    all += between;
    const std::uint64_t number = count == UINT64_MAX ? entries.size() : count;
    return all + directory + "PK\x05\x06" + bytesOf(0, 4) + bytesOf(number, 2) + bytesOf(number, 2) +
           bytesOf(directory.size(), 4) + bytesOf(all.size(), 4) + bytesOf(comment.size(), 2) + comment + after;
  }
};

// A zip of the entry "a", after something was done to it.
std::string zipWith(const std::function<void(Zip&)>& change) {
  Zip zip{{Zipped{}}};
  change(zip);
  return zip.bytes();
}

Zipped named(const std::string& name) {
  Zipped one;
  one.local.name = one.central.name = name;
  return one;
}

Entry entryAt(const std::string& path, const std::string& target = {}) {
  return {path, target.empty() ? EntryKind::file : EntryKind::link, target};
}

}  // namespace

TEST(Archive, ATarIsToldAsItStands) {
  const struct {
    const char* title;
    std::string bytes;
    Names told;
  } rows[] = {
      {"nothing", END, {}},
      {"each kind",
       tarred("d/", '5') + tarred("d/f", '0', "content") + tarred("l", '2', {}, "d/f") + END,
       {"d", "d/f" + HASHED, "l>d/f"}},
      {"names that lead elsewhere",
       tarred("/etc/a") + tarred("../a") + tarred("b/../a") + END,
       {"/etc/a" + (":" + sha256Of("").substr(0, 4)), "../a:" + sha256Of("").substr(0, 4),
        "b/../a:" + sha256Of("").substr(0, 4)}},
      {"what no share hands out",
       tarred("f", '0', "content") + tarred("h", '1', {}, "f") + tarred("c", '3') + tarred("b", '4') +
           tarred("p", '6') + END,
       {"f" + HASHED, "h other", "c other", "b other", "p other"}},
      {"zeros behind the end", tarred("f", '0', "content") + END + std::string(20 * BLOCK, '\0'), {"f" + HASHED}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    EXPECT_EQ(told(row.bytes), row.told);
    EXPECT_EQ(told(compressed(row.bytes)), row.told);
  }
}

TEST(Archive, ATarOfOtherThanOneMeaningIsRefused) {
  const std::string good = tarred("f", '0', "content");
  std::string damaged = good;
  damaged[1] = 'x';
  const struct {
    const char* title;
    std::string bytes;
  } rows[] = {
      {"twice", good + good + END},
      {"twice, as a folder, too", good + tarred("f/", '5') + END},
      {"a checksum", damaged + END},
      {"another entry with one", good + damaged + END},
      {"sparse", sparse() + END},
      {"something behind the end", good + END + "x"},
      {"an archive behind the end", good + END + good + END},
      {"one empty block at the end", good + END.substr(BLOCK)},
      {"a head without end", tarred("x", 'L', std::string(std::size_t{5} << 20U, 'x')) + good + END},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    EXPECT_EQ(refusalOfArchive(row.bytes), REFUSED);
    EXPECT_EQ(refusalOfArchive(compressed(row.bytes)), REFUSED);
  }
  const std::string whole = tarred("d/", '5') + tarred("d/f", '0', std::string(700, 'x')) + tarred("g") + END;
  const std::string packed = compressed(whole);
  for (std::size_t size = 0; size < whole.size(); size += BLOCK / 2) {
    EXPECT_EQ(refusalOfArchive(whole.substr(0, size)), REFUSED) << "cut at " << size;
    EXPECT_EQ(refusalOfArchive(compressed(whole.substr(0, size))), REFUSED) << "cut at " << size << " and compressed";
  }
  for (std::size_t size = 0; size < packed.size(); ++size) {
    EXPECT_EQ(refusalOfArchive(packed.substr(0, size)), REFUSED) << "compressed and cut at " << size;
  }
  EXPECT_EQ(refusalOfArchive(packed + "x"), REFUSED);
  EXPECT_EQ(refusalOfArchive(compressed(packed)), REFUSED);
  EXPECT_EQ(refusalOfArchive(packed, whole.size()), "");
  EXPECT_EQ(refusalOfArchive(packed, whole.size() - 1), REFUSED);
}

TEST(Archive, AZipIsToldWhereAllItsReadersFindTheSame) {
  const std::string sizes = bytesOf(1, 2) + bytesOf(16, 2) + bytesOf(7, 8) + bytesOf(7, 8);
  const struct {
    const char* title;
    std::function<void(Zip&)> change;
    Names told;
  } rows[] = {
      {"one file", [](Zip&) {}, {"a" + HASHED}},
      {"nothing", [](Zip& zip) { zip.entries.clear(); }, {}},
      {"names that lead elsewhere",
       [](Zip& zip) {
         zip.entries = {named("/etc/a"), named("../a")};
       },
       {"/etc/a" + HASHED, "../a" + HASHED}},
      {"a link", [](Zip& zip) { zip.entries.front().mode = 0120777; }, {"a>content"}},
      {"numbers of 64 bits",
       [&](Zip& zip) {
         for (auto* head : {&zip.entries.front().local, &zip.entries.front().central}) {
           head->size = head->packed = UINT32_MAX;
           head->extra = sizes;
         }
       },
       {"a" + HASHED}},
      {"sizes behind the content",
       [](Zip& zip) {
         for (auto* head : {&zip.entries.front().local, &zip.entries.front().central}) head->flags = 8;
         zip.entries.front().local.size = zip.entries.front().local.packed = 0;
         zip.between = "PK\x07\x08" + bytesOf(zip.entries.front().crc, 4) + bytesOf(7, 4) + bytesOf(7, 4);
       },
       {"a" + HASHED}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    EXPECT_EQ(told(zipWith(row.change)), row.told);
  }
}

TEST(Archive, AZipOfOtherThanOneMeaningIsRefused) {
  const auto inBoth = [](Zip& zip, const std::function<void(Zipped::Head&)>& change) {
    change(zip.entries.front().local), change(zip.entries.front().central);
  };
  const auto farAway = [](std::uint64_t packed) { return bytesOf(1, 2) + bytesOf(8, 2) + bytesOf(packed, 8); };
  const struct {
    const char* title;
    std::function<void(Zip&)> change;
  } rows[] = {
      {"twice", [](Zip& zip) { zip.entries.push_back(Zipped{}); }},
      {"twice, as a folder, too", [](Zip& zip) { zip.entries.push_back(named("a/")); }},
      {"two names", [](Zip& zip) { zip.entries.front().local.name = "b"; }},
      {"two flags", [](Zip& zip) { zip.entries.front().local.flags = 2; }},
      {"two ways to compress", [](Zip& zip) { zip.entries.front().local.method = 8; }},
      {"two sizes", [](Zip& zip) { zip.entries.front().local.size = 6; }},
      {"two sizes compressed", [](Zip& zip) { zip.entries.front().local.packed = 6; }},
      {"a size of its own in the directory", [](Zip& zip) { zip.entries.front().central.size = 6; }},
      {"encrypted", [&](Zip& zip) { inBoth(zip, [](auto& head) { head.flags = 1; }); }},
      {"an unusual way to compress", [&](Zip& zip) { inBoth(zip, [](auto& head) { head.method = 12; }); }},
      {"a second name",
       [&](Zip& zip) {
         inBoth(zip, [](auto& head) { head.extra = bytesOf(0x7075, 2) + bytesOf(6, 2) + bytesOf(0, 5) + "b"; });
       }},
      {"a broken extra field", [&](Zip& zip) { inBoth(zip, [](auto& head) { head.extra = bytesOf(1, 2) + "xx"; }); }},
      {"not made by Unix", [](Zip& zip) { zip.entries.front().system = 0; }},
      {"a checksum", [](Zip& zip) { ++zip.entries.front().crc; }},
      {"more than is there", [](Zip& zip) { zip.count = 2; }},
      {"fewer than are there", [](Zip& zip) { zip.entries.push_back(named("b")), zip.count = 1; }},
      {"something before", [](Zip& zip) { zip.before = "x"; }},
      {"something between", [](Zip& zip) { zip.between = std::string(25, 'x'); }},
      {"something behind", [](Zip& zip) { zip.after = "x"; }},
      {"a comment", [](Zip& zip) { zip.comment = "PK"; }},
      {"a head that is the last one's", [](Zip& zip) { zip.entries.push_back(named("b")), zip.entries.back().at = 0; }},
      {"a head far away", [](Zip& zip) { zip.entries.front().at = 1U << 30U; }},
      {"content that runs beyond the directory, and round to the beginning",
       [&](Zip& zip) {
         inBoth(zip, [&](auto& head) {
           head.method = 8, head.packed = UINT32_MAX;
           head.extra = farAway(0 - std::uint64_t{31 + 12});  // its end is where the file begins
         });
         zip.entries.push_back(named("b")), zip.entries.back().at = 0;
       }},
  };
  for (const auto& row : rows) {
    const std::string bytes = zipWith(row.change);
    EXPECT_EQ(refusalOfArchive(bytes), REFUSED) << row.title;
  }
  const std::string whole = zipWith([](Zip& zip) { zip.entries.push_back(named("b")); });
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(refusalOfArchive(whole.substr(0, size)), REFUSED) << "cut at " << size;
  }
  EXPECT_EQ(refusalOfArchive(whole, 13), REFUSED) << "expands to 14 bytes";
}

TEST(Compressed, WhatIsDamagedIsNoLessThanAFailure) {
  const std::string text = std::string(300000, 'x') + "end", bytes = compressed(text);
  EXPECT_EQ(expanded(bytes), text);
  const auto codeOf = [](const std::string& damaged) {
    try {
      expanded(damaged);
      return 0;
    } catch (const std::system_error& error) {
      return error.code().value();
    }
  };
  for (std::size_t size = 0; size < bytes.size(); ++size) EXPECT_EQ(codeOf(bytes.substr(0, size)), EBADMSG) << size;
  for (const std::string& other : {std::string("no compressed file"), compressed("")})
    EXPECT_EQ(codeOf(other), EBADMSG);
}

TEST(Shapes, AreToldByTheEndOfAName) {
  const struct {
    const char* name;
    const char* word;
  } rows[] = {
      {"a", "folder"},          {"a.tar", "tar"},  {"a.TAR", "tar"},      {"a.tar.gz", "tar.gz"},
      {"a.Tar.Zst", "tar.zst"}, {"a.zip", "zip"},  {".zip", "zip"},       {"a.zip/", "folder"},
      {"a.tgz", "folder"},      {"zip", "folder"}, {"a.zip.b", "folder"}, {"tar.gz", "folder"},
      {"a.tar/b", "folder"},    {"", "folder"},    {"a.gz", "folder"},
  };
  for (const auto& row : rows) EXPECT_STREQ(wordOf(shapeOf(row.name)), row.word) << row.name;
}

TEST(Shapes, KeepOfATimeWhatTheyCanHold) {
  const timespec early = {-5, 7}, late = {std::int64_t{1} << 40U, 7}, now = {1000000000, 7};
  const struct {
    Shape shape;
    timespec time;
    std::int64_t seconds;
    long nanoseconds;
  } rows[] = {
      {Shape::folder, early, -5, 7},    {Shape::folder, late, late.tv_sec, 7}, {Shape::tarGz, early, 0, 0},
      {Shape::tar, now, now.tv_sec, 0}, {Shape::tarZst, late, 8589934591L, 0}, {Shape::zip, late, 2147483647, 0},
  };
  for (const auto& row : rows) {
    const timespec kept = timeIn(row.shape, row.time);
    EXPECT_EQ(kept.tv_sec, row.seconds) << wordOf(row.shape);
    EXPECT_EQ(kept.tv_nsec, row.nanoseconds) << wordOf(row.shape);
  }
}

TEST(Shapes, AZipHoldsOnlyNamesThatItsReadersTakeForTheSame) {
  const struct {
    Entry entry;
    const char* scope;
    bool fits;
  } rows[] = {
      {entryAt("gr\xC3\xBC n/a"), "", true}, {entryAt("a\\b"), "", false},      {entryAt("\xFF"), "", false},
      {entryAt("l", "\xFF"), "", false},     {entryAt("\xFF/a"), "\xFF", true}, {entryAt("\xFF/a\\"), "\xFF", false},
  };
  for (const auto& row : rows) {
    for (const Shape shape : {Shape::folder, Shape::tar, Shape::zip}) {
      const auto refusal = refusalOf([&] { requireFit(shape, {&row.entry}, row.scope); });
      EXPECT_EQ(refusal, shape != Shape::zip || row.fits ? "" : errors::NAME_UNFIT) << row.entry.path;
    }
  }
}

}  // namespace folder_host
