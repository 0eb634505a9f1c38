#include "Interruption.h"

#include <array>
#include <csignal>

namespace project_share {

namespace {

// What asks a program to end: the keyboard, another program, a terminal that was closed.
constexpr std::array<int, 3> SIGNALS = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t noted = 0;

extern "C" void note(int signal) { noted = signal; }

}  // namespace

Interrupted::~Interrupted() = default;

Interruption::Interruption() {
  noted = 0;
  for (const int signal : SIGNALS) {
    // What was to be ignored, under nohup for one, still is.
    if (std::signal(signal, note) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

// The signal is raised again when all is cleaned up, so that a shell sees what ended the program. Where the work was
// done before anything looked at it, it came too late and is dropped.
Interruption::~Interruption() {
  for (const int signal : SIGNALS) {
    if (std::signal(signal, SIG_DFL) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
  if (noted != 0 && std::uncaught_exceptions() > exceptions_) std::raise(noted);
}

// A signal's handler may do next to nothing. It notes the signal, and the work looks at the note between two steps, so
// that what was begun is cleaned up by the same code as after any failure.
void Interruption::check() const {
  if (noted != 0) throw Interrupted();
}

}  // namespace project_share
