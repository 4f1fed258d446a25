// Reads the command line.
#pragma once

#include <memory>
#include <vector>

#include "host/command.h"
#include "host/exit_status.h"
#include "host/session.h"

namespace host {

struct CommandLine {
  GlobalOptions options;
  /// One of the commands given, with its own options stored in it; null: there is nothing to run.
  Command* command = nullptr;
  /// What was asked for instead of a run: help, the version, the manual page.
  std::string text;
  /// When there is nothing to run: done or wrong usage.
  ExitStatus status = ExitStatus::done;
};

/// Reads the arguments. Wrong usage is said on standard error.
[[nodiscard]] CommandLine readCommandLine(int argc, char** argv, const std::vector<std::unique_ptr<Command>>& commands);

}  // namespace host
