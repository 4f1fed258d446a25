// The locator LEDs of one controller: which drives blink, and the one time that runs out for all of them.
#pragma once

#include <cstdint>

#include "simulator/bytes.h"
#include "simulator/driver_errors.h"
#include "simulator/wire.h"

namespace simulator {

/// What is kept between two blink commands. Times in tenths of a second.
struct BlinkState {
  uint32_t duration = 0;
  uint64_t started = 0;  ///< since the epoch
  Bytes enable;          ///< the fixed array, as written
  Bytes extended;        ///< the extended array, as written; empty on controllers without one
};

class Blink {
 public:
  Blink(bool extendedArray, uint16_t maxPhysicalDevices);

  /// The blink buffer. When the time has run out, bit 0 of every drive is clear and the elapsed time is the duration.
  [[nodiscard]] Bytes sense(uint64_t now) const;

  /// Takes a whole blink buffer. The time starts anew and the written elapsed time is ignored; a duration of 0 has run
  /// out at once. Where there are two arrays, they have to agree on the drives that are in both.
  [[nodiscard]] DriverStatus blink(BytesView data, uint64_t now);

  /// @return tenths of a second for which the drive still blinks; 0: it does not
  [[nodiscard]] uint32_t tenthsLeft(uint32_t drive, uint64_t now) const;

  [[nodiscard]] const BlinkState& state() const { return state_; }

  /// @return false when the arrays are not of this controller's size; nothing is changed then
  [[nodiscard]] bool restore(const BlinkState& state);

 private:
  [[nodiscard]] uint32_t elapsed(uint64_t now) const;
  [[nodiscard]] wire::BlinkBuffer fixedPart() const;

  uint16_t maxPhysicalDevices_;
  BlinkState state_;
};

}  // namespace simulator
