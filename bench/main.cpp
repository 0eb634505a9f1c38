// project_bench [--short] [options of Google Benchmark]
#include <string_view>
#include <vector>

#include "Suite.h"

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  const bool isShort = arguments.size() > 1 && std::string_view(arguments[1]) == "--short";
  if (isShort) arguments.erase(arguments.begin() + 1);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  const bench::Suite suite(isShort);
  bench::addFilters(suite);
  bench::addStore(suite);
  bench::addAllocations(suite);
  benchmark::RunSpecifiedBenchmarks();
}
