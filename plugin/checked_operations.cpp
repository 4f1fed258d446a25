// The operation wrappers and the one function that they share.
#include "plugin/checked_operations.h"

#include <cstring>

#include "plugin/host_thread.h"
#include "plugin/plugin_lock.h"
#include "services/device_information.h"
#include "services/drive_temperature.h"
#include "services/locator_led.h"
#include "services/physical_location.h"
#include "services/write_cache.h"

namespace {

/// Releases the plugin lock, which the caller holds, at the end of the scope.
struct HeldPluginLock {
  HeldPluginLock() = default;
  ~HeldPluginLock() { pthread_mutex_unlock(&pluginMutex); }
  HeldPluginLock(const HeldPluginLock&) = delete;
  HeldPluginLock& operator=(const HeldPluginLock&) = delete;
};

/// Runs a service for a handle under the plugin lock. Nothing that it throws leaves the plugin.
template <typename Service>
int32_t runLocked(const CtrlDevInfo* handle, std::string& error, Service service) {
  const dmu::HostThread thread;
  try {
    if (handle == nullptr) {
      error = "Invalid handle!";
      return -1;
    }
    if (const int failed = TimedLockPluginMutex(); failed != 0) {
      error = "Mutex lock error: ";
      error += std::strerror(failed);
      return -1;
    }
    const HeldPluginLock lock;
    return service();
  } catch (...) {
    return -1;
  }
}

}  // namespace

int32_t VELTRANEPlugin_GetDeviceInfo(CtrlDevInfo* handle, DmuDeviceInfo* deviceInfo, std::string& error) {
  return runLocked(handle, error, [&] { return OrvaInfo_GetDeviceInfo(handle, deviceInfo, error); });
}

int32_t VELTRANEPlugin_SetDriveLEDState(CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error) {
  return runLocked(handle, error, [&] { return OrvaInfo_SetDriveLEDState(handle, state, seconds, error); });
}

int32_t VELTRANEPlugin_CacheOn(CtrlDevInfo* handle, std::string& error) {
  return runLocked(handle, error, [&] { return OrvaInfo_CacheControl(handle, 1, error); });
}

int32_t VELTRANEPlugin_CacheOff(CtrlDevInfo* handle, std::string& error) {
  return runLocked(handle, error, [&] { return OrvaInfo_CacheControl(handle, 0, error); });
}

int32_t VELTRANEPlugin_GetDeviceTemperature(CtrlDevInfo* handle, DriveTemperature* temperatures, int32_t count,
                                            std::string& error) {
  return runLocked(handle, error, [&] { return OrvaInfo_GetDeviceTemperature(handle, temperatures, count, error); });
}

int32_t VELTRANEPlugin_GetDeviceLocation(CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
  return runLocked(handle, error, [&] { return OrvaInfo_GetDeviceLocation(handle, locations, count, error); });
}
