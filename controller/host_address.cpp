// The driver's numbering of volumes and exposed drives for the host.
#include "controller/host_address.h"

#include "channel/oem_driver.h"

namespace {

constexpr uint32_t kExposedDriveChannel = 0;
constexpr uint32_t kLocalVolumeChannel = 1;
constexpr uint32_t kExternalVolumeChannel = 3;
constexpr uint32_t kFirstExposedDriveTarget = 64;

void setAddress(OrvaInfo_Devices& entry, uint32_t channel, uint32_t target, uint32_t lun) {
  entry.channel = channel;
  entry.target = target;
  entry.lun = lun;
}

void setVolumeAddress(OrvaInfo_Devices& volume) {
  const uint32_t word = dmu::addressWord(volume.lunAddress);
  if (volume.external != 0) {
    setAddress(volume, kExternalVolumeChannel, word >> 16 & 0x3FFF, word & 0xFF);
  } else if (IsOEMDriver() != 0) {
    setAddress(volume, kLocalVolumeChannel, 0, (word & 0x3FFF) + 1);
  } else {
    setAddress(volume, kLocalVolumeChannel, word & 0x3FFF, 0);
  }
}

}  // namespace

void OrvaInfo_SetBTL(OrvaInfo_Devices* entry) {
  if (entry == nullptr) return;
  switch (dmu::kindOf(entry->lunAddress)) {
    case dmu::DeviceKind::logicalVolume:
      setVolumeAddress(*entry);
      return;
    case dmu::DeviceKind::exposedDrive:
      setAddress(*entry, kExposedDriveChannel, entry->lunAddress.bytes[6] + kFirstExposedDriveTarget, 0);
      return;
    case dmu::DeviceKind::maskedDrive:
    case dmu::DeviceKind::unexpected:
      return;
  }
}
