// What the program tells its caller when it ends. Report decides it for a run: whatever failed or was refused makes
// it 1.
#pragma once

namespace host {

/// There are no others.
enum class ExitStatus {
  done = 0,       ///< all that was asked for was done, and what was written arrived
  failed = 1,     ///< something was refused or failed, or its output is missing
  wrongUsage = 2  ///< the command line allows no run
};

}  // namespace host
