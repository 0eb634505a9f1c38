#include "Suite.h"

#include <algorithm>
#include <cstdint>

namespace bench {

void Suite::add(const std::string& name, std::size_t runs, const std::function<void(benchmark::State&)>& body) const {
  benchmark::RegisterBenchmark(name.c_str(), body)
      ->UseManualTime()
      ->Iterations(isShort_ ? 1 : static_cast<std::int64_t>(std::max<std::size_t>(runs, 1)))
      ->Repetitions(isShort_ ? 1 : 5)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace bench
