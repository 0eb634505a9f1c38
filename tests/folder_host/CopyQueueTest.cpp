#include "folder_host/CopyQueue.h"

#include "Fixture.h"

namespace folder_host {

namespace {

struct Files {
  explicit Files(const std::vector<std::pair<std::string, std::uint64_t>>& files) {
    for (const auto& [path, size] : files) entries.push_back({path, EntryKind::file, {}, {}, size});
    for (const Entry& entry : entries) pointers.push_back(&entry);
  }
  std::vector<Entry> entries;
  std::vector<const Entry*> pointers;
};

std::vector<std::pair<std::string, std::uint64_t>> many(const std::string& folder, std::size_t count,
                                                        std::uint64_t size = 0) {
  std::vector<std::pair<std::string, std::uint64_t>> files;
  for (std::size_t i = 0; i < count; ++i) files.emplace_back(folder + "/" + std::to_string(i), size);
  return files;
}

std::string portionsOf(CopyQueue& queue) {
  std::string portions;
  for (auto portion = queue.take(); portion.begin != portion.end; portion = queue.take()) {
    portions += " " + std::to_string(portion.begin) + "-" + std::to_string(portion.end);
  }
  return portions;
}

std::string failureOf(const CopyQueue& queue) {
  try {
    queue.rethrow();
    return {};
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

std::exception_ptr failure(const char* text) { return std::make_exception_ptr(std::runtime_error(text)); }

}  // namespace

TEST(CopyQueueTest, APortionIsOfOneFolderAndNotTooMuch) {
  const struct {
    const char* title;
    Files files;
    const char* portions;
  } rows[] = {
      {"by folder", Files({{"a", 0}, {"a/x", 0}, {"a/y", 0}, {"b", 0}, {"b/c/x", 0}}), " 0-1 1-3 3-4 4-5"},
      {"a name that goes on", Files({{"a/x", 0}, {"ab/x", 0}}), " 0-1 1-2"},
      {"many", Files(many("a", 300)), " 0-128 128-256 256-300"},
      {"large", Files(many("a", 5, 3U << 20U)), " 0-3 3-5"},
      {"huge", Files(many("a", 2, 1ULL << 40U)), " 0-1 1-2"},
  };
  for (const auto& row : rows) {
    CopyQueue queue(row.files.pointers);
    EXPECT_EQ(portionsOf(queue), row.portions) << row.title;
  }
}

TEST(CopyQueueTest, OfSeveralFailuresTheFirstInTheListingCountsWhateverCameFirst) {
  const Files files(many("a", 300));
  const struct {
    const char* title;
    std::vector<std::size_t> failed;
    const char* counts;
    const char* portions;
  } rows[] = {
      {"none", {}, "", " 0-128 128-256 256-300"},
      {"upwards", {7, 130}, "7", " 0-7"},
      {"downwards", {130, 7}, "7", " 0-7"},
      {"what comes before is still copied", {130}, "130", " 0-128 128-130"},
      {"the first", {0}, "0", ""},
  };
  for (const auto& row : rows) {
    CopyQueue queue(files.pointers);
    for (const std::size_t index : row.failed) queue.fail(index, failure(std::to_string(index).c_str()));
    EXPECT_EQ(portionsOf(queue), row.portions) << row.title;
    EXPECT_EQ(failureOf(queue), row.counts) << row.title;
  }
}

}  // namespace folder_host
