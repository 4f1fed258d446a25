// The blink buffer of one controller.
#include "simulator/blink.h"

#include <algorithm>

namespace simulator {
namespace {

constexpr uint8_t kBlinkBit = 1;

void clearBlinkBits(std::span<uint8_t> drives) {
  for (uint8_t& drive : drives) drive = static_cast<uint8_t>(drive & ~kBlinkBit);
}

bool blinks(BytesView drives, size_t drive) {
  return drive < drives.size() && (drives[drive] & kBlinkBit) != 0;
}

bool agree(BytesView fixed, BytesView extended) {
  for (size_t drive = 0; drive < std::min(fixed.size(), extended.size()); ++drive)
    if (blinks(fixed, drive) != blinks(extended, drive)) return false;
  return true;
}

}  // namespace

Blink::Blink(bool extendedArray, uint16_t maxPhysicalDevices) : maxPhysicalDevices_(maxPhysicalDevices) {
  state_.enable.resize(wire::kFixedBlinkDrives);
  if (extendedArray) state_.extended.resize(maxPhysicalDevices);
}

uint32_t Blink::elapsed(uint64_t now) const {
  if (now < state_.started) return 0;
  return static_cast<uint32_t>(std::min<uint64_t>(now - state_.started, state_.duration));
}

wire::BlinkBuffer Blink::fixedPart() const {
  wire::BlinkBuffer buffer{};
  buffer.extendedAt = state_.extended.empty() ? 0 : sizeof buffer;
  buffer.maxPhysicalDevices = maxPhysicalDevices_;
  buffer.totalLength = static_cast<uint32_t>(sizeof buffer + state_.extended.size());
  buffer.fixedLength = sizeof buffer;
  return buffer;
}

Bytes Blink::sense(uint64_t now) const {
  wire::BlinkBuffer buffer = fixedPart();
  buffer.duration = state_.duration;
  buffer.elapsed = elapsed(now);
  std::copy(state_.enable.begin(), state_.enable.end(), buffer.enable);

  Bytes reply = bytesOf(buffer, state_.extended.size());
  const auto extended = std::span<uint8_t>(reply).subspan(sizeof buffer);
  std::copy(state_.extended.begin(), state_.extended.end(), extended.begin());
  if (elapsed(now) == state_.duration) {
    clearBlinkBits(std::span<uint8_t>(reply).subspan(offsetof(wire::BlinkBuffer, enable), wire::kFixedBlinkDrives));
    clearBlinkBits(extended);
  }
  return reply;
}

DriverStatus Blink::blink(BytesView data, uint64_t now) {
  const wire::BlinkBuffer expected = fixedPart();
  if (data.size() != expected.totalLength) return DriverStatus::invalidLength;

  const auto buffer = startOf<wire::BlinkBuffer>(data);
  const BytesView extended = data.subspan(sizeof buffer);
  if (buffer.extendedAt != expected.extendedAt || buffer.maxPhysicalDevices != expected.maxPhysicalDevices ||
      buffer.totalLength != expected.totalLength || buffer.fixedLength != expected.fixedLength ||
      !agree(buffer.enable, extended))
    return DriverStatus::invalidData;

  state_.duration = buffer.duration;
  state_.started = now;
  state_.enable.assign(std::begin(buffer.enable), std::end(buffer.enable));
  state_.extended.assign(extended.begin(), extended.end());
  return DriverStatus::success;
}

uint32_t Blink::tenthsLeft(uint32_t drive, uint64_t now) const {
  const bool on = blinks(state_.extended.empty() ? state_.enable : state_.extended, drive);
  return on ? state_.duration - elapsed(now) : 0;
}

bool Blink::restore(const BlinkState& state) {
  if (state.enable.size() != state_.enable.size() || state.extended.size() != state_.extended.size()) return false;
  state_ = state;
  return true;
}

}  // namespace simulator
