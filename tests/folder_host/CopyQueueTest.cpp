#include "folder_host/share/CopyQueue.h"

#include <algorithm>

#include "Fixture.h"

namespace folder_host {

namespace {

struct Files {
  explicit Files(const std::vector<std::string>& paths, std::uint64_t size = 0) {
    for (const std::string& path : paths) entries.push_back({path, EntryKind::file, {}, {}, size});
    for (const Entry& entry : entries) pointers.push_back(&entry);
  }
  std::vector<Entry> entries;
  std::vector<const Entry*> pointers;
};

std::string portionsOf(CopyQueue& queue) {
  std::string portions;
  for (auto portion = queue.take(); portion.begin != portion.end; portion = queue.take()) {
    portions += " " + std::to_string(portion.begin) + "-" + std::to_string(portion.end);
  }
  return portions;
}

std::string portionsOf(const Files& files) {
  CopyQueue queue(files.pointers);
  return portionsOf(queue);
}

}  // namespace

TEST(CopyQueueTest, APortionIsOfOneFolderAndNotTooMuch) {
  EXPECT_EQ(portionsOf(Files({"a", "a/x", "a/y", "ab/x", "b/c/x"})), " 0-1 1-3 3-4 4-5");
  EXPECT_EQ(portionsOf(Files(std::vector<std::string>(5, "a"), 3U << 20U)), " 0-3 3-5");
}

TEST(CopyQueueTest, OfSeveralFailuresTheFirstInTheListingCountsWhateverCameFirst) {
  const Files files(std::vector<std::string>(300, "a"));
  EXPECT_EQ(portionsOf(files), " 0-128 128-256 256-300");
  const std::pair<std::vector<std::size_t>, const char*> rows[] = {
      {{7, 130}, " 0-7"}, {{130, 7}, " 0-7"}, {{130}, " 0-128 128-130"}, {{0}, ""}};
  for (const auto& [failed, portions] : rows) {
    CopyQueue queue(files.pointers);
    for (const std::size_t index : failed) queue.fail(index, std::make_exception_ptr(index));
    EXPECT_EQ(portionsOf(queue), portions) << "what comes before is still copied";
    try {
      queue.rethrow();
      ADD_FAILURE() << "it has not failed";
    } catch (const std::size_t& first) {
      EXPECT_EQ(first, *std::min_element(failed.begin(), failed.end()));
    }
  }
}

}  // namespace folder_host
