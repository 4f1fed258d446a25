// How a drive is named: bus and target, as people write it, and the BMIC drive index of commands and member maps.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/simulated_host.h"

namespace simulator {

inline constexpr uint32_t kLeastBus = 1;
inline constexpr uint32_t kMostBus = 63;
inline constexpr uint32_t kMostTarget = 255;

[[nodiscard]] constexpr uint32_t driveIndex(uint32_t bus, uint32_t target) {
  return (bus - 1) * 256 + target;
}
[[nodiscard]] inline uint32_t driveIndex(const Drive& drive) {
  return driveIndex(drive.bus, drive.target);
}

/// "BUS:TARGET"
[[nodiscard]] inline std::string driveName(uint32_t index) {
  return std::to_string(index / 256 + 1) + ":" + std::to_string(index % 256);
}

/// How a message begins that refuses a name.
inline constexpr const char* kDriveNameRule = "must be a text \"BUS:TARGET\", bus 1 to 63 and target 0 to 255, not ";

/// @return the index of the drive that a "BUS:TARGET" names; nothing when it is none
[[nodiscard]] inline std::optional<uint32_t> parseDriveName(std::string_view name) {
  uint32_t bus = 0;
  uint32_t target = 0;
  const char* end = name.data() + name.size();
  const auto [colon, badBus] = std::from_chars(name.data(), end, bus);
  if (badBus != std::errc{} || colon == end || *colon != ':') return std::nullopt;
  const auto [rest, badTarget] = std::from_chars(colon + 1, end, target);
  if (badTarget != std::errc{} || rest != end) return std::nullopt;
  if (bus < kLeastBus || bus > kMostBus || target > kMostTarget) return std::nullopt;
  return driveIndex(bus, target);
}

}  // namespace simulator
