// The plugin's operations with their results in types of this program. A failed operation without a text of the
// plugin's gets one that says what the result was.
#pragma once

#include <optional>
#include <string>
#include <vector>

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

/// Operation 0.
[[nodiscard]] Answer<DmuDeviceInfo> deviceInformation(const DeviceHandle& handle);

}  // namespace host
