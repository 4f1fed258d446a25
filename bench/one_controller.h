// The operations that are measured, each as a host calls it on the last device of a controller.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/host.h"

namespace bench {

/// A host whose driver has one controller with a cached snapshot, and a handle of its last device.
class OneController {
 public:
  explicit OneController(Shape shape);
  ~OneController();
  OneController(const OneController&) = delete;
  OneController& operator=(const OneController&) = delete;

  [[nodiscard]] Shape shape() const { return shape_; }

  // The operations. Each throws when the plugin does not answer as it must.

  void deviceInformation();
  void location();     ///< of a volume
  void temperature();  ///< of a volume
  void locatorLed();
  void cacheOn();
  void cacheOff();
  void rebuild();  ///< opens and closes the controller with a snapshot that is too old
  void openAndClose();

  /// Releases what `location` gave the host; no part of it.
  void releaseLocations();

 private:
  [[nodiscard]] int32_t drives() const;

  Shape shape_;
  Host host_;
  LastDevice device_;
  CtrlDevInfo* handle_;
  OrvaInfo* (*openController_)(char*);
  int (*closeController_)(char*);
  std::vector<char*> locations_;
  std::vector<DriveTemperature> temperatures_;
  std::string error_;
};

}  // namespace bench
