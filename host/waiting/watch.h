// --watch: a command carried out again and again, until the user ends it.
#pragma once

#include <functional>
#include <string>

#include "host/command_line/option.h"
#include "host/exit_status.h"
#include "host/output/terminal.h"

namespace host {

/// The option of a command that can be watched.
struct WatchChoice {
  int seconds = 0;  ///< between the end of a round and the next one; 0: once

  [[nodiscard]] Option option();
};

/// How the rounds are to be shown.
struct WatchedRun {
  std::string title;  ///< what is carried out
  int seconds = 0;
  bool writesDocuments = false;  ///< a line each, with nothing between them, on a terminal too
};

/// Carries out rounds, each in a process of its own, which sees the host as it is then. On a terminal a round's output,
/// errors included, takes the place of the one before, with what changed marked; a signal that ends the program leaves
/// the last one below what stood there before. Elsewhere one follows the other.
///
/// Returns when standard output takes no more; a signal ends the program before.
///
/// @param round  one run: writes to the standard streams, for the terminal that it is given
void watch(const WatchedRun& run, const std::function<ExitStatus(const Terminal&)>& round);

}  // namespace host
