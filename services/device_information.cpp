// Device information from the controller snapshot.
#include "services/device_information.h"

#include "plugin/trace.h"
#include "services/location_text.h"
#include "services/service_frame.h"

namespace {

constexpr uint8_t kExternalVolumeDisks = 1;

void describeVolume(const char* function, const OrvaInfo_Devices& volume, DmuDeviceInfo& deviceInfo) {
  deviceInfo.deviceType = kDmuLogicalVolume;
  if (volume.external != 0) {
    DMU_TRACE(function, "Physical location: external\n");
    deviceInfo.physicalDisks = kExternalVolumeDisks;
    deviceInfo.raidLevel = kDmuRaidLevelUnknown;
  } else {
    deviceInfo.physicalDisks = volume.physicalDisks;
    deviceInfo.raidLevel = volume.raidLevel;
  }
}

int describeDevice(const char* function, const OrvaInfo_Devices& device, DmuDeviceInfo& deviceInfo,
                   std::string& error) {
  switch (dmu::kindOf(device.lunAddress)) {
    case dmu::DeviceKind::logicalVolume:
      describeVolume(function, device, deviceInfo);
      return 0;
    case dmu::DeviceKind::exposedDrive:
      DMU_TRACE(function, "Physical Location: %s%s\n", dmu::kLocationPrefix, dmu::DrivePlace(device).text);
      deviceInfo.deviceType = kDmuPhysicalDisk;
      return 0;
    case dmu::DeviceKind::maskedDrive:
    case dmu::DeviceKind::unexpected:
      break;
  }
  error = dmu::kMaskedDevice;
  return -1;
}

}  // namespace

int OrvaInfo_GetDeviceInfo(CtrlDevInfo* handle, DmuDeviceInfo* deviceInfo, std::string& error) {
  if (handle == nullptr || deviceInfo == nullptr) return -1;
  return dmu::withDevice(*handle, error,
                         [&, function = __func__](const OrvaInfo& /*info*/, const OrvaInfo_Devices& device) {
                           return describeDevice(function, device, *deviceInfo, error);
                         });
}
