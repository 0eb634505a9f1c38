#pragma once

#include <benchmark/benchmark.h>

#include <ctime>

namespace bench {

// The processor's time for this thread, in seconds: what else runs on the machine is not in it.
inline double timeOfThread() {
  std::timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class Action>
double timeOf(const Action& action) {
  const double begin = timeOfThread();
  action();
  return timeOfThread() - begin;
}

// Runs both by turns, so that what slows the machine down meets both alike, and reports how many times the reference's
// time the measured one takes.
template <class Reference, class Measured>
void inTurns(benchmark::State& state, const Reference& reference, const Measured& measured) {
  double ofReference = 0;
  double ofMeasured = 0;
  while (state.KeepRunning()) {
    const double one = timeOf(reference);
    const double other = timeOf(measured);
    ofReference += one;
    ofMeasured += other;
    state.SetIterationTime(one + other);
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["ratio"] = ofMeasured / ofReference;
  state.counters["reference_us"] = ofReference * 1e6 / runs;
  state.counters["measured_us"] = ofMeasured * 1e6 / runs;
}

}  // namespace bench
