// The search for a handle's device.
#include "controller/device_lookup.h"

#include <cstring>

#include "plugin/device_handle.h"
#include "plugin/trace.h"

OrvaInfo_Devices* OrvaInfo_LookForDev(OrvaInfo* info, CtrlDevInfo* handle) {
  if (info == nullptr || handle == nullptr) return nullptr;
  const std::string& serial = handle->serialNumber;
  DMU_TRACE(__func__, "OrvaInfo_LookForDev sn:%s C%d:T%d:L%d\n", serial.c_str(), handle->channel, handle->target,
            handle->lun);
  for (int32_t i = 0; i < info->deviceCount; ++i) {
    OrvaInfo_Devices& entry = info->devices[i];
    DMU_TRACE(__func__, "SN:%s length:%d index:%d C%d:T%d:L%d\n", entry.serialNo, entry.serialNoLength, i,
              entry.channel, entry.target, entry.lun);
    const dmu::DeviceKind kind = dmu::kindOf(entry.lunAddress);
    switch (kind) {
      case dmu::DeviceKind::logicalVolume:
        if (entry.channel == handle->channel && entry.target == handle->target && entry.lun == handle->lun) {
          return &entry;
        }
        break;
      case dmu::DeviceKind::exposedDrive:
        if (serial.empty()) {
          DMU_TRACE(__func__, "Target physical dev has no sn -> C%d:T%d:L%d\n", entry.channel, entry.target, entry.lun);
          return nullptr;
        }
        DMU_TRACE(__func__, "SN:%s length:%d index:%d\n", entry.serialNo, entry.serialNoLength, i);
        if (std::strncmp(serial.c_str(), entry.serialNo, serial.size()) == 0) return &entry;
        break;
      case dmu::DeviceKind::maskedDrive:
      case dmu::DeviceKind::unexpected:
        DMU_TRACE(__func__, "Error mode:%d -> sn:%s C%d:T%d:L%d\n", static_cast<int>(kind), entry.serialNo,
                  entry.channel, entry.target, entry.lun);
        break;
    }
  }
  return nullptr;
}
