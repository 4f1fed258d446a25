// The definition of a function that comes after this program's own.
#pragma once

#include <dlfcn.h>

namespace host {

/// @return null when there is none
template <typename Function>
[[nodiscard]] Function nextDefinition(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

using Open = int (*)(const char*, int, ...);

}  // namespace host
