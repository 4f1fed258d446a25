// The entry point and the descriptor that it fills.
#include <atomic>

#include "plugin/checked_operations.h"
#include "plugin/host_thread.h"
#include "plugin/open_device.h"
#include "plugin/trace.h"
#include <dmu/plugin.h>

namespace {

DmuPluginDescriptor descriptor;

constexpr uintptr_t kOperationCount = 6;

/// Several threads may fill the descriptor at the same time, all with the same values. A field that has its value
/// already is not written again, so that a host may read it meanwhile.
template <typename Field>
void store(Field& field, Field value) {
  std::atomic_ref shared(field);
  if (shared.load(std::memory_order_relaxed) != value) shared.store(value, std::memory_order_relaxed);
}

}  // namespace

DmuPluginDescriptor* DmuPluginInit() {
  const dmu::HostThread thread;
  DMU_TRACE(__func__, "DmuPluginInit for veltrane.\n");
  store<const char*>(descriptor.version, "1.0.0");
  store<const char*>(descriptor.name, "dmu-veltrane-plugin");
  store<DmuOpenDevice>(descriptor.openDevice, VELTRANEPlugin_OpenDevice);
  store<DmuCloseDevice>(descriptor.closeDevice, VELTRANEPlugin_CloseDevice);
  store<uintptr_t>(descriptor.operationCount, kOperationCount);
  store<DmuGetDeviceInfo>(descriptor.getDeviceInfo, VELTRANEPlugin_GetDeviceInfo);
  store<DmuSetDriveLEDState>(descriptor.setDriveLEDState, VELTRANEPlugin_SetDriveLEDState);
  store<DmuSetCache>(descriptor.cacheOn, VELTRANEPlugin_CacheOn);
  store<DmuSetCache>(descriptor.cacheOff, VELTRANEPlugin_CacheOff);
  store<DmuGetDeviceTemperature>(descriptor.getDeviceTemperature, VELTRANEPlugin_GetDeviceTemperature);
  store<DmuGetDeviceLocation>(descriptor.getDeviceLocation, VELTRANEPlugin_GetDeviceLocation);
  store<void*>(descriptor.unused, nullptr);
  store<DmuOpenDeviceV2>(descriptor.openDeviceV2, VELTRANEPlugin_OpenDevice_v2_0_0);
  return &descriptor;
}
