#pragma once

#include <sys/stat.h>

#include <ctime>

// Times as file systems tell them.
namespace folder_host {

inline timespec timeOf(const statx_timestamp& time) noexcept { return {time.tv_sec, static_cast<long>(time.tv_nsec)}; }

inline bool isSameTime(const timespec& a, const timespec& b) noexcept {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

inline bool isEarlier(const timespec& a, const timespec& b) noexcept {
  return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

}  // namespace folder_host
