// What a volume is: its identity, and its RAID level and member drives.
#pragma once

#include <cstddef>
#include <cstdint>

#include "controller/snapshot.h"

/// Reply of sense logical drive configuration: this fixed part, then two bitmaps with one bit for each BMIC drive
/// index. Little-endian; the bytes between the fields are not read.
///
///   offset  width  field
///        8  u16    ControllerPhysicalDriveCount
///       10  u16    LogicalUnitPhysicalDriveCount    member drives of the volume
///       12  u16    faultTolerance                   see OrvaInfo_RAIDLevel
///      250  u16    OffsetToEDABitmap                bytes from the start of the reply to the member bitmap
///      252  u16    OffsetToESABitmap                the second bitmap, of the same size
///      256  u32    TotalStructureLength
///      260  u16    MaxPhysicalDevicesSupported      bits of each bitmap
///      262  u16    MaxPhysicalDrivesPerLogicalUnit
///      264  u32    FixedFiledsLength
struct [[gnu::packed]] vlexSenseConfiguration {
  uint8_t unread1[8];
  uint16_t ControllerPhysicalDriveCount;
  uint16_t LogicalUnitPhysicalDriveCount;
  uint16_t faultTolerance;
  uint8_t unread2[236];
  uint16_t OffsetToEDABitmap;
  uint16_t OffsetToESABitmap;
  uint8_t unread3[2];
  uint32_t TotalStructureLength;
  uint16_t MaxPhysicalDevicesSupported;
  uint16_t MaxPhysicalDrivesPerLogicalUnit;
  uint32_t FixedFiledsLength;
  uint8_t unread4[32];
};
static_assert(offsetof(vlexSenseConfiguration, ControllerPhysicalDriveCount) == 8);
static_assert(offsetof(vlexSenseConfiguration, LogicalUnitPhysicalDriveCount) == 10);
static_assert(offsetof(vlexSenseConfiguration, faultTolerance) == 12);
static_assert(offsetof(vlexSenseConfiguration, OffsetToEDABitmap) == 250);
static_assert(offsetof(vlexSenseConfiguration, OffsetToESABitmap) == 252);
static_assert(offsetof(vlexSenseConfiguration, TotalStructureLength) == 256);
static_assert(offsetof(vlexSenseConfiguration, MaxPhysicalDevicesSupported) == 260);
static_assert(offsetof(vlexSenseConfiguration, MaxPhysicalDrivesPerLogicalUnit) == 262);
static_assert(offsetof(vlexSenseConfiguration, FixedFiledsLength) == 264);
static_assert(sizeof(vlexSenseConfiguration) == 300);

extern "C" {

/// Fills the volume's unique id, logical drive id and external box id with identify logical device.
/// @param entry  its `lunAddress` set
/// @return 0; the command's nonzero result; -1 for a null argument, a closed channel or no memory. The entry is
///         unchanged on failure.
int OrvaInfo_IdentifyLogicalDevice(OrvaInfo* info, OrvaInfo_Devices* entry);

/// Fills the volume's member count, RAID level and member map with sense logical drive configuration. A reply whose
/// limits are not the snapshot's, or whose bitmap does not fit even when asked for a second time, gives no map.
/// @return 0 when the command succeeded; the command's nonzero result; -1 for a null argument, a closed channel, no
///         memory for the command or an entry that is no volume
int OrvaInfo_SenseConfiguration(OrvaInfo* info, OrvaInfo_Devices* entry);

/// @return a DmuRaidLevel; kDmuRaidLevelUnknown for a fault tolerance that is not known
int OrvaInfo_RAIDLevel(vlexSenseConfiguration* reply);
}
