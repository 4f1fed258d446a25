// Temperatures of a disk and of a volume's member drives, from the controller snapshot.
#include "services/drive_temperature.h"

#include <map>

#include "controller/device_lookup.h"
#include "plugin/memory_guard.h"
#include "plugin/trace.h"
#include "services/member_drives.h"
#include "services/open_controller.h"

namespace {

struct temperature {
  uint8_t currentTemperature = 0;
  uint8_t maximumTemperature = 0;
};

/// Temperatures by location text.
using TemperatureMap = std::map<std::string, temperature>;

TemperatureMap memberTemperatures(const OrvaInfo& info, const OrvaInfo_Devices& volume) {
  TemperatureMap temperatures;
  dmu::forEachListedMember(info, volume, [&](const OrvaInfo_Devices& drive, uint32_t /*index*/) {
    char location[128];
    dmu::formatLocation(location, sizeof(location), drive);
    temperature& value = temperatures[location];
    value.currentTemperature = drive.currentTemperature;
    value.maximumTemperature = drive.maximumTemperature;
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

int32_t deviceTemperature(const char* function, CtrlDevInfo& handle, DriveTemperature* temperatures, int32_t count,
                          std::string& error) {
  const dmu::OpenController controller(handle);
  OrvaInfo* info = controller.info();
  if (info == nullptr) {
    error = dmu::kControllerNotOpened;
    return -1;
  }
  OrvaInfo_Devices* device = OrvaInfo_LookForDev(info, &handle);
  if (device == nullptr) {
    error = dmu::kDeviceNotFound;
    return -1;
  }
  switch (dmu::kindOf(device->lunAddress)) {
    case dmu::DeviceKind::logicalVolume:
      if (device->external != 0) {
        DMU_TRACE(function, "Physical Location: external.\n");
        return 0;
      }
      return OrvaInfo_GetPhyDiskTempForVolume(info, device, temperatures, count, error);
    case dmu::DeviceKind::exposedDrive:
      temperatures[0] = {device->currentTemperature, device->maximumTemperature};
      return 1;
    case dmu::DeviceKind::maskedDrive:
    case dmu::DeviceKind::unexpected:
      return -1;
  }
  return -1;
}

}  // namespace

int32_t OrvaInfo_GetDeviceTemperature(CtrlDevInfo* handle, DriveTemperature* temperatures, int32_t count,
                                      std::string& error) {
  if (handle == nullptr || temperatures == nullptr) return -1;
  return dmu::unlessMemoryRunsOut(
      -1, [&, function = __func__] { return deviceTemperature(function, *handle, temperatures, count, error); });
}

int32_t OrvaInfo_GetPhyDiskTempForVolume(OrvaInfo* info, OrvaInfo_Devices* volume, DriveTemperature* temperatures,
                                         int32_t count, std::string& /*error*/) {
  if (info == nullptr || volume == nullptr) return 0;
  if (temperatures == nullptr && count != 0) return -1;
  if (!dmu::hasKnownMembers(*volume)) return 0;
  return dmu::unlessMemoryRunsOut(
      -1, [&, function = __func__] { return volumeTemperatures(function, *info, *volume, temperatures, count); });
}
