#include "folder_host/share/CopyNotes.h"

#include <fcntl.h>

#include <filesystem>
#include <map>
#include <string>

#include "Fixture.h"
#include "folder_host/files/Digest.h"
#include "folder_host/text/Packing.h"

namespace folder_host {

namespace fs = std::filesystem;

namespace {

using NotedFiles = std::map<std::string, CopiedFile>;

CopiedFile copiedAs(std::uint64_t inode) {
  CopiedFile file;
  file.source = {inode, 5, {-3, 999999999}, {4, 5}, {6, 7}};
  file.copy = {inode + 1, 5, {-3, 999999999}, {8, 9}, {}};
  return file;
}

class CopyNotesTest : public FolderTest {
 protected:
  CopyNotesTest() : folder_((put("p/x"), openFolder(in("p")))) {}

  void writeNotes(const std::string& destination, const NotedFiles& files) const {
    writeCopyNotes(folder_, destination, files.size(), [&](const NoteFile& note) {
      for (const auto& [path, file] : files) note(path, file);
    });
  }

  const Descriptor folder_;
};

// Written by no one, with a digest that holds.
std::string sealed(const std::string& destination, std::uint64_t count, const std::string& files) {
  std::string bytes(COPY_NOTES_HEAD);
  putText(bytes, destination);
  putNumber(bytes, count);
  bytes += files;
  return bytes + sha256Of(bytes);
}

std::string packed(const std::string& path, std::uint64_t nanoseconds = 0) {
  std::string bytes;
  putText(bytes, path);
  for (int i = 0; i < 12; ++i) putNumber(bytes, 1);
  putNumber(bytes, nanoseconds);
  return bytes;
}

}  // namespace

TEST_F(CopyNotesTest, WhatIsNotedOfACopyIsFoundAgainByItsPath) {
  NotedFiles files;
  for (std::uint64_t i = 0; i < 2000; ++i) files[std::string(i % 7, 'a') + std::to_string(i)] = copiedAs(i);
  files["\xFF/b"] = copiedAs(7);
  writeNotes("/a", files), writeNotes("/b", {{"b", copiedAs(1)}}), writeNotes("/c", {});
  const CopyNotes notes = readCopyNotes(folder_, "/a");
  EXPECT_EQ(notes.size(), files.size());
  for (const auto& [path, file] : files) {
    const auto found = notes.find(path);
    ASSERT_TRUE(found) << path;
    EXPECT_TRUE(found->source == file.source && found->copy == file.copy) << path;
  }
  for (const char* path : {"", "a", "b", "aa2x", "zz"}) EXPECT_FALSE(notes.find(path)) << path;
  writeNotes("/a", {{"c", copiedAs(3)}});
  EXPECT_TRUE(readCopyNotes(folder_, "/a").find("c")) << "replaced";
  EXPECT_EQ(readCopyNotes(folder_, "/a").size(), 1U);
  EXPECT_EQ(readCopyNotes(folder_, "/b").size(), 1U);
  EXPECT_EQ(readCopyNotes(folder_, "/d").size() + readCopyNotes(folder_, "/c").size(), 0U);
  for (const auto& item : fs::directory_iterator(in("p/copies"))) {
    EXPECT_EQ(fs::status(item).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  }
}

TEST_F(CopyNotesTest, AnyOtherBytesAreNone) {
  writeNotes("/a", {{"b", copiedAs(1)}, {"c", copiedAs(2)}});
  const std::string bytes = read(fs::directory_iterator(in("p/copies"))->path());
  ASSERT_EQ(CopyNotes(bytes, "/a").size(), 2U);
  EXPECT_EQ(CopyNotes(bytes, "/b").size(), 0U) << "another destination's";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string changed = bytes;
    changed[i] = static_cast<char>(changed[i] ^ 1);
    EXPECT_EQ(CopyNotes(changed, "/a").size(), 0U) << "changed at " << i;
    EXPECT_EQ(CopyNotes(bytes.substr(0, i), "/a").size(), 0U) << "cut at " << i;
  }
  ASSERT_EQ(CopyNotes(sealed("/a", 2, packed("b") + packed("c")), "/a").size(), 2U);
  const struct {
    const char* title;
    std::string bytes;
  } rows[] = {
      {"in another order", sealed("/a", 2, packed("c") + packed("b"))},
      {"twice", sealed("/a", 2, packed("b") + packed("b"))},
      {"without a path", sealed("/a", 1, packed(""))},
      {"more than are there", sealed("/a", 3, packed("b") + packed("c"))},
      {"more than can be", sealed("/a", UINT64_MAX, packed("b"))},
      {"fewer than are there", sealed("/a", 1, packed("b") + packed("c"))},
      {"no time", sealed("/a", 1, packed("b", 1000000000))},
      {"a path without end", sealed("/a", 1, std::string(200, '\x7F'))},
  };
  for (const auto& row : rows) EXPECT_EQ(CopyNotes(row.bytes, "/a").size(), 0U) << row.title;
}

TEST_F(CopyNotesTest, OfAHundredCopiesTheLatestAreKept) {
  for (int i = 0; i < 105; ++i) {
    writeNotes("/" + std::to_string(i), {{"b", copiedAs(1)}});
    const timespec times[] = {{1000 + i, 0}, {1000 + i, 0}};  // too fast for some file systems
    const std::string name = in("p/copies/" + sha256Of("/" + std::to_string(i)));
    check(::utimensat(AT_FDCWD, name.c_str(), times, 0));
  }
  EXPECT_EQ(tree("p/copies").size(), 100U);
  EXPECT_EQ(readCopyNotes(folder_, "/4").size(), 0U);
  EXPECT_EQ(readCopyNotes(folder_, "/5").size(), 1U);
}

TEST_F(CopyNotesTest, WhatLiesInTheirPlaceIsNotFollowedOrWaitedFor) {
  writeNotes("/a", {{"b", copiedAs(1)}});
  const fs::path name = in("p/copies/" + sha256Of("/a"));
  fs::rename(name, in("p/notes"));
  fs::create_symlink(in("p/notes"), name);
  EXPECT_EQ(readCopyNotes(folder_, "/a").size(), 0U);
  fs::remove(name);
  check(::mkfifo(name.c_str(), 0600));
  EXPECT_EQ(readCopyNotes(folder_, "/a").size(), 0U);
  writeNotes("/a", {{"b", copiedAs(1)}});
  EXPECT_EQ(readCopyNotes(folder_, "/a").size(), 1U);
}

}  // namespace folder_host
