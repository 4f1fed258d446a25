// A disk's serial number, read through its node as the plugin reads it. The handle that the plugin keeps is closed to
// hosts, so the host asks for itself.
#pragma once

#include <optional>
#include <string>

#include "host/disks/host_disk.h"

namespace host {

struct SerialAnswer {
  std::optional<std::string> serial;  ///< nothing when it could not be read or the disk has none
  std::string error;                  ///< why it could not be read; empty when the disk answered
};

/// Sends an INQUIRY for the Unit Serial Number page to "/dev/disks/" and the device's name.
[[nodiscard]] SerialAnswer readSerialNumber(const std::string& device);

/// The same for a disk; one without a node has none.
[[nodiscard]] SerialAnswer serialNumberOf(const HostDisk& disk);

}  // namespace host
