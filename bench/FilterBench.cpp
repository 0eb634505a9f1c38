#include <benchmark/benchmark.h>

#include "FlatHost.h"
#include "PlainFilters.h"
#include "memory_host/MemoryHost.h"
#include "project/sharing/profiles/ExportFilter.h"
#include "project/sharing/profiles/ExportProfile.h"
#include "project/sharing/profiles/ExportProfileManager.h"

// The filters beside the floor (the host calls that they have to make) and beside their rules in plainest form. Read
// the times as ratios of one run; `ctest` does not run them.
namespace {

using namespace project::sharing::profiles;

// `count` items, one of which names the label that hangs on the folders; no label of the project is named.
plain::Items items(std::int64_t count) {
  plain::Items all{{u"c", u"selected"}};
  for (std::int64_t i = 1; i < count; ++i) {
    const std::string text = "other" + std::to_string(i);
    all.emplace_back(u"c", std::u16string(text.begin(), text.end()));
  }
  return all;
}

bench::FlatHost hostOf(const benchmark::State& state) {
  return {static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1))};
}

std::shared_ptr<ExportFilter> filterOf(const std::u16string& kind, std::int64_t itemCount) {
  const auto manager = createManager(std::make_shared<memory_host::MemoryMetadata>());
  return manager->createProfile(u"benchmark")->addFilter(kind, items(itemCount));
}

void floorOfAFileFilter(benchmark::State& state) {
  bench::FlatHost host = hostOf(state);
  while (state.KeepRunning()) host.callAsAFilterMust();
}

void applied(benchmark::State& state, const std::u16string& kind) {
  bench::FlatHost host = hostOf(state);
  const auto filter = filterOf(kind, state.range(2));
  while (state.KeepRunning()) filter->apply(host);
}

void fileFilter(benchmark::State& state) { applied(state, EXCLUDE_FILES_WITH_LABEL); }
void labelFilter(benchmark::State& state) { applied(state, EXCLUDE_LABEL); }

void plainFileFilter(benchmark::State& state) {
  bench::FlatHost host = hostOf(state);
  const plain::Items listed = items(state.range(2));
  while (state.KeepRunning()) plain::applyFileFilter(EXCLUDE_FILES_WITH_LABEL, listed, host);
}

void floorOfALabelFilter(benchmark::State& state) {
  bench::FlatHost host = hostOf(state);
  while (state.KeepRunning()) host.callAsALabelFilterMust();
}

void plainLabelFilter(benchmark::State& state) {
  bench::FlatHost host = hostOf(state);
  const plain::Items listed = items(state.range(2));
  while (state.KeepRunning()) plain::applyLabelFilter(EXCLUDE_LABEL, listed, host);
}

const std::vector<std::string> names{"entries", "depth", "items"};

BENCHMARK(floorOfAFileFilter)->ArgNames(names)->ArgsProduct({{10000, 100000}, {1, 50}, {1}});
BENCHMARK(fileFilter)->ArgNames(names)->ArgsProduct({{10000, 100000}, {1, 50}, {1, 10000}});
BENCHMARK(plainFileFilter)->ArgNames(names)->ArgsProduct({{1000, 10000}, {1}, {1}});
BENCHMARK(floorOfALabelFilter)->ArgNames(names)->ArgsProduct({{10000, 100000}, {1}, {1}});
BENCHMARK(plainLabelFilter)->ArgNames(names)->ArgsProduct({{10000, 100000}, {1}, {1, 100}});
BENCHMARK(labelFilter)->ArgNames(names)->ArgsProduct({{10000, 100000}, {1}, {1, 10000}});

}  // namespace
