// The host's memory as the kernel sees it: a bad address is an answer here, not the end of the process.
#pragma once

#include <cstddef>
#include <cstdint>

namespace hostcheck {

enum class Access {
  done,
  badAddress,
  unknown,  ///< the process has no file descriptors left for the question
};

/// Copies memory of the host.
/// @param size  bytes, at most a page (4,096)
[[nodiscard]] Access readMemory(uintptr_t address, void* copy, size_t size);

/// Whether all of it can be read.
[[nodiscard]] Access isReadable(uintptr_t address, uint64_t size);

/// Whether all of it can be written. A byte of every page is written with what is there: nobody else may write to it
/// meanwhile.
[[nodiscard]] Access isWritable(uintptr_t address, uint64_t size);

/// Copies a text of the host, cut to what fits in.
/// @param size  bytes of the copy, its terminator included
[[nodiscard]] Access readText(const char* text, char* copy, size_t size);

}  // namespace hostcheck
