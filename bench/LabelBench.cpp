// label_bench FOLDER: what labels cost beside the listing of the same tree, as a table in Markdown: 100,000 entries
// under FOLDER, which is made and removed, best on tmpfs. Both take turns; the time is the processor's for this thread,
// and the ratio that of each pair of turns.
#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "folder_host/files/EntryTable.h"
#include "folder_host/labels/Followed.h"
#include "folder_host/store/LabelStore.h"
#include "folder_host/store/Store.h"

namespace {

using namespace folder_host;
namespace fs = std::filesystem;

constexpr int FOLDERS = 1000, FILES = 100, DEPTH = 10;

double timeOf(const std::function<void()>& action) {
  const auto now = [] {
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
  };
  const double begin = now();
  action();
  return now() - begin;
}

// A thousand folders, in chains of ten.
std::string folderOf(int number) {
  std::string path = "part" + std::to_string(number / DEPTH);
  for (int level = 0; level < number % DEPTH; ++level) path += "/level" + std::to_string(level);
  return path;
}

void makeTree(const fs::path& top) {
  for (int folder = 0; folder < FOLDERS; ++folder) {
    fs::create_directories(top / folderOf(folder));
    for (int file = 0; file < FILES; ++file) {
      std::ofstream(top / folderOf(folder) / ("chapter-" + std::to_string(file) + ".draft.txt")) << file;
    }
  }
}

std::vector<std::string> simpleRules(int count) {
  std::vector<std::string> rules;
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    rules.push_back(i % 3 == 0 ? "name" + number : i % 3 == 1 ? "*.end" + number : "/part" + number + "/level0/");
  }
  return rules;
}

std::vector<std::string> anyRules(int count) {
  std::vector<std::string> rules;
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    const std::string shapes[] = {"**/chapter-" + number + "?.*", "part*/**/x" + number + "*.txt",
                                  "*" + number + "*.d*ft.*", "[a-c]h*pter-[0-9]" + number + ".txt",
                                  "!**/level" + number + "/*"};
    rules.push_back(shapes[i % 5]);
  }
  return rules;
}

std::vector<std::string> markedPaths(const EntryTable& table, std::size_t count) {
  std::vector<std::string> paths;
  for (std::size_t i = 0; paths.size() < count; i += table.size() / count) paths.push_back(table[i].path);
  return paths;
}

struct Labels {
  std::shared_ptr<Store> store = Store::inMemory();
  LabelStore labels{store};
  std::u16string label = labels.create(u"audience", u"internal").uuid;
};

void measure(const std::string& what, const fs::path& folder, const std::function<void()>& action) {
  std::vector<double> ratios, times;
  for (int turn = 0; turn < 7; ++turn) {
    const double listing = timeOf([&] { listFolder(folder.string()); });
    times.push_back(timeOf(action));
    ratios.push_back(times.back() / listing);
  }
  std::sort(ratios.begin(), ratios.end());
  std::sort(times.begin(), times.end());
  std::cout << "| " << what << " | " << std::fixed << std::setprecision(2) << ratios[3] << " (" << ratios.front()
            << " to " << ratios.back() << ") | " << std::setprecision(0) << times[3] << " |\n";
}

void measureAll(const fs::path& folder) {
  const auto table = std::make_shared<const EntryTable>(std::make_shared<const Listing>(listFolder(folder.string())));
  Labels marked, ruled, globbed;
  marked.labels.attach(marked.label, markedPaths(*table, 10000), MarkKind::reach);
  auto rules = simpleRules(900);
  for (std::string& rule : anyRules(100)) rules.push_back(std::move(rule));
  ruled.labels.setRules(ruled.label, rules);
  globbed.labels.setRules(globbed.label, anyRules(100));
  std::cout << table->size() << " entries.\n\n| what | times the listing | ms |\n|---|---|---|\n";
  const auto effective = [&](const Labels& labels) { return [&] { EffectiveLabels(*table, labels.labels).counts(); }; };
  measure("labels of all entries, 10,000 marks", folder, effective(marked));
  measure("labels of all entries, 1,000 rules, 100 of them of any shape", folder, effective(ruled));
  measure("labels of all entries, 100 rules of any shape", folder, effective(globbed));
  const auto has = std::make_shared<const EffectiveLabels>(*table, marked.labels);
  const auto noted = std::make_shared<const Memory>(Followed(table, has, std::make_shared<const Memory>()).renewed({}));
  const std::string bytes = bytesOf(*noted);
  measure("what is remembered read, of " + std::to_string(noted->entries.size()) + " entries", folder,
          [&] { memoryIn(bytes); });
  measure("found again, where nothing moved", folder, [&] { Followed(table, has, noted); });
  measure("noted anew", folder, [&] { bytesOf(Followed(table, has, noted).renewed({})); });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || fs::exists(argv[1])) {
    std::cerr << "label_bench FOLDER: a folder that is not there yet\n";
    return 2;
  }
  makeTree(argv[1]);
  measureAll(argv[1]);
  fs::remove_all(argv[1]);
  return 0;
}
