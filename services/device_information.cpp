// Device information from the controller snapshot.
#include "services/device_information.h"

#include "controller/device_lookup.h"
#include "plugin/memory_guard.h"
#include "plugin/trace.h"
#include "services/member_drives.h"
#include "services/open_controller.h"

namespace {

constexpr uint32_t kVolume = 1;
constexpr uint32_t kPhysicalDisk = 2;
constexpr uint8_t kExternalVolumeDisks = 1;
constexpr uint32_t kUnknownRaidLevel = 255;

int getDeviceInfo(const char* function, CtrlDevInfo& handle, DmuDeviceInfo& deviceInfo, std::string& error) {
  const dmu::OpenController controller(handle);
  if (controller.info() == nullptr) {
    error = dmu::kControllerNotOpened;
    return -1;
  }
  const OrvaInfo_Devices* device = OrvaInfo_LookForDev(controller.info(), &handle);
  if (device == nullptr) {
    error = dmu::kDeviceNotFound;
    return -1;
  }
  switch (dmu::kindOf(device->lunAddress)) {
    case dmu::DeviceKind::logicalVolume:
      deviceInfo.deviceType = kVolume;
      if (device->external != 0) {
        DMU_TRACE(function, "Physical location: external\n");
        deviceInfo.physicalDisks = kExternalVolumeDisks;
        deviceInfo.raidLevel = kUnknownRaidLevel;
      } else {
        deviceInfo.physicalDisks = device->physicalDisks;
        deviceInfo.raidLevel = device->raidLevel;
      }
      return 0;
    case dmu::DeviceKind::exposedDrive:
      DMU_TRACE(function, "Physical Location: port:box:bay %.8s:%u:%u\n", device->portName, device->box, device->bay);
      deviceInfo.deviceType = kPhysicalDisk;
      return 0;
    case dmu::DeviceKind::maskedDrive:
    case dmu::DeviceKind::unexpected:
      error = dmu::kMaskedDevice;
      return -1;
  }
  return -1;
}

}  // namespace

int OrvaInfo_GetDeviceInfo(CtrlDevInfo* handle, DmuDeviceInfo* deviceInfo, std::string& error) {
  if (handle == nullptr || deviceInfo == nullptr) return -1;
  return dmu::unlessMemoryRunsOut(
      -1, [&, function = __func__] { return getDeviceInfo(function, *handle, *deviceInfo, error); });
}
