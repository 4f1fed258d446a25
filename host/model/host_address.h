// Under which addresses a host sees what its controller lists: the driver's numbering, as the plugin follows it.
#pragma once

#include <cstdint>

#include "host/disks/host_disk.h"

namespace host::model {

struct HostAddress {
  uint32_t channel = 0;
  uint32_t target = 0;
  uint32_t lun = 0;

  [[nodiscard]] bool isOf(const HostDisk& disk) const {
    return disk.channel == channel && disk.target == target && disk.lun == lun;
  }
};

/// @param word  of the volume's LUN address, or its number
[[nodiscard]] inline HostAddress externalVolumeAddress(uint32_t word) {
  return {3, word >> 16 & 0x3FFF, word & 0xFF};
}

/// Of a volume that is the controller's own.
[[nodiscard]] inline HostAddress volumeAddress(uint32_t word, bool isOemDriver) {
  const uint32_t low = word & 0x3FFF;
  return isOemDriver ? HostAddress{1, 0, low + 1} : HostAddress{1, low, 0};
}

/// Of a drive that the host sees as a disk: drives of two buses may share it.
/// @param index  BMIC drive index
[[nodiscard]] inline HostAddress driveAddress(uint32_t index) {
  return {0, index % 256 + 64, 0};
}

}  // namespace host::model
