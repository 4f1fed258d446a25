// Takes the signals that end a program.
#include "host/waiting/interruption.h"

#include <string_view>
#include <unistd.h>

namespace host {
namespace {

volatile std::sig_atomic_t isInterrupted = 0;

/// It is taken away before this runs, so that the next signal ends the program.
void note(int /*signal*/) {
  constexpr std::string_view kText =
      "\ndmu-host: interrupted; what was begun is finished first (the next Ctrl-C ends at once)\n";
  isInterrupted = 1;
  static_cast<void>(!write(STDERR_FILENO, kText.data(), kText.size()));
}

}  // namespace

/// A signal that the program was started to ignore stays ignored.
static void take(int signal, struct sigaction& before) {
  sigaction(signal, nullptr, &before);
  if (before.sa_handler == SIG_IGN) return;
  struct sigaction noting = {};
  noting.sa_handler = note;
  noting.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  sigaction(signal, &noting, nullptr);
}

Interruption::Interruption() {
  isInterrupted = 0;
  take(SIGINT, interrupt_);
  take(SIGTERM, terminate_);
}

Interruption::~Interruption() {
  sigaction(SIGINT, &interrupt_, nullptr);
  sigaction(SIGTERM, &terminate_, nullptr);
}

bool Interruption::isWanted() const {
  return isInterrupted != 0;
}

}  // namespace host
