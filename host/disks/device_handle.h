// The plugin's handle for a disk.
#pragma once

#include "host/disks/host_disk.h"
#include <dmu/plugin.h>

namespace host {

/// A handle of the plugin's, closed at the end of the scope.
class DeviceHandle {
 public:
  /// @param handle  owned from here on; null is allowed, and is not closed
  DeviceHandle(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle) : plugin_(&plugin), handle_(handle) {}
  ~DeviceHandle();
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

}  // namespace host
