// The plugin's operations with their results in types of this program. A failed operation without a text of the
// plugin's gets one that says what the result was.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/disks/device_handle.h"
#include "host/disks/place.h"

namespace host {

/// A value, or the text of the failure.
template <typename Value>
struct Answer {
  std::optional<Value> value;
  std::string error;
};

/// Operation 0.
[[nodiscard]] Answer<DmuDeviceInfo> deviceInformation(const DeviceHandle& handle);

/// What a call of an operation came back with.
struct CallResult {
  int32_t result = 0;
  std::string error;  ///< the error text after the call
};

/// Operation 1.
[[nodiscard]] CallResult setLocatorLed(const DeviceHandle& handle, bool on, uint16_t seconds);

/// Operations 2 and 3.
[[nodiscard]] CallResult setCache(const DeviceHandle& handle, bool on);

/// Operation 4, with room for however many drives there are.
[[nodiscard]] Answer<std::vector<DriveTemperature>> temperatures(const DeviceHandle& handle);

/// Operation 5, with room for however many drives there are.
[[nodiscard]] Answer<std::vector<Place>> places(const DeviceHandle& handle);

}  // namespace host
