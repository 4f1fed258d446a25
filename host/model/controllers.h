// All controllers of which commands passed.
#pragma once

#include <map>
#include <string>

#include "host/interception/command_watcher.h"
#include "host/model/controller.h"

namespace host::model {

/// How many devices a report lists, as far as it arrived.
/// @param command  report logical or physical LUNs
[[nodiscard]] size_t listedDevices(const InterceptedCommand& command);

class Controllers {
 public:
  /// Takes what a command shows of its controller. A snapshot begins with identify controller, which forgets what was
  /// known of the controller before; commands that failed or were held back show nothing else.
  void see(const InterceptedCommand& command);

  /// @return null when no snapshot of the controller was read
  [[nodiscard]] const Controller* find(const std::string& hba) const;

  /// The volume that a host presents as this disk.
  /// @return null when there is none, or no snapshot of its controller
  [[nodiscard]] const Volume* volumeOf(const HostDisk& disk) const;

  /// By HBA.
  [[nodiscard]] const std::map<std::string, Controller>& all() const { return controllers_; }

 private:
  void takeFailure(const InterceptedCommand& command);

  std::map<std::string, Controller> controllers_;
};

}  // namespace host::model
