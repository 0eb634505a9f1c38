#include "Output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Refusal.h"

namespace project_share {

namespace {

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): the tool has one thread
  return value != nullptr && *value != '\0';
}

bool isDumb() {
  const char* terminal = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): the tool has one thread
  return terminal == nullptr || std::string_view(terminal) == "dumb";
}

std::string coloured(const std::string& text, const char* colour) {
  return manner().colour ? fmt::format("\x1b[{}m{}\x1b[0m", colour, text) : text;
}

}  // namespace

Manner& manner() {
  static Manner current;
  return current;
}

Manner usualManner() {
  Manner usual;
  usual.colour = ::isatty(STDOUT_FILENO) == 1 && !isDumb() && !isSet("NO_COLOR");
  usual.progress = ::isatty(STDERR_FILENO) == 1 && !isDumb();
  return usual;
}

std::string counted(std::size_t count, const char* one, const char* many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string asGoing(const std::string& text) { return coloured(text, "31"); }

std::string asWarning(const std::string& text) { return coloured(text, "33"); }

void line(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
}

void item(const std::string& text, const Json& object) { line(manner().json ? object.dump() : text); }

void done(const std::string& text, const Json& object) {
  if (!manner().quiet) item(text, object);
}

void finishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw Refusal(refusals::OUTPUT_FAILED, "the command is done, but standard output did not take its whole report");
  }
}

}  // namespace project_share
