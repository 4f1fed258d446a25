// The address of a device behind a controller, and what can be read from it.
#pragma once

#include <cstdint>

/// LUN address of one device, exactly as a LUN report returns it.
///
///   bytes           meaning
///   0 to 3          address word, little-endian; for a volume its low 30 bits are the logical drive number
///   3, bits 7..6    kind of device
///   4, 5            not read
///   6               physical drive: target on its bus
///   7, bits 5..0    physical drive: bus, counted from 1
struct vlexCmdLunAddress {
  uint8_t bytes[8];
};
static_assert(sizeof(vlexCmdLunAddress) == 8);

namespace dmu {

/// Bits 7 and 6 of byte 3.
enum class DeviceKind : uint8_t {
  exposedDrive = 0,  ///< a physical drive that the host sees as a disk
  logicalVolume = 1,
  unexpected = 2,   ///< filled like a masked drive
  maskedDrive = 3,  ///< a physical drive that the host does not see
};

[[nodiscard]] constexpr DeviceKind kindOf(const vlexCmdLunAddress& address) {
  return static_cast<DeviceKind>(address.bytes[3] >> 6);
}

[[nodiscard]] constexpr bool isVolume(const vlexCmdLunAddress& address) {
  return kindOf(address) == DeviceKind::logicalVolume;
}

[[nodiscard]] constexpr uint32_t addressWord(const vlexCmdLunAddress& address) {
  return uint32_t{address.bytes[0]} | uint32_t{address.bytes[1]} << 8 | uint32_t{address.bytes[2]} << 16 |
         uint32_t{address.bytes[3]} << 24;
}

/// The number by which commands name a volume, 30 bits.
[[nodiscard]] constexpr uint32_t logicalDriveNumber(const vlexCmdLunAddress& address) {
  return addressWord(address) & 0x3FFFFFFF;
}

}  // namespace dmu
