// Names places by what the loader knows of them.
#include "host_check/places.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <iterator>
#include <link.h>
#include <unistd.h>
#include <unwind.h>

#include "host_check/arena.h"

namespace hostcheck {
namespace {

bool isOfSystem(const char* file) {
  const char* const slash = std::strrchr(file, '/');
  const char* const name = slash == nullptr ? file : slash + 1;
  constexpr const char* kLibraries[] = {"libc.so.", "libdl.so.", "ld-linux"};
  return std::any_of(std::begin(kLibraries), std::end(kLibraries),
                     [name](const char* library) { return std::strncmp(name, library, std::strlen(library)) == 0; });
}

const void* ownBase() {
  Dl_info self{};
  return dladdr(reinterpret_cast<void*>(&describePlace), &self) == 0 ? nullptr : self.dli_fbase;
}

_Unwind_Reason_Code visitFrame(_Unwind_Context* frame, void* found) {
  const void* const at = callBefore(reinterpret_cast<void*>(_Unwind_GetIP(frame)));
  Dl_info info{};
  if (dladdr(at, &info) == 0) return _URC_END_OF_STACK;
  if (info.dli_fbase == ownBase() || isOfSystem(info.dli_fname)) return _URC_NO_REASON;
  *static_cast<const void**>(found) = at;
  return _URC_END_OF_STACK;
}

}  // namespace

const void* findHostCall() {
  const void* found = nullptr;
  _Unwind_Backtrace(visitFrame, &found);
  return found;
}

void describePlace(const void* at, char* text, size_t size) {
  const auto address = reinterpret_cast<uintptr_t>(at);
  Dl_info info{};
  link_map* map = nullptr;
  if (dladdr1(at, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 || map == nullptr) {
    std::snprintf(text, size, "0x%zx", size_t{address});
    return;
  }
  // The program has no name there.
  char program[PATH_MAX] = "";
  const char* file = map->l_name;
  if (*file == '\0') {
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program) - 1);
    file = length > 0 ? program : info.dli_fname;
  }
  if (info.dli_sname == nullptr) {
    std::snprintf(text, size, "%s(+0x%zx)", file, size_t{address - map->l_addr});
  } else {
    std::snprintf(text, size, "%s(+0x%zx) in %s", file, size_t{address - map->l_addr}, info.dli_sname);
  }
}

const char* keepAbsolute(const char* path) {
  if (path == nullptr || *path == '\0') return nullptr;
  char folder[PATH_MAX] = "";
  if (*path == '/' || getcwd(folder, sizeof(folder)) == nullptr) return keepText(path);
  char absolute[2 * PATH_MAX];
  std::snprintf(absolute, sizeof(absolute), "%s/%s", folder, path);
  return keepText(absolute);
}

}  // namespace hostcheck
