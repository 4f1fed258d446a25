// Loads the good plugin and lets the fault change it.
#include "tests/broken_plugins/broken_plugin.h"

#include <dlfcn.h>
#include <mutex>

const Plugin* good;
Plugin broken;
Plugin* (*answer)() = [] { return &broken; };
bool isLoading = true;

extern "C" [[gnu::visibility("hidden")]] void chosenFault();  // --defsym

[[gnu::constructor]] static void loaded() {
  chosenFault();
  isLoading = false;
}

DmuPluginDescriptor* DmuPluginInit() {
  static std::once_flag once;
  std::call_once(once, [] {
    void* plugin = dlopen(DMU_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    good = reinterpret_cast<DmuPluginInitFunction>(dlsym(plugin, kDmuEntryPoint))();
    broken = *good;
    chosenFault();
  });
  return answer();
}
