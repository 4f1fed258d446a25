// What the definitions of the libraries' functions in the tests' executable share.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <dlfcn.h>

#include "tests/plugin_calls.h"

namespace interception {

/// Whether an address is in the plugin.
[[nodiscard]] bool fromPlugin(const void* caller);

/// Records a call of the plugin.
/// @return whether it is to fail
[[nodiscard]] bool fails(const char* name, size_t size = 0);

/// Counts a call of the plugin whose stack is not aligned as the calling convention of today promises.
/// @param caller  its return address
/// @param frame   the called function's own
void noteStack(const void* caller, const void* frame);

/// Blocks of memory that the plugin holds.
[[nodiscard]] size_t blocksOfPlugin();
void forgetBlocks();

/// A trace file to write to.
[[nodiscard]] FILE* openTrace(const char* mode);

/// What the plugin has open.
inline std::atomic<int> openFiles = 0;
inline std::atomic<int> openChannels = 0;

/// The definition of a function that comes after this executable's own.
template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace interception
