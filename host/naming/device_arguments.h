// The arguments by which a command is told its devices: DEVICE..., or --all.
#pragma once

#include <string>
#include <vector>

#include "host/command_line/option.h"
#include "host/disks/opened_disk.h"

namespace host {

class DeviceArguments {
 public:
  /// Devices, or --all.
  [[nodiscard]] std::vector<Option> options();

  /// The same for a command that switches something: the last argument is "on" or "off".
  [[nodiscard]] std::vector<Option> optionsWithSwitch();

  /// What to switch to.
  [[nodiscard]] bool isOn() const { return state_ == "on"; }

  /// Opens the disks that were named, or all that the plugin serves; another driver's disk fails only when named.
  /// @throws Refusal  for a name that fits no disk or several
  [[nodiscard]] std::vector<OpenedDisk> open(Session& session) const;

 private:
  std::vector<std::string> names_;
  bool all_ = false;
  std::string state_;
};

}  // namespace host
