// Names places by what the loader knows of them.
#include "host_check/places.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <unistd.h>

#include "host_check/arena.h"

namespace hostcheck {

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
