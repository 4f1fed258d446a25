// The arguments by which a command is told its devices: DEVICE..., or --all.
#pragma once

#include <string>
#include <vector>

#include "host/opened_disk.h"

namespace CLI {
class App;
}

namespace host {

class DeviceArguments {
 public:
  /// Declares the arguments. Devices and --all together, or neither, are wrong usage.
  void addTo(CLI::App& app);

  /// The same for a command that switches something: the last argument is "on" or "off".
  void addWithSwitchTo(CLI::App& app);

  /// What to switch to.
  [[nodiscard]] bool isOn() const { return on_; }

  /// Opens the disks that were named, or all that the plugin serves; another driver's disk fails only when named.
  /// @throws Refusal  for a name that fits no disk or several
  [[nodiscard]] std::vector<OpenedDisk> open(Session& session) const;

 private:
  void declare(CLI::App& app, const std::string& lastWords);
  void takeSwitch();
  void check() const;

  std::vector<std::string> names_;
  bool all_ = false;
  bool on_ = false;
};

}  // namespace host
