// The plugin's operations with their results in types of this program. A failed operation without a text of the
// plugin's gets one that says what the result was.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/disks/place.h"
#include <dmu/plugin.h>

namespace host {

/// A value, or the text of the failure.
template <typename Value>
struct Answer {
  std::optional<Value> value;
  std::string error;
};

/// A handle of the plugin's, closed at the end of the scope.
class DeviceHandle {
 public:
  /// @param handle  owned from here on; null is allowed
  DeviceHandle(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle) : plugin_(&plugin), handle_(handle) {}
  ~DeviceHandle() { plugin_->closeDevice(handle_); }
  DeviceHandle(DeviceHandle&& other) noexcept : plugin_(other.plugin_), handle_(other.handle_) {
    other.handle_ = nullptr;
  }
  DeviceHandle(const DeviceHandle&) = delete;
  DeviceHandle& operator=(const DeviceHandle&) = delete;

  [[nodiscard]] const DmuPluginDescriptor& plugin() const { return *plugin_; }
  [[nodiscard]] CtrlDevInfo* get() const { return handle_; }

 private:
  const DmuPluginDescriptor* plugin_;
  CtrlDevInfo* handle_;
};

/// Opens a handle as the daemon does; it holds null when the plugin refuses.
[[nodiscard]] DeviceHandle openHandle(const DmuPluginDescriptor& plugin, const HostDisk& disk);

/// Operation 0.
[[nodiscard]] Answer<DmuDeviceInfo> deviceInformation(const DeviceHandle& handle);

/// What an operation that changes something came back with.
struct ActionResult {
  int32_t result = 0;
  std::string error;  ///< the plugin's text; empty when it gave none
};

/// Operation 1.
[[nodiscard]] ActionResult setLocatorLed(const DeviceHandle& handle, bool on, uint16_t seconds);

/// Operations 2 and 3.
[[nodiscard]] ActionResult setCache(const DeviceHandle& handle, bool on);

/// Operation 4, with room for however many drives there are.
[[nodiscard]] Answer<std::vector<DriveTemperature>> temperatures(const DeviceHandle& handle);

/// Operation 5, with room for however many drives there are.
[[nodiscard]] Answer<std::vector<Place>> places(const DeviceHandle& handle);

}  // namespace host
