// Finds and loads the real plugin.
#include "host_check/real_plugin.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

#include "host_check/arena.h"
#include "host_check/error_text.h"
#include "host_check/places.h"

namespace hostcheck {
namespace {

constexpr char kFileBeside[] = "dmu-veltrane-plugin.so";

const char* realFile = "";
void* realLibrary = nullptr;
const DmuPluginDescriptor* realDescriptor = nullptr;

/// The file beside this library; null where the loader does not tell where that is.
const char* keepFileBeside() {
  Dl_info self{};
  if (dladdr(kFileBeside, &self) == 0) return nullptr;
  char path[PATH_MAX + sizeof(kFileBeside)];
  if (realpath(self.dli_fname, path) == nullptr) return nullptr;
  char* const slash = std::strrchr(path, '/');
  std::memcpy(slash + 1, kFileBeside, sizeof(kFileBeside));
  return keepText(path);
}

DmuPluginInitFunction complain(const char* reason) {
  std::fprintf(stderr, "dmu-check-host: plugin %s: %s\n", realFile, reason);
  return nullptr;
}

}  // namespace

void findRealPlugin() {
  const Guard guard;
  const char* file = keepAbsolute(std::getenv("DMU_CHECK_HOST_PLUGIN"));
  if (file == nullptr) file = keepFileBeside();
  realFile = file == nullptr ? kFileBeside : file;
}

DmuPluginInitFunction loadRealPlugin() {
  realLibrary = dlopen(realFile, RTLD_NOW | RTLD_LOCAL);
  if (realLibrary == nullptr) return complain(dlerror());
  const auto entry = reinterpret_cast<DmuPluginInitFunction>(dlsym(realLibrary, kDmuEntryPoint));
  if (entry == nullptr) return complain("it does not export DmuPluginInit");
  if (entry == DmuPluginInit)
    return complain("it is this library itself; DMU_CHECK_HOST_PLUGIN names the one behind it");
  findErrorLayout(realLibrary);
  return entry;
}

const DmuPluginDescriptor& realPlugin() {
  return *realDescriptor;
}

void useRealPlugin(const DmuPluginDescriptor* descriptor) {
  realDescriptor = descriptor;
}

const char* realPluginFile() {
  return realFile;
}

void unloadRealPlugin() {
  if (realLibrary != nullptr) dlclose(realLibrary);
}

}  // namespace hostcheck
