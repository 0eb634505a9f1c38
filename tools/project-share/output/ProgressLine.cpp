#include "output/ProgressLine.h"

#include <fmt/format.h>

#include <array>
#include <cstdio>

#include "folder_host/text/Printable.h"
#include "output/Output.h"

namespace project_share {

namespace {

constexpr auto INTERVAL = std::chrono::milliseconds(100);
constexpr const char* CLEAR = "\r\x1b[K";

std::string sized(double bytes) {
  constexpr std::array<const char*, 5> UNITS = {"B", "KiB", "MiB", "GiB", "TiB"};
  std::size_t unit = 0;
  for (; bytes >= 1024 && unit + 1 < UNITS.size(); ++unit) bytes /= 1024;
  return unit == 0 ? fmt::format("{:.0f} B", bytes) : fmt::format("{:.1f} {}", bytes, UNITS[unit]);
}

// An entry costs time of its own, about as much as so many bytes of content.
double work(std::size_t entries, std::uint64_t bytes) {
  constexpr double ENTRY = 32.0 * 1024;
  return ENTRY * static_cast<double>(entries) + static_cast<double>(bytes);
}

std::string remaining(const folder_host::Progress& progress, double seconds) {
  const double all = work(progress.allEntries, progress.allBytes);
  const double ready = work(progress.entries, progress.bytes);
  const auto left = static_cast<long>(ready > 0 ? seconds * (all - ready) / ready : 0);
  return left >= 0 ? fmt::format("{}:{:02} left", left / 60, left % 60) : "nearly nothing left";
}

}  // namespace

ProgressLine::ProgressLine(const char* what) : what_(what) {}

// Only where there is a line: standard error may be a file, which is to get no control characters.
ProgressLine::~ProgressLine() {
  if (written_) std::fputs(CLEAR, stderr);
}

// Told for every block that is copied, and written a few times a second.
void ProgressLine::show(const folder_host::Progress& progress) {
  const Clock::time_point now = Clock::now();
  if (!manner().progress || manner().quiet || now - shown_ < INTERVAL) return;
  shown_ = now;
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const auto text =
      fmt::format("{} {} of {} entries, {} of {}, {}/s, {}", what_, progress.entries, progress.allEntries,
                  sized(static_cast<double>(progress.bytes)), sized(static_cast<double>(progress.allBytes)),
                  sized(static_cast<double>(progress.bytes) / seconds), remaining(progress, seconds));
  std::fputs((CLEAR + folder_host::shown(text)).c_str(), stderr);
  written_ = true;
}

}  // namespace project_share
