// Bytes on their way to and from a controller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

namespace simulator {

using Bytes = std::vector<uint8_t>;
using BytesView = std::span<const uint8_t>;

/// A structure's bytes; `extra` zero bytes follow for its variable part.
template <typename Layout>
[[nodiscard]] Bytes bytesOf(const Layout& layout, size_t extra = 0) {
  Bytes bytes(sizeof layout + extra);
  std::memcpy(bytes.data(), &layout, sizeof layout);
  return bytes;
}

/// The structure at the beginning of the bytes, which are at least as long.
template <typename Layout>
[[nodiscard]] Layout startOf(BytesView bytes) {
  Layout layout{};
  std::memcpy(&layout, bytes.data(), sizeof layout);
  return layout;
}

/// Copies as much of a text as fits and fills the rest of the field up.
template <size_t Size>
void putText(char (&field)[Size], std::string_view text, char fill) {
  std::memset(field, fill, Size);
  std::memcpy(field, text.data(), text.size() < Size ? text.size() : Size);
}

/// Bitmaps: bit n is in byte n / 8, least significant bit first. A bit beyond the end is clear and cannot be set.
[[nodiscard]] inline bool testBit(BytesView map, uint32_t n) {
  return n / 8 < map.size() && (map[n / 8] >> (n % 8) & 1) != 0;
}
inline void setBit(std::span<uint8_t> map, uint32_t n) {
  if (n / 8 < map.size()) map[n / 8] = static_cast<uint8_t>(map[n / 8] | 1u << (n % 8));
}

}  // namespace simulator
