// Opens and closes handles.
#include "host/disks/device_handle.h"

#include <exception>

#include "host/disks/open_record.h"
#include "host/loading/isolated_call.h"

namespace host {

DeviceHandle::~DeviceHandle() {
  if (handle_ == nullptr) return;
  // What throws has ended at its own step, which is the one to tell.
  if (std::uncaught_exceptions() == 0) noteStep("closing a handle");
  plugin_->closeDevice(handle_);
}

DeviceHandle openHandle(const DmuPluginDescriptor& plugin, const HostDisk& disk) {
  const DmuDeviceOpenInfo info = openRecordOf(disk);
  CtrlDevInfo* handle = nullptr;
  // The older way to open a handle asks no node.
  const int32_t result =
      hasNode(disk)
          ? plugin.openDeviceV2(&info, &handle)
          : plugin.openDevice(info.hba, info.channel, info.target, info.lun, info.driver, info.isPciDevice,
                              info.segment, info.busId, info.slotId, info.functionId, info.vendorId, info.subVendorId,
                              info.deviceId, info.subDeviceId, info.reserved, info.physicalSlot, &handle);
  return {plugin, result == 0 ? handle : nullptr};
}

}  // namespace host
