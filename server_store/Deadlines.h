#pragma once

#include <chrono>

namespace server_store {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

// How long is waited for what. To the time for an answer that there is for what it takes to send and to get: a second
// for each 256 KiB.
struct Deadlines {
  std::chrono::milliseconds connect{10000};
  std::chrono::milliseconds answer{30000};
  std::chrono::milliseconds lock{30000};  // for others to end their edits
};

}  // namespace server_store
