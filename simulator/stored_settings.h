// The settings that a controller keeps byte for byte: its parameters and its cache configuration.
#pragma once

#include <cstdint>
#include <functional>

#include "simulator/bytes.h"
#include "simulator/driver_errors.h"
#include "simulator/simulated_host.h"

namespace simulator {

class StoredSettings {
 public:
  explicit StoredSettings(const Controller& controller);

  [[nodiscard]] const Bytes& parameters() const { return parameters_; }
  [[nodiscard]] const Bytes& cacheConfiguration() const { return cacheConfiguration_; }

  /// Takes all 512 bytes.
  [[nodiscard]] DriverStatus setParameters(BytesView data);

  /// Takes the fixed part and the bitmaps, as far as the data go; the first bitmap has to be whole, the offsets and
  /// lengths have to be the controller's. Bytes after the bitmaps are ignored.
  /// @param hasVolume  whether a logical drive number is in use: only those can be switched
  [[nodiscard]] DriverStatus setCacheConfiguration(BytesView data, const std::function<bool(uint32_t)>& hasVolume);

  [[nodiscard]] bool driveCacheOn() const;

  /// @return false when the volume's bit in the first bitmap is set
  [[nodiscard]] bool cacheOn(uint32_t volume) const;

  /// @return false when the lengths are not this controller's; nothing is changed then
  [[nodiscard]] bool restore(const Bytes& parameters, const Bytes& cacheConfiguration);

 private:
  [[nodiscard]] size_t bitmapLength() const;
  [[nodiscard]] BytesView cacheOffBitmap(BytesView configuration) const;

  Bytes parameters_;
  Bytes cacheConfiguration_;
};

}  // namespace simulator
