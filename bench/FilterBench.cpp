// project_bench: the filters beside the floor, the host calls that they have to make, as a table in Markdown. Both take
// turns, so that what slows the machine down meets both alike; the time is the processor's for this thread.
#include <algorithm>
#include <cmath>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <memory>

#include "Floor.h"
#include "TableHost.h"
#include "memory_host/MemoryHost.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

namespace {

using bench::Shape;
using namespace project::sharing::profiles;

template <class Action>
double timeOf(const Action& action) {
  const auto now = [] {
    std::timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
  };
  const double begin = now();
  action();
  return now() - begin;
}

// Prints how many times the floor's time the filter takes: the median of five repetitions, the least and the greatest.
double measure(const Shape& shape) {
  bench::TableHost host(shape);
  const auto items = bench::itemsUpTo(shape.items);
  const auto profile = createManager(std::make_shared<memory_host::MemoryMetadata>())->createProfile(u"benchmark");
  const auto filter = profile->addFilter(shape.kind, items);
  bench::Floor floor(shape.kind, items, host);
  std::vector<double> ratios, times;
  for (int repetition = 0; repetition < 5; ++repetition) {
    double ofFloor = 0, ofFilter = 0;
    const std::size_t runs = std::max<std::size_t>(100000 / shape.entries, 1);
    for (std::size_t run = 0; run < runs; ++run) {
      ofFloor += timeOf([&] { floor.call(); });
      ofFilter += timeOf([&] { filter->apply(host); });
    }
    ratios.push_back(ofFilter / ofFloor);
    times.push_back(ofFilter / static_cast<double>(runs * shape.entries));
  }
  std::sort(ratios.begin(), ratios.end());
  std::sort(times.begin(), times.end());
  std::cout << shape.entries << " | " << shape.items << " | " << ratios[2] << " (" << ratios[0] << " to " << ratios[4]
            << ") | " << std::lround(times[2]) << " |" << std::endl;
  return ratios[2];
}

}  // namespace

int main() {
  const std::pair<const char*, Shape> rows[] = {
      {"keep-files, flat", {INCLUDE_FILES_WITH_LABEL, 0, 0, 2, false}},
      {"keep-files, deep", {INCLUDE_FILES_WITH_LABEL, 0, 0, 2, true}},
      {"drop-files, flat", {EXCLUDE_FILES_WITH_LABEL, 0, 0, 2, false}},
      {"drop-files, deep", {EXCLUDE_FILES_WITH_LABEL, 0, 0, 2, true}},
      {"keep-labels", {INCLUDE_LABEL, 0, 0, 0, false}},
      {"drop-labels", {EXCLUDE_LABEL, 0, 0, 0, false}},
  };
  std::vector<double> large;
  std::cout << std::fixed << std::setprecision(2)
            << "| filter | entries (labels) | items | times the floor | ns an entry |\n|---|---|---|---|---|\n";
  for (auto [name, shape] : rows) {
    for (const std::size_t entries : {1000U, 100000U, 1000000U}) {
      for (const std::size_t items : {10U, 1000U, 10000U}) {
        shape.entries = entries;
        shape.items = items;
        std::cout << "| " << name << " | ";
        const double ratio = measure(shape);
        if (entries >= 100000) large.push_back(ratio);
      }
    }
  }
  std::sort(large.begin(), large.end());
  std::cout << "\nThe median of those of 100,000 entries and more: " << large[large.size() / 2] << '\n';
}
