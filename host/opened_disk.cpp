// Opens a disk through the plugin and fills its record.
#include "host/opened_disk.h"

#include "host/serial_number.h"

namespace host {
namespace {

/// The one driver whose disks the plugin opens.
constexpr const char* kServedDriver = "veltrane";

DmuDeviceOpenInfo openInfoOf(const HostDisk& disk) {
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

DeviceHandle openHandle(const DmuPluginDescriptor& plugin, const HostDisk& disk) {
  const DmuDeviceOpenInfo info = openInfoOf(disk);
  CtrlDevInfo* handle = nullptr;
  const int32_t result = plugin.openDeviceV2(&info, &handle);
  return {plugin, result == 0 ? handle : nullptr};
}

void reportNotOpened(Report& report, DiskRecord& record, Named named) {
  if (record.disk.driver == kServedDriver) {
    report.failed(record, "open", "the plugin opened no handle");
    return;
  }
  const std::string text =
      "another driver's disk: " + record.disk.driver + " presents it, the plugin serves " + kServedDriver;
  if (named == Named::yes) {
    report.failed(record, "open", text);
  } else {
    record.note = text;
  }
}

void readSerial(Report& report, OpenedDisk& opened) {
  SerialAnswer answer = readSerialNumber(opened.record.disk.device);
  opened.record.serial = std::move(answer.serial);
  const bool isServed = opened.handle.get() != nullptr;
  if (isServed && !answer.error.empty()) report.failed(opened.record, "serial number", answer.error);
}

void readInformation(Report& report, OpenedDisk& opened) {
  const Answer<DmuDeviceInfo> answer = deviceInformation(opened.handle);
  if (!answer.value) {
    report.failed(opened.record, "device information", answer.error);
    return;
  }
  const DmuDeviceInfo& information = *answer.value;
  if (information.deviceType == 1) {
    opened.record.kind = DiskKind::volume;
    opened.record.members = information.physicalDisks;
    opened.record.raidLevel = raidLevelOf(information.raidLevel, information.physicalDisks);
  } else if (information.deviceType == 2) {
    opened.record.kind = DiskKind::disk;
  } else {
    report.failed(opened.record, "device information",
                  "the plugin answered with device type " + std::to_string(information.deviceType));
  }
}

}  // namespace

OpenedDisk openDisk(Session& session, const HostDisk& disk, Named named) {
  OpenedDisk opened{DiskRecord{disk, {}, {}, {}, {}, {}, {}}, openHandle(session.plugin(), disk)};
  const bool isServed = opened.handle.get() != nullptr;
  if (!isServed) reportNotOpened(session.report(), opened.record, named);
  readSerial(session.report(), opened);
  if (isServed) readInformation(session.report(), opened);
  return opened;
}

}  // namespace host
