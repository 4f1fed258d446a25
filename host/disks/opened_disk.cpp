// Opens a disk through the plugin and fills its record.
#include "host/disks/opened_disk.h"

#include "host/disks/serial_number.h"

namespace host {
namespace {

void reportNotOpened(Report& report, DiskRecord& record, Named named) {
  if (record.disk.driver == kDmuDriver) {
    report.failed(record, "open", "the plugin opened no handle");
    return;
  }
  if (named == Named::no) {
    record.note = "another driver's disk (" + record.disk.driver + ")";
    return;
  }
  report.failed(record, "open",
                "another driver's disk: " + record.disk.driver + " presents it, the plugin serves " + kDmuDriver);
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
  if (information.deviceType == kDmuLogicalVolume) {
    opened.record.kind = DiskKind::volume;
    opened.record.members = information.physicalDisks;
    opened.record.raidLevel = raidLevelOf(information.raidLevel, information.physicalDisks);
  } else if (information.deviceType == kDmuPhysicalDisk) {
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

std::optional<std::vector<Place>> askPlaces(Session& session, OpenedDisk& opened) {
  if (!opened.isKnown()) return std::nullopt;
  auto answer = places(opened.handle);
  if (!answer.value) session.report().failed(opened.record, "location", answer.error);
  return std::move(answer.value);
}

}  // namespace host
