// What a run is at, for people who wait: once it has lasted a second, a line on standard error says what is being done
// and how far it is ("vmhba2: 1,088 devices: 412"). The line goes before anything else is written, and at the end.
#pragma once

#include <cstddef>
#include <string>

#include "host/interception/command_watcher.h"

namespace host {

/// Shows the line from now on, if standard error is a terminal; until the end of the scope.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Takes the line away, since something else is to be written. It comes back when there is still something to do.
  static void clear();

  /// Follows what a command does: how many of a controller's devices, or of missing drives, were asked for.
  static void commandPassed(const InterceptedCommand& command);
};

/// Something that takes several steps, as long as this lives. Of several the last one is shown.
class Activity {
 public:
  enum class Steps {
    own,         ///< told by advance()
    askedDrives  ///< each drive that is asked for, beside a snapshot
  };

  /// @param what  the steps: "disks"
  Activity(size_t steps, const std::string& what, Steps kind = Steps::own);
  ~Activity();
  Activity(const Activity&) = delete;
  Activity& operator=(const Activity&) = delete;

  /// One more step is done.
  void advance() const;

 private:
  size_t place_;
};

}  // namespace host
