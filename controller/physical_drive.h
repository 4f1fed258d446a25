// What a physical drive is: its index in BMIC commands, its identity, its place and its temperatures.
#pragma once

#include <cstdint>

#include "controller/snapshot.h"

namespace dmu {

/// What OrvaInfo_GetBMICDeviceIndex answers for a device that has no index.
inline constexpr uint32_t kNoDriveIndex = 0xFFFFFFFF;

/// The BMIC drive index of a physical drive, of whatever kind: 256 targets on each bus, of which the first is bus 1.
[[nodiscard]] constexpr uint32_t driveIndex(const vlexCmdLunAddress& drive) {
  const auto busAndTarget = static_cast<uint32_t>(drive.bytes[7] << 8 | drive.bytes[6]) & 0x3FFF;
  return busAndTarget - 256;
}

}  // namespace dmu

extern "C" {

/// @return the BMIC drive index; kNoDriveIndex for null or a volume. A bus number of 0 gives an index far above every
///         controller's limit.
uint32_t OrvaInfo_GetBMICDeviceIndex(const vlexCmdLunAddress* address);

/// Fills the drive's entry with identify physical device for the index of its own address, whatever that is.
/// @return as OrvaInfo_IdentifyPhysicalDevieWithBMICInex
int OrvaInfo_IdentifyPhysicalDevice(OrvaInfo* info, OrvaInfo_Devices* entry);

/// Fills serial number, device id, port, box, bay and temperatures of the entry from the drive with the given index.
/// @return 0; the command's nonzero result; -1 for a null argument, a closed channel or no memory. The entry is
///         unchanged on failure.
int OrvaInfo_IdentifyPhysicalDevieWithBMICInex(OrvaInfo* info, OrvaInfo_Devices* entry, int index);

/// Stores a blank-padded serial number without its leading blanks and its unprintable tail; blanks before that tail
/// stay.
/// @param text    `length` bytes
/// @param length  bytes; at most 63 characters are stored
/// @return 0; -1 when nothing was stored: no text is left, or an argument is null
int OrvaInfo_ParseSerialNo(unsigned char* text, unsigned char length, OrvaInfo_Devices* entry);
}
