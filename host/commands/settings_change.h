// What an operation that changes settings of a controller really did, told by the commands that it sent: the plugin's
// result alone cannot tell a driver status from a number of drives.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "host/interception/command_watcher.h"
#include "host/output/json.h"

namespace host {

/// Why the settings did not change; empty when a command that writes them went through (or was held back).
[[nodiscard]] std::string whyNothingChanged(std::span<const InterceptedCommand> sent);

/// One field of a settings buffer that a write changes.
struct FieldChange {
  std::string field;
  uint32_t before = 0;
  uint32_t after = 0;
};

/// The last command that writes settings, against what the controller had reported before.
struct SettingsChange {
  std::string command;
  std::vector<FieldChange> fields;
};

/// @return nothing when no settings were written, or none were read before
[[nodiscard]] std::optional<SettingsChange> lastChange(std::span<const InterceptedCommand> sent);

[[nodiscard]] Json toJson(const SettingsChange& change);

/// BMIC indexes of the drives that blink by the last blink buffer that was written; nothing when none was.
[[nodiscard]] std::optional<std::set<uint32_t>> drivesBlinking(std::span<const InterceptedCommand> sent);

}  // namespace host
