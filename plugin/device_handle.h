// A device handle: what an open function keeps of a disk, for the operations to find it by.
#pragma once

#include <cstdint>
#include <string>

/// One handle, from a successful open to its close. The services only read it.
struct CtrlDevInfo {
  uint32_t channel;  ///< where the host sees the disk
  uint32_t target;
  uint32_t lun;
  char devName[50];          ///< name below "/dev/disks/", terminated; empty unless opened with the second function
  char hbaName[50];          ///< the controller's name, terminated
  std::string serialNumber;  ///< empty when not read
};
