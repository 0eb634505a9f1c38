#include "Output.h"

#include <fmt/format.h>

#include <cstdio>

#include "Refusal.h"

namespace project_share {

std::string counted(std::size_t count, const char* one, const char* many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

void line(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
}

void finishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw Refusal(refusals::OUTPUT_FAILED, "the command is done, but standard output did not take its whole report");
  }
}

}  // namespace project_share
