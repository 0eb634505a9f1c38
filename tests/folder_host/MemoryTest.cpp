#include "folder_host/labels/Memory.h"

#include <sys/stat.h>

#include <random>

#include "Fixture.h"
#include "folder_host/files/Digest.h"
#include "tests/Environment.h"

namespace folder_host {

namespace {

constexpr std::size_t DIGEST = 64;

class MemoryTest : public FolderTest {
 protected:
  MemoryTest() {
    for (const char* file : {"p/s", "p/d/x", "p/d/open"}) put(file);
    const FolderProject project = FolderProject::init(in("p"));
    const std::u16string label = project.labels().create(u"c", u"l").uuid;
    project.labels().attach(label, {"d", "s"}, MarkKind::reach);
    project.labels().attach(label, {"d/open"}, MarkKind::exception);
    remember(project);
    std::filesystem::rename(in("p/s"), in("p/t"));
    remember(project);
  }

  static void remember(const FolderProject& project) {
    project.remember(std::make_shared<EntryTable>(std::make_shared<const Listing>(project.list())), {});
  }

  const std::string file_ = in("p/.project/memory");
};

}  // namespace

TEST_F(MemoryTest, OfAnyBytesIsOneThatIsWrittenAgainAsItIsOrNone) {
  const std::string bytes = read(file_), content = bytes.substr(0, bytes.size() - DIGEST);
  const auto memory = memoryIn(bytes);
  ASSERT_TRUE(memory);
  EXPECT_EQ(memory->entries.size(), 4U);
  EXPECT_EQ(bytesOf(*memory), bytes);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string flipped = bytes;
    flipped[i] = static_cast<char>(flipped[i] ^ 1);
    EXPECT_FALSE(memoryIn(flipped)) << i;
    EXPECT_FALSE(memoryIn(bytes.substr(0, i))) << i;
  }
  std::mt19937 random(environment::number("MEMORY_SEED", 1));
  std::size_t readable = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string made = content;
    for (auto left = 1 + random() % 2; left > 0; --left) made[random() % made.size()] = static_cast<char>(random());
    if (round % 4 == 0) made.resize(random() % made.size());
    const auto found = memoryIn(made + sha256Of(made));
    if (!found) continue;
    ++readable;
    EXPECT_EQ(bytesOf(memoryIn(bytesOf(*found)).value()), bytesOf(*found));
  }
  EXPECT_GT(readable, 1000U);
  EXPECT_LT(readable, 19000U);
}

TEST_F(MemoryTest, WhatIsNoneIsMadeAnew) {
  const FolderProject project = FolderProject::open(in("p"));
  const struct {
    const char* title;
    std::function<void()> put;
  } rows[] = {
      {"damaged", [&] { write(file_, "no"); }},
      {"empty", [&] { write(file_, ""); }},
      {"a pipe", [&] { ::mkfifo(file_.c_str(), 0600); }},
      {"a link", [&] { std::filesystem::create_symlink("../t", file_); }},
      {"a folder", [&] { std::filesystem::create_directories(file_ + "/d"); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    std::filesystem::remove(file_);
    row.put();
    EXPECT_TRUE(project.workingCopy()->memory().isUnreadable);
    remember(project);
    EXPECT_FALSE(project.workingCopy()->memory().isUnreadable);
    EXPECT_EQ(read(in("p/t")), "content");
  }
}

}  // namespace folder_host
