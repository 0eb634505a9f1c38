#pragma once

#include <chrono>

#include "folder_host/share/HandOut.h"

namespace project_share {

// One line on standard error that says how far the work is, where that is a terminal and nobody asked for quiet. It is
// wiped when this object ends.
class ProgressLine {
 public:
  // `what` is done: "copied".
  explicit ProgressLine(const char* what);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Some times a second at most, however often it is called.
  void show(const folder_host::Progress& progress);

 private:
  using Clock = std::chrono::steady_clock;

  const char* what_;
  Clock::time_point begin_ = Clock::now();
  Clock::time_point shown_ = begin_;
  bool written_ = false;
};

}  // namespace project_share
