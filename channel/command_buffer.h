// The memory of a command's data, and whoever owns it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" {

/// @param size  bytes
/// @return a block aligned to 16 bytes, which the caller releases with free; null when memory ran out
[[nodiscard]] void* orvamalloc(unsigned int size);
}

namespace dmu {

/// Releases what orvamalloc and malloc gave.
struct Free {
  void operator()(void* block) const { std::free(block); }
};

/// A command's data buffer, read and written through the layout of its reply.
template <typename Layout>
using CommandBuffer = std::unique_ptr<Layout, Free>;

/// @param length  bytes, which may exceed the layout's size when variable parts follow it
/// @param zeros   bytes from the start that are zeros; the rest is not read before it is received
/// @return null when memory ran out
template <typename Layout>
[[nodiscard]] CommandBuffer<Layout> makeCommandBuffer(uint32_t length, uint32_t zeros) {
  void* block = orvamalloc(length);
  if (block != nullptr) std::memset(block, 0, zeros);
  return CommandBuffer<Layout>(static_cast<Layout*>(block));
}

/// The same, all zeros.
template <typename Layout>
[[nodiscard]] CommandBuffer<Layout> makeCommandBuffer(uint32_t length = sizeof(Layout)) {
  return makeCommandBuffer<Layout>(length, length);
}

/// Rounds a buffer length up to whole blocks of 512 bytes.
[[nodiscard]] constexpr uint32_t roundUpTo512(uint32_t length) {
  return (length + 511) / 512 * 512;
}

}  // namespace dmu
