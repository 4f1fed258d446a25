// Operations that switch something on a controller, with a verdict on what became of them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/commands/settings_change.h"
#include "host/disks/opened_disk.h"

namespace host {

/// Whether a result of 0 or below is a failure although the settings were written: it is for the locator LED, whose
/// result counts drives; the write cache's result is 0 for a volume without drives.
enum class MustCount { no, yes };

/// What the help says of --dry-run.
inline constexpr const char* kDryRunHelp = "Read from the controller, but only show what would be written to it";

/// What a switching operation did.
struct Switched {
  bool done = false;                       ///< the settings were sent and taken; never in a dry run
  int32_t result = 0;                      ///< the plugin's
  std::optional<SettingsChange> heldBack;  ///< what a dry run did not send
};

/// Switches disks one after the other. When the user interrupts that, the one that was begun is finished, and those
/// that are left are reported.
void switchEach(Session& session, std::vector<OpenedDisk>& disks, const std::function<void(OpenedDisk&)>& doSwitch);

/// Calls an operation of the plugin and judges it by what the command that writes the settings came back with.
///
/// @param operation  its name for the report of a failure
[[nodiscard]] Switched switchDisk(Session& session, OpenedDisk& opened, const std::string& operation,
                                  MustCount mustCount, const std::function<CallResult(const DeviceHandle&)>& call);

}  // namespace host
