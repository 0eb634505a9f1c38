#pragma once

#include <chrono>
#include <cstdint>

namespace server_store {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

// How long is waited for what. To each answer the time is added that it takes to send and to get it.
struct Deadlines {
  std::chrono::milliseconds connect{10000};
  std::chrono::milliseconds answer{30000};
  std::chrono::milliseconds lock{30000};  // for others to end their edits
};

// What is allowed for so many bytes: a second for each 256 KiB.
inline std::chrono::milliseconds timeFor(std::uint64_t bytes) { return std::chrono::milliseconds(bytes / 256); }

}  // namespace server_store
