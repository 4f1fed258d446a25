// A disk as the host presents it, and how its address is written.
#pragma once

#include <string>

#include "simulator/simulated_host.h"

namespace host {

/// What the daemon knows of a disk when it opens a handle; on a simulated host the simulator tells it.
using HostDisk = simulator::HostDisk;

/// "CHANNEL:TARGET:LUN".
[[nodiscard]] inline std::string addressOf(const HostDisk& disk) {
  return std::to_string(disk.channel) + ":" + std::to_string(disk.target) + ":" + std::to_string(disk.lun);
}

/// Whether the disk has a node. A volume needs none: it goes by its address then, "HBA:CHANNEL:TARGET:LUN".
[[nodiscard]] inline bool hasNode(const HostDisk& disk) {
  return disk.device != disk.hba + ":" + addressOf(disk);
}

}  // namespace host
