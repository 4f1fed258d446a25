// Opens a disk through the plugin and fills its record.
#include "host/disks/opened_disk.h"

#include "host/disks/disk_drives.h"
#include "host/disks/serial_number.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

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
  SerialAnswer answer = serialNumberOf(opened.record.disk);
  opened.record.serial = std::move(answer.serial);
  const bool isServed = opened.handle.get() != nullptr;
  if (isServed && !answer.error.empty()) report.failed(opened.record, "serial number", answer.error);
}

/// The controller's own account of a volume: members that are missing, and their number, which the plugin passes on.
void compareWithController(Session& session, DiskRecord& record) {
  const model::Volume* volume = session.controllers().volumeOf(record.disk);
  if (volume == nullptr || volume->isExternal) return;
  const model::Controller& controller = *session.controllers().find(record.disk.hba);
  if (volume->members) record.missing = static_cast<uint32_t>(missingMembers(controller, *volume).size());
  const uint32_t reported = volume->memberCount.value_or(0) & 0xFF;  // as much of it as the plugin has room for
  if (record.members == reported) return;
  session.report().failed(record, "device information",
                          "the plugin answers with " + counted(record.members.value_or(0), "member") +
                              ", the controller reported " + std::to_string(reported));
}

void readInformation(Session& session, OpenedDisk& opened) {
  Report& report = session.report();
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
    compareWithController(session, opened.record);
  } else if (information.deviceType == kDmuPhysicalDisk) {
    opened.record.kind = DiskKind::disk;
  } else {
    report.failed(opened.record, "device information",
                  "the plugin answered with device type " + std::to_string(information.deviceType));
  }
}

std::string listOrNothing(const std::vector<std::string>& texts) {
  return texts.empty() ? "nothing" : joined(texts);
}

}  // namespace

OpenedDisk openDisk(Session& session, const HostDisk& disk, Named named) {
  OpenedDisk opened{{}, openHandle(session.plugin(), disk), named};
  opened.record.disk = disk;
  const bool isServed = opened.handle.get() != nullptr;
  if (!isServed) reportNotOpened(session.report(), opened.record, named);
  readSerial(session.report(), opened);
  if (isServed) readInformation(session, opened);
  return opened;
}

std::vector<DiskRecord> recordsOfAllDisks(Session& session) {
  const std::vector<HostDisk>& disks = session.disks();
  Activity activity(disks.size(), "disks");
  std::vector<DiskRecord> records;
  for (const HostDisk& disk : disks) {
    records.push_back(openDisk(session, disk, Named::no).record);
    activity.advance();
  }
  return records;
}

std::optional<std::vector<Place>> askPlaces(Session& session, OpenedDisk& opened) {
  if (!opened.isKnown()) return std::nullopt;
  const Activity activity(opened.record.missing.value_or(0), "missing members", Activity::Steps::askedDrives);
  auto answer = places(opened.handle);
  if (!answer.value) {
    session.report().failed(opened.record, "location", answer.error);
    return std::nullopt;
  }
  std::vector<std::string> texts;
  for (const Place& place : *answer.value) texts.push_back(place.text);
  const auto expected = expectedLocations(session, opened.record);
  if (expected && texts != *expected) {
    session.report().failed(
        opened.record, "location",
        "the plugin answers with " + listOrNothing(texts) + ", the controller reported " + listOrNothing(*expected));
  }
  return std::move(answer.value);
}

}  // namespace host
