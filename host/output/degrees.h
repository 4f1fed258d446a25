// A drive's temperature reading.
#pragma once

#include <cstdint>
#include <optional>

namespace host {

/// Degrees Celsius: the unit of drives, which this program assumes of what the plugin passes on; nothing for 0 and 255,
/// which drives report when they do not know.
[[nodiscard]] inline std::optional<uint32_t> degrees(uint8_t reading) {
  if (reading == 0 || reading == 255) return std::nullopt;
  return reading;
}

}  // namespace host
