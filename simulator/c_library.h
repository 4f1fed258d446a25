// The C library's own calls behind the ones that this library defines in their place. Whatever the simulated host does
// with files of its own goes through these.
#pragma once

namespace simulator {

struct CLibrary {
  int (*open)(const char* path, int flags, ...);
  int (*open64)(const char* path, int flags, ...);
  int (*ioctl)(int descriptor, unsigned long request, ...);
  int (*close)(int descriptor);
};

/// Found on first use, from any thread and before any constructor of this library has run.
[[nodiscard]] const CLibrary& cLibrary();

}  // namespace simulator
