// Looks the C library's calls up behind this library.
#include "simulator/c_library.h"

#include <dlfcn.h>

namespace simulator {
namespace {

template <typename Function>
void find(Function& function, const char* name) {
  function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

CLibrary findAll() {
  CLibrary library{};
  find(library.open, "open");
  find(library.open64, "open64");
  find(library.ioctl, "ioctl");
  find(library.close, "close");
  return library;
}

}  // namespace

const CLibrary& cLibrary() {
  static const CLibrary library = findAll();
  return library;
}

}  // namespace simulator
