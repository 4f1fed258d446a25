// Reads the command line.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "host/command.h"
#include "host/report.h"
#include "host/session.h"

namespace host {

struct CommandLine {
  GlobalOptions options;
  /// One of the commands given, with its own options stored in it; null: there is nothing to run.
  Command* command = nullptr;
  /// When there is nothing to run: done (help was asked for) or wrong usage.
  ExitStatus status = ExitStatus::done;
};

/// Reads the arguments. Help is written to standard output, wrong usage to standard error.
[[nodiscard]] CommandLine readCommandLine(int argc, char** argv, const std::vector<std::unique_ptr<Command>>& commands);

}  // namespace host
