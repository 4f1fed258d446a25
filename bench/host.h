// The benchmark as the plugin's host: it loads the shipped library and opens devices of an instant driver.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/instant_driver.h"
#include "controller/snapshot.h"
#include <dmu/plugin.h>

namespace bench {

/// What a host knows of the device that a controller lists last, and the lookup comes to last: a volume where there are
/// any, else a disk.
class LastDevice {
 public:
  LastDevice(Shape shape, uint32_t instance);

  /// Valid as long as this object.
  [[nodiscard]] DmuDeviceOpenInfo openInfo() const;

  [[nodiscard]] bool isVolume() const { return shape_.volumes != 0; }

 private:
  Shape shape_;
  std::string hba_;
  std::string node_;
};

/// A freshly loaded plugin and its driver. One at a time.
class Host {
 public:
  /// @param shapes  the driver's controllers, at most ten
  explicit Host(const std::vector<Shape>& shapes);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  [[nodiscard]] const DmuPluginDescriptor& plugin() const { return *plugin_; }

  /// A published function of the plugin.
  template <typename Function>
  [[nodiscard]] Function* published(const char* name) const {
    return reinterpret_cast<Function*>(symbol(name));
  }

  /// Opens a device; the caller owes it to closeDevice.
  [[nodiscard]] CtrlDevInfo* open(const LastDevice& device) const;

 private:
  [[nodiscard]] void* symbol(const char* name) const;

  InstantDriver driver_;
  void* managementLibrary_;  // the plugin needs it and does not search for it; its functions are this program's
  void* library_;
  DmuPluginDescriptor* plugin_;
};

}  // namespace bench
