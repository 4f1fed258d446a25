// Opening and closing of device handles.
#include "plugin/open_device.h"

#include <cstring>
#include <memory>
#include <new>

#include "plugin/device_handle.h"
#include "plugin/host_thread.h"
#include "plugin/serial_number.h"
#include "plugin/trace.h"

namespace {

/// Null counts as an empty name.
const char* nameOrEmpty(const char* name) {
  return name == nullptr ? "" : name;
}

/// Copies a name, cut to what the field holds with its terminator.
template <size_t size>
void copyName(char (&field)[size], const char* name) {
  const size_t length = strnlen(name, size - 1);
  std::memcpy(field, name, length);
  field[length] = '\0';
}

}  // namespace

int32_t VELTRANEPlugin_OpenDevice(const char* hba, uint32_t channel, uint32_t target, uint32_t lun, const char* driver,
                                  uint8_t isPciDevice, uint16_t segment, uint8_t busId, uint8_t slotId,
                                  uint8_t functionId, uint16_t vendorId, uint16_t subVendorId, uint16_t deviceId,
                                  uint16_t subDeviceId, uint8_t /*reserved*/, uint32_t physicalSlot,
                                  CtrlDevInfo** out) {
  const dmu::HostThread thread;
  if (driver == nullptr || std::strcmp(driver, kDmuDriver) != 0) return -1;
  if (out == nullptr) return -1;
  std::unique_ptr<CtrlDevInfo> handle(new (std::nothrow) CtrlDevInfo{});
  if (handle == nullptr) return -1;

  hba = nameOrEmpty(hba);
  DMU_TRACE(__func__, "openDevice: hba=%s, channel=0x%x, target=0x%x, lun=0x%x\n", hba, channel, target, lun);
  DMU_TRACE(__func__, "openDevice: driver=%s, isPciDevice=0x%x, segment=0x%x, busId=0x%x\n", driver, isPciDevice,
            segment, busId);
  DMU_TRACE(__func__, "openDevice: slotId=0x%x, functionId=0x%x, vendorId=0x%x, subVendorId=0x%x\n", slotId, functionId,
            vendorId, subVendorId);
  DMU_TRACE(__func__, "openDevice: deviceId=0x%x, subDeviceId=0x%x, physicalSlot=0x%x\n", deviceId, subDeviceId,
            physicalSlot);

  handle->channel = channel;
  handle->target = target;
  handle->lun = lun;
  copyName(handle->hbaName, hba);
  *out = handle.release();
  return 0;
}

int32_t VELTRANEPlugin_OpenDevice_v2_0_0(const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
  const dmu::HostThread thread;
  if (info == nullptr) return -1;
  DMU_TRACE(__func__, "device opened with v2 API.\n");
  const int32_t opened = VELTRANEPlugin_OpenDevice(info->hba, info->channel, info->target, info->lun, info->driver,
                                                   info->isPciDevice, info->segment, info->busId, info->slotId,
                                                   info->functionId, info->vendorId, info->subVendorId, info->deviceId,
                                                   info->subDeviceId, info->reserved, info->physicalSlot, out);
  if (opened != 0 || *out == nullptr) return -1;

  CtrlDevInfo& handle = **out;
  copyName(handle.devName, nameOrEmpty(info->devName));
  DMU_TRACE(__func__, "device %s opened with v2 API.\n", handle.devName);
  DMU_TRACE(__func__, "Opened device %s.\n", handle.devName);
  std::string error;
  handle.serialNumber = Get_Dev_SN(handle.devName, error);
  DMU_TRACE(__func__, "sn: %s, error:%s.\n", handle.serialNumber.c_str(), error.c_str());
  return 0;
}

void VELTRANEPlugin_CloseDevice(CtrlDevInfo* handle) {
  const dmu::HostThread thread;
  if (handle == nullptr) return;
  DMU_TRACE(__func__, "%s: CloseDevice: devName=%s, hba=%s, channel=0x%x, target=0x%x, lun=0x%x\n", __func__,
            handle->devName, handle->hbaName, handle->channel, handle->target, handle->lun);
  delete handle;
}
