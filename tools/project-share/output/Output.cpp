#include "output/Output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Refusal.h"
#include "folder_host/text/Printable.h"

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

// The colour is put around a text that has been escaped: the text can neither end the colour nor begin one.
std::string coloured(const std::string& text, Tone tone) {
  if (!manner().colour || tone == Tone::plain) return text;
  return fmt::format("\x1b[{}m{}\x1b[0m", tone == Tone::heldBack ? 31 : 33, text);
}

void put(const std::string& text) {
  std::FILE* const out = manner().aside ? stderr : stdout;
  std::fwrite(text.data(), 1, text.size(), out);
  std::fputc('\n', out);
}

}  // namespace

Manner& manner() {
  static Manner current;
  return current;
}

// In a file or a pipe, colours and lines that are written over would be rubbish between the lines.
Manner usualManner() {
  Manner usual;
  usual.colour = ::isatty(STDOUT_FILENO) == 1 && !isDumb() && !isSet("NO_COLOR");
  usual.progress = ::isatty(STDERR_FILENO) == 1 && !isDumb();
  return usual;
}

std::string uuidBehind(const std::u16string& uuid) {
  return manner().uuids ? " (" + folder_host::freeName(uuid) + ")" : std::string();
}

std::string uuidBefore(const std::u16string& uuid) {
  return manner().uuids ? folder_host::freeName(uuid) + "  " : std::string();
}

std::string counted(std::size_t count, const char* one, const char* many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

void line(const std::string& text, Tone tone) { put(coloured(folder_host::shown(text), tone)); }

void item(const std::string& text, const Json& object, Tone tone) {
  if (manner().json) return put(written(object));
  line(text, tone);
}

void document(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

// What a command did can be told from its exit code as well, so quiet silences this, and never what was asked for.
void done(const std::string& text, const Json& object) {
  if (!manner().quiet) item(text, object);
}

int complain(int code, const std::string& identifier, const std::string& message) {
  std::fflush(stdout);  // what was found comes before what is made of it
  const Json refusal{{"type", "refusal"}, {"identifier", identifier}, {"message", utf8(message)}, {"exitCode", code}};
  const std::string text =
      manner().json ? written(refusal) : folder_host::shown("project-share: " + identifier + ": " + message);
  std::fprintf(stderr, "%s\n", text.c_str());
  return code;
}

// A disk that is full shows only when what was buffered is written.
void finishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw Refusal(refusals::OUTPUT_FAILED,
                  "the command is done, but standard output did not take its whole report; make room, and look before "
                  "you repeat it");
  }
}

}  // namespace project_share
