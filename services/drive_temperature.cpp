// Temperatures of a disk and of a volume's member drives, from the controller snapshot.
#include "services/drive_temperature.h"

#include <map>

#include "plugin/trace.h"
#include "services/location_text.h"
#include "services/member_drives.h"
#include "services/service_frame.h"

namespace {

struct temperature {
  uint8_t currentTemperature = 0;
  uint8_t maximumTemperature = 0;
};

/// Temperatures by location text.
using TemperatureMap = std::map<dmu::LocationText, temperature>;

TemperatureMap memberTemperatures(const OrvaInfo& info, const OrvaInfo_Devices& volume) {
  TemperatureMap temperatures;
  dmu::forEachListedMember(info, volume, [&](const OrvaInfo_Devices& drive, uint32_t /*index*/) {
    temperatures[dmu::LocationText(drive)] = {drive.currentTemperature, drive.maximumTemperature};
  });
  return temperatures;
}

int32_t volumeTemperatures(const char* function, const OrvaInfo& info, const OrvaInfo_Devices& volume,
                           DriveTemperature* temperatures, int32_t count) {
  const TemperatureMap members = memberTemperatures(info, volume);
  if (count == 0) {
    for (const auto& [location, value] : members) {
      DMU_TRACE(function, "\tCurrentTemperature: %u ", value.currentTemperature);
      DMU_TRACE(function, "\tMaximumTemperature: %u\n", value.maximumTemperature);
    }
    return 0;
  }
  int32_t stored = 0;
  for (const auto& [location, value] : members) {
    if (stored >= count) break;
    temperatures[stored] = {value.currentTemperature, value.maximumTemperature};
    ++stored;
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
