// The member drives of a volume as the snapshot lists them.
#pragma once

#include <cstdint>

#include "controller/physical_drive.h"

namespace dmu {

/// Whether the volume's member drives can be told: one of the controller's own, with drives and a member map.
[[nodiscard]] inline bool hasKnownMembers(const OrvaInfo_Devices& device) {
  return isVolume(device.lunAddress) && device.raidMap != nullptr && device.physicalDisks != 0 && device.external == 0;
}

/// Drives that a change to the device concerns: a volume's members, or the one drive.
[[nodiscard]] inline int driveCount(const OrvaInfo_Devices& device) {
  return isVolume(device.lunAddress) ? device.physicalDisks : 1;
}

/// Calls `visit(drive, BMIC drive index)` for each masked drive of the snapshot that belongs to the volume, in list
/// order. The volume must have known members.
template <typename Visit>
void forEachListedMember(const OrvaInfo& info, const OrvaInfo_Devices& volume, Visit visit) {
  for (int32_t i = 0; i < info.deviceCount; ++i) {
    const OrvaInfo_Devices& drive = info.devices[i];
    if (kindOf(drive.lunAddress) != DeviceKind::maskedDrive) continue;
    const uint32_t index = driveIndex(drive.lunAddress);
    if (isMember(info, volume, index)) visit(drive, index);
  }
}

}  // namespace dmu
