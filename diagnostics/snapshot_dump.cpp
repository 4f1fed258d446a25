// The lines of the dump, in their order.
#include "diagnostics/snapshot_dump.h"

#include <string>

#include "plugin/trace.h"
#include "services/drive_temperature.h"
#include "services/physical_location.h"

namespace {

void dumpIdentity(const char* function, const OrvaInfo_Devices& device, int number) {
  DMU_TRACE(function, "%2d. ", number);
  DMU_TRACE(function, "%p  ", static_cast<const void*>(&device));
  DMU_TRACE(function, "Serial No[%d]: ", device.serialNoLength);
  for (uint32_t i = 0; i < device.serialNoLength; ++i) DMU_TRACE(function, "%c", device.serialNo[i]);
  DMU_TRACE(function, "\nDevice ID[%d]: ", device.deviceIdLength);
  for (uint32_t i = 0; i < device.deviceIdLength; ++i) DMU_TRACE(function, "%02x", device.deviceId[i]);
  DMU_TRACE(function, "\nPath: C%d:T%d:L%d\n", device.channel, device.target, device.lun);
}

void dumpVolume(const char* function, OrvaInfo& info, OrvaInfo_Devices& volume) {
  const uint8_t* id = volume.uuid;
  DMU_TRACE(function, " UUID: %02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x ", id[0], id[1], id[2],
            id[3], id[4], id[5], id[6], id[7], id[8], id[9], id[10], id[11], id[12], id[13], id[14], id[15]);
  DMU_TRACE(function, " Logical Drive ID: 0x%x\n", volume.logicalDriveId);
  DMU_TRACE(function, " RAID mode : %s\n", volume.raidMode);
  DMU_TRACE(function, " RAID level : 0x%x\n", volume.raidLevel);
  DMU_TRACE(function, " LunID: %d\n", volume.lun);
  if (volume.external != 0) {
    DMU_TRACE(function, " ExternalBoxId: %d\n", volume.box);
    return;
  }
  DMU_TRACE(function, " Physical Disks: %d\n", volume.physicalDisks);
  std::string dropped;
  (void)OrvaInfo_GetPhyLocationForVolume(&info, &volume, nullptr, 0, dropped);
  (void)OrvaInfo_GetPhyDiskTempForVolume(&info, &volume, nullptr, 0, dropped);
}

void dumpDrive(const char* function, const OrvaInfo_Devices& drive) {
  const uint8_t* id = drive.wwid;
  DMU_TRACE(function, " WWID: %02x%02x%02x%02x%02x%02x%02x%02x ", id[0], id[1], id[2], id[3], id[4], id[5], id[6],
            id[7]);
  DMU_TRACE(function, "Port:Box:Bay %.8s:%u:%u\n", drive.portName, drive.box, drive.bay);
  DMU_TRACE(function, "\tCurrentTemperature: %u MaximumTemperature: %u\n", drive.currentTemperature,
            drive.maximumTemperature);
}

}  // namespace

int32_t OrvaInfo_DumpOrvaInfo(OrvaInfo* info) {
  DMU_TRACE(__func__, "------------Dumping Orva Info:\n");
  DMU_TRACE(__func__, "Slot = %d, primarySlotNumber = %d\n", info->slot, info->primarySlotNumber);
  DMU_TRACE(__func__, "MaxPhysDevicesSupported: %d\n", info->maxPhysDevicesSupported);
  DMU_TRACE(__func__, "Total disks : %d\n", info->deviceCount);
  for (int32_t i = 0; i < info->deviceCount; ++i) {
    OrvaInfo_Devices& device = info->devices[i];
    dumpIdentity(__func__, device, i + 1);
    if (dmu::isVolume(device.lunAddress)) {
      dumpVolume(__func__, *info, device);
    } else {
      dumpDrive(__func__, device);
    }
  }
  return 0;
}

void OrvaInfo_DumpArray(const uint8_t* data, int32_t length) {
  if (data == nullptr) return;
  for (int32_t i = 0; i < length; ++i) {
    DMU_TRACE(__func__, "%02x", data[i]);
    if ((i & 7) == 7) DMU_TRACE(__func__, "\n");
  }
}
