// The snapshot of one controller: its limits and its devices. This room fills it from the controller (see
// snapshot_cache.h for where that begins) and finds devices in it; everybody else only reads it.
#pragma once

#include <cstdint>
#include <ctime>

#include "controller/lun_address.h"

/// One device. Fields that a failed or skipped command did not fill are zero. "Drive" stands for every kind but a
/// logical volume.
struct OrvaInfo_Devices {
  vlexCmdLunAddress lunAddress;  ///< as reported; of a volume bytes 0 to 3 alone
  char serialNo[64];             ///< drive: trimmed serial number, terminated
  uint8_t serialNoLength;        ///< drive: characters in `serialNo`
  uint8_t deviceId[64];          ///< drive: the first `deviceIdLength` bytes are valid
  uint8_t deviceIdLength;        ///< drive: 16 once identified
  uint8_t wwid[8];               ///< drive: from an extended report, in its byte order
  uint8_t uuid[16];              ///< volume: unique volume identifier, in reply byte order
  char portName[8];              ///< drive: connector name; not terminated when it fills the field
  uint8_t box;                   ///< drive: box on that port; volume: external box id
  uint8_t bay;                   ///< drive: bay in the box
  uint8_t physicalDisks;         ///< volume: number of member drives
  uint8_t external;              ///< volume: 1 when it is not one of the controller's own
  uint32_t logicalDriveId;       ///< volume
  uint32_t channel;              ///< volume and exposed drive: where the host sees it
  uint32_t target;
  uint32_t lun;
  uint8_t* raidMap;            ///< volume: owned member map (see isMember), allocated with malloc; null when unknown
  char raidMode[16];           ///< always empty
  uint32_t raidLevel;          ///< volume: a DmuRaidLevel
  uint8_t currentTemperature;  ///< drive: as the controller reports it
  uint8_t maximumTemperature;  ///< drive
};

namespace dmu {
inline constexpr int32_t kMaxDevices = 1088;
}

/// One controller. Allocated and owned by the snapshot cache as one zero-filled block.
struct OrvaInfo {
  uint32_t slot;                               ///< instance number in the driver, 0 to 9; the place in the cache
  uint8_t primarySlotNumber;                   ///< always 0
  char hbaName[33];                            ///< terminated; empty while the snapshot is not valid
  time_t lastUpdate;                           ///< end of the last successful rebuild
  OrvaInfo_Devices devices[dmu::kMaxDevices];  ///< volumes first, then drives, each in report order
  int32_t deviceCount;                         ///< filled entries
  uint8_t ctrlFlags;                           ///< kExtendedBlinkArray or 0
  uint16_t configuredLogicalDrives;            ///< the controller's own; volumes listed beyond them are external
  uint16_t maxPhysDevicesSupported;            ///< exclusive bound of a BMIC drive index, bits of a member map
  uint16_t maxPhysDrivesPerLogicalUnit;
  uint16_t maxLogicalDrivesSupported;
};

#ifdef __i386__
static_assert(sizeof(OrvaInfo) <= 320 * 1024);
static_assert(sizeof(time_t) == 4, "the record's time is the platform's, 32 bits wide; no _TIME_BITS here");
#endif

namespace dmu {

/// Bit of `ctrlFlags`: the controller takes the extended blink-enable array.
inline constexpr uint8_t kExtendedBlinkArray = 2;

/// Whether bit `n` of a bitmap is set, bit 0 being the least significant of byte 0.
[[nodiscard]] constexpr bool testBit(const uint8_t* bitmap, uint32_t n) {
  return (bitmap[n / 8] >> (n % 8) & 1) != 0;
}

constexpr void setBit(uint8_t* bitmap, uint32_t n) {
  bitmap[n / 8] = static_cast<uint8_t>(bitmap[n / 8] | 1 << n % 8);
}

constexpr void clearBit(uint8_t* bitmap, uint32_t n) {
  bitmap[n / 8] = static_cast<uint8_t>(bitmap[n / 8] & ~(1 << n % 8));
}

/// Bytes of every member map of the controller. Bits beyond the last whole byte are not kept and count as clear.
[[nodiscard]] constexpr uint32_t memberMapSize(const OrvaInfo& info) {
  return info.maxPhysDevicesSupported / 8;
}

/// Whether the drive with this BMIC drive index belongs to the volume, which must have a `raidMap`.
[[nodiscard]] constexpr bool isMember(const OrvaInfo& info, const OrvaInfo_Devices& volume, uint32_t driveIndex) {
  return driveIndex < memberMapSize(info) * 8 && testBit(volume.raidMap, driveIndex);
}

}  // namespace dmu
