// Controller parameters and cache configuration.
#include "simulator/stored_settings.h"

#include <algorithm>

#include "simulator/wire.h"

namespace simulator {
namespace {

/// Bytes without a meaning of their own are not zero, so that a caller who loses them is seen.
template <typename Layout>
Layout filled() {
  Bytes bytes(sizeof(Layout));
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(0x80 | i);
  return startOf<Layout>(bytes);
}

wire::CacheConfiguration cacheFixedPart(uint16_t maxLogicalDrives) {
  const uint32_t length = (uint32_t{maxLogicalDrives} + 7) / 8;
  const auto bitmapAt = [&](uint32_t i) {
    return static_cast<uint16_t>(sizeof(wire::CacheConfiguration) + i * length);
  };
  auto configuration = filled<wire::CacheConfiguration>();
  configuration.cacheOffAt = bitmapAt(0);
  configuration.flushAt = bitmapAt(1);
  configuration.readCacheOffAt = bitmapAt(2);
  configuration.writeCacheOffAt = bitmapAt(3);
  configuration.totalLength = bitmapAt(4);
  configuration.maxLogicalDrives = maxLogicalDrives;
  configuration.fixedLength = sizeof configuration;
  return configuration;
}

bool sameStructure(const wire::CacheConfiguration& a, const wire::CacheConfiguration& b) {
  return a.cacheOffAt == b.cacheOffAt && a.flushAt == b.flushAt && a.readCacheOffAt == b.readCacheOffAt &&
         a.writeCacheOffAt == b.writeCacheOffAt && a.totalLength == b.totalLength &&
         a.maxLogicalDrives == b.maxLogicalDrives && a.fixedLength == b.fixedLength;
}

}  // namespace

StoredSettings::StoredSettings(const Controller& controller) {
  auto parameters = filled<wire::ControllerParameters>();
  parameters.driveConfigFlags = static_cast<uint8_t>(0x40 | (controller.driveCacheOn ? 1 : 0));
  parameters_ = bytesOf(parameters);

  const wire::CacheConfiguration fixed = cacheFixedPart(controller.maxLogicalDrivesSupported);
  cacheConfiguration_ = bytesOf(fixed, fixed.totalLength - sizeof fixed);
  const auto cacheOff = std::span<uint8_t>(cacheConfiguration_).subspan(sizeof fixed, bitmapLength());
  for (const Volume& volume : controller.volumes)
    if (!volume.cacheOn && volume.number < controller.maxLogicalDrivesSupported) setBit(cacheOff, volume.number);
}

size_t StoredSettings::bitmapLength() const {
  return (cacheConfiguration_.size() - sizeof(wire::CacheConfiguration)) / wire::kCacheBitmaps;
}

BytesView StoredSettings::cacheOffBitmap(BytesView configuration) const {
  return configuration.subspan(sizeof(wire::CacheConfiguration), bitmapLength());
}

DriverStatus StoredSettings::setParameters(BytesView data) {
  if (data.size() != parameters_.size()) return DriverStatus::invalidLength;
  parameters_.assign(data.begin(), data.end());
  return DriverStatus::success;
}

DriverStatus StoredSettings::setCacheConfiguration(BytesView data, const std::function<bool(uint32_t)>& hasVolume) {
  if (data.size() < sizeof(wire::CacheConfiguration) + bitmapLength()) return DriverStatus::invalidLength;
  if (!sameStructure(startOf<wire::CacheConfiguration>(data), startOf<wire::CacheConfiguration>(cacheConfiguration_)))
    return DriverStatus::invalidData;

  const BytesView before = cacheOffBitmap(cacheConfiguration_);
  const BytesView after = cacheOffBitmap(data);
  for (uint32_t volume = 0; volume < after.size() * 8; ++volume)
    if (testBit(before, volume) != testBit(after, volume) && !hasVolume(volume)) return DriverStatus::noSuchVolume;

  std::copy_n(data.begin(), std::min(data.size(), cacheConfiguration_.size()), cacheConfiguration_.begin());
  return DriverStatus::success;
}

bool StoredSettings::driveCacheOn() const {
  return (startOf<wire::ControllerParameters>(parameters_).driveConfigFlags & 1) != 0;
}

bool StoredSettings::cacheOn(uint32_t volume) const {
  return !testBit(cacheOffBitmap(cacheConfiguration_), volume);
}

bool StoredSettings::restore(const Bytes& parameters, const Bytes& cacheConfiguration) {
  if (parameters.size() != parameters_.size() || cacheConfiguration.size() != cacheConfiguration_.size()) return false;
  if (!sameStructure(startOf<wire::CacheConfiguration>(cacheConfiguration),
                     startOf<wire::CacheConfiguration>(cacheConfiguration_)))
    return false;
  parameters_ = parameters;
  cacheConfiguration_ = cacheConfiguration;
  return true;
}

}  // namespace simulator
