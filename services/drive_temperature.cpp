// Temperatures of a disk and of a volume's member drives, from the controller snapshot.
#include "services/drive_temperature.h"

#include <algorithm>
#include <compare>
#include <vector>

#include "plugin/trace.h"
#include "services/location_text.h"
#include "services/member_drives.h"
#include "services/service_frame.h"

namespace {

/// A member drive beside the text that orders it.
struct PlacedDrive {
  explicit PlacedDrive(const OrvaInfo_Devices* member) : place(*member), drive(member) {}

  dmu::DrivePlace place;
  const OrvaInfo_Devices* drive;
};

/// In the order of their texts, of drives with the same text the last listed one first.
bool operator<(const PlacedDrive& left, const PlacedDrive& right) {
  const auto order = left.place <=> right.place;
  return std::is_neq(order) ? std::is_lt(order) : left.drive > right.drive;
}

bool haveSameText(const PlacedDrive& left, const PlacedDrive& right) {
  return std::is_eq(left.place <=> right.place);
}

/// The volume's member drives in the order of their texts; of those with the same text the last listed one.
std::vector<PlacedDrive> placedMembers(const OrvaInfo& info, const OrvaInfo_Devices& volume) {
  const dmu::ListedMembers members(info, volume);
  std::vector<PlacedDrive> placed;
  placed.reserve(members.size());
  for (const OrvaInfo_Devices* drive : members) placed.emplace_back(drive);
  std::sort(placed.begin(), placed.end());
  placed.erase(std::unique(placed.begin(), placed.end(), haveSameText), placed.end());
  return placed;
}

int32_t volumeTemperatures(const char* function, const OrvaInfo& info, const OrvaInfo_Devices& volume,
                           DriveTemperature* temperatures, int32_t count) {
  const std::vector<PlacedDrive> members = placedMembers(info, volume);
  if (count == 0) {
    for (const PlacedDrive& member : members) {
      DMU_TRACE(function, "\tCurrentTemperature: %u ", member.drive->currentTemperature);
      DMU_TRACE(function, "\tMaximumTemperature: %u\n", member.drive->maximumTemperature);
    }
    return 0;
  }
  const int32_t stored = std::min(static_cast<int32_t>(members.size()), std::max(count, 0));
  for (int32_t k = 0; k < stored; ++k) {
    const OrvaInfo_Devices& drive = *members[static_cast<size_t>(k)].drive;
    temperatures[k] = {drive.currentTemperature, drive.maximumTemperature};
  }
  return stored;
}

int32_t deviceTemperature(const char* function, OrvaInfo& info, OrvaInfo_Devices& device,
                          DriveTemperature* temperatures, int32_t count, std::string& error) {
  switch (dmu::kindOf(device.lunAddress)) {
    case dmu::DeviceKind::logicalVolume:
      if (device.external != 0) {
        DMU_TRACE(function, "Physical Location: external.\n");
        return 0;
      }
      return OrvaInfo_GetPhyDiskTempForVolume(&info, &device, temperatures, count, error);
    case dmu::DeviceKind::exposedDrive:
      temperatures[0] = {device.currentTemperature, device.maximumTemperature};
      return 1;
    case dmu::DeviceKind::maskedDrive:
    case dmu::DeviceKind::unexpected:
      break;
  }
  return -1;
}

}  // namespace

int32_t OrvaInfo_GetDeviceTemperature(CtrlDevInfo* handle, DriveTemperature* temperatures, int32_t count,
                                      std::string& error) {
  if (handle == nullptr || temperatures == nullptr) return -1;
  return dmu::withDevice(*handle, error, [&, function = __func__](OrvaInfo& info, OrvaInfo_Devices& device) {
    return deviceTemperature(function, info, device, temperatures, count, error);
  });
}

int32_t OrvaInfo_GetPhyDiskTempForVolume(OrvaInfo* info, OrvaInfo_Devices* volume, DriveTemperature* temperatures,
                                         int32_t count, std::string& /*error*/) {
  if (info == nullptr || volume == nullptr) return 0;
  if (temperatures == nullptr && count != 0) return -1;
  if (!dmu::hasKnownMembers(*volume)) return 0;
  return dmu::unlessMemoryRunsOut(
      -1, [&, function = __func__] { return volumeTemperatures(function, *info, *volume, temperatures, count); });
}
