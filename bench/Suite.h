#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <string>

namespace bench {

// What is run. The short form is for the test command: small, once, so that nothing here rots.
class Suite {
 public:
  explicit Suite(bool isShort) : isShort_(isShort) {}

  bool isShort() const { return isShort_; }

  // Registers `body`, timed by itself, as so many runs (one at least) in each repetition.
  void add(const std::string& name, std::size_t runs, const std::function<void(benchmark::State&)>& body) const;

 private:
  bool isShort_;
};

void addFilters(const Suite& suite);
void addStore(const Suite& suite);
void addAllocations(const Suite& suite);

}  // namespace bench
