// Fills the record from what the host knows.
#include "host/disks/open_record.h"

namespace host {

DmuDeviceOpenInfo openRecordOf(const HostDisk& disk) {
  DmuDeviceOpenInfo info{};
  info.devName = disk.device.c_str();
  info.hba = disk.hba.c_str();
  info.channel = disk.channel;
  info.target = disk.target;
  info.lun = disk.lun;
  info.driver = disk.driver.c_str();
  info.isPciDevice = disk.pci.isPciDevice ? 1 : 0;
  info.segment = disk.pci.segment;
  info.busId = disk.pci.bus;
  info.slotId = disk.pci.slot;
  info.functionId = disk.pci.function;
  info.vendorId = disk.pci.vendorId;
  info.subVendorId = disk.pci.subVendorId;
  info.deviceId = disk.pci.deviceId;
  info.subDeviceId = disk.pci.subDeviceId;
  info.physicalSlot = disk.pci.physicalSlot;
  return info;
}

}  // namespace host
