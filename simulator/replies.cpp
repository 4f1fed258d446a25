// What a controller answers when it is asked for its limits, volumes and drives.
#include "simulator/replies.h"

#include <algorithm>

#include "simulator/drive_address.h"
#include "simulator/wire.h"

namespace simulator {
namespace {

void append(Bytes& report, const auto& entry) {
  const Bytes bytes = bytesOf(entry);
  report.insert(report.end(), bytes.begin(), bytes.end());
}

Bytes finishReport(Bytes report, uint8_t format) {
  wire::ReportHeader header{};
  header.listLength.set(static_cast<uint32_t>(report.size() - sizeof header));
  header.format = format;
  std::memcpy(report.data(), &header, sizeof header);
  return report;
}

uint16_t faultTolerance(RaidLevel level) {
  switch (level) {
    case RaidLevel::raid0:
      return 0;
    case RaidLevel::raid4:
      return 1;
    case RaidLevel::raid1:
    case RaidLevel::raid10:
      return 2;
    case RaidLevel::raid5:
      return 3;
    case RaidLevel::raid6:
      return 5;
  }
  return 0;
}

}  // namespace

Bytes identifyController(const ControllerModel& controller) {
  const auto& volumes = controller.config.volumes;
  const auto local = static_cast<size_t>(std::count_if(volumes.begin(), volumes.end(), [&](const Volume& volume) {
    return !volume.external && controller.present(volume);
  }));
  wire::IdentifyController reply{};
  reply.localVolumes = static_cast<uint8_t>(std::min<size_t>(local, wire::kManyVolumes));
  reply.localVolumes16 = static_cast<uint16_t>(local);
  reply.maxLogicalDrives = controller.config.maxLogicalDrivesSupported;
  reply.maxPhysicalDevices = controller.config.maxPhysDevicesSupported;
  reply.maxDrivesPerLogicalUnit = controller.config.maxPhysDrivesPerLogicalUnit;
  reply.extendedBlinkArray = controller.config.extendedBlinkArray ? 1 : 0;
  return bytesOf(reply);
}

Bytes reportLogicalLuns(const ControllerModel& controller) {
  Bytes report(sizeof(wire::ReportHeader));
  for (const Volume& volume : controller.config.volumes) {
    if (!controller.present(volume)) continue;
    wire::LunAddress address{};
    address.word = wire::kVolumeKind | (volume.number & wire::kVolumeNumberMask);
    append(report, address);
  }
  return finishReport(std::move(report), 0);
}

Bytes reportPhysicalLuns(const ControllerModel& controller, bool extended) {
  Bytes report(sizeof(wire::ReportHeader));
  for (const Drive& drive : controller.config.drives) {
    if (!controller.present(drive) || !drive.listed) continue;
    wire::ExtendedReportEntry entry{};
    entry.address.word = drive.exposed ? 0 : wire::kMaskedKind;
    entry.address.target = drive.target;
    entry.address.bus = drive.bus;
    std::copy(drive.wwid.begin(), drive.wwid.end(), entry.wwid);
    entry.deviceType = drive.deviceType;
    if (extended) {
      append(report, entry);
    } else {
      append(report, entry.address);
    }
  }
  return finishReport(std::move(report), extended ? wire::kExtendedReport : 0);
}

Bytes identifyLogicalDevice(const Volume& volume) {
  wire::IdentifyLogicalDevice reply{};
  reply.externalBoxId = volume.externalBoxId;
  reply.logicalDriveId = volume.logicalDriveId;
  putText(reply.label, volume.label, '\0');
  std::copy(volume.uniqueId.begin(), volume.uniqueId.end(), reply.uniqueVolumeId);
  return bytesOf(reply);
}

Bytes senseConfiguration(const ControllerModel& controller, const Volume& volume) {
  const size_t mapLength = controller.config.maxPhysDevicesSupported / 8;
  const auto& drives = controller.config.drives;
  wire::SenseConfiguration reply{};
  reply.controllerDrives = static_cast<uint16_t>(
      std::count_if(drives.begin(), drives.end(), [&](const Drive& drive) { return controller.present(drive); }));
  reply.memberDrives = static_cast<uint16_t>(volume.members.size());
  reply.faultTolerance = faultTolerance(volume.raidLevel);
  reply.membersAt = sizeof reply;
  reply.sparesAt = static_cast<uint16_t>(sizeof reply + mapLength);
  reply.totalLength = static_cast<uint32_t>(sizeof reply + 2 * mapLength);
  reply.maxPhysicalDevices = controller.config.maxPhysDevicesSupported;
  reply.maxDrivesPerLogicalUnit = controller.config.maxPhysDrivesPerLogicalUnit;
  reply.fixedLength = sizeof reply;

  Bytes bytes = bytesOf(reply, 2 * mapLength);
  const auto members = std::span<uint8_t>(bytes).subspan(sizeof reply, mapLength);
  for (const uint32_t member : volume.members) setBit(members, member);
  return bytes;
}

Bytes identifyPhysicalDevice(const Drive& drive) {
  wire::IdentifyPhysicalDevice reply{};
  putText(reply.serial, drive.serial, ' ');
  reply.box = drive.box;
  reply.bay = drive.bay;
  putText(reply.uniqueInquiryResponse, "SIMULATED DRIVE", ' ');
  reply.currentTemperature = drive.currentTemperature;
  reply.maximumTemperature = drive.maximumTemperature;
  putText(reply.switchName, "", ' ');
  putText(reply.connectorName, drive.port, '\0');
  std::copy(drive.wwid.begin(), drive.wwid.end(), reply.deviceId);
  reply.deviceId[8] = drive.bus;
  reply.deviceId[9] = drive.target;
  putText(reply.boxConnectorName, drive.port, '\0');
  return bytesOf(reply);
}

}  // namespace simulator
