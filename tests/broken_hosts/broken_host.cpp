// Loads the plugin, makes one mistake, and cleans up as a sound host does: broken-host PLUGIN MISTAKE
#include "tests/broken_hosts/broken_host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

static const Mistake* mistakes = nullptr;

Mistake::Mistake(const char* theName, MakeMistake theFunction) : name(theName), make(theFunction), next(mistakes) {
  mistakes = this;
}

static CtrlDevInfo* openDevice(const Host& host, const char* name, uint32_t target) {
  DmuDeviceOpenInfo device{};
  device.devName = name;
  device.hba = "vmhba2";
  device.channel = 1;
  device.target = target;
  device.driver = kDmuDriver;
  CtrlDevInfo* handle = nullptr;
  host.plugin->openDeviceV2(&device, &handle);
  return handle;
}

CtrlDevInfo* openVolume(const Host& host) {
  return openDevice(host, "naa.6a1b2c0000000201", 1);
}

CtrlDevInfo* openDisk(const Host& host) {
  return openDevice(host, "naa.5a1b2c0000000106", 6);
}

void expect(bool isAsPromised, const char* what) {
  if (isAsPromised) return;
  std::fprintf(stderr, "broken-host: %s\n", what);
  std::_Exit(3);
}

int main(int argc, char** argv) {
  const Mistake* mistake = mistakes;
  while (argc == 3 && mistake != nullptr && std::strcmp(mistake->name, argv[2]) != 0) mistake = mistake->next;
  if (argc != 3 || mistake == nullptr) {
    std::fprintf(stderr, "usage: broken-host PLUGIN MISTAKE\n");
    return 2;
  }
  Host host{};
  host.library = dlopen(argv[1], RTLD_NOW);
  void* const entry = host.library == nullptr ? nullptr : dlsym(host.library, kDmuEntryPoint);
  if (entry == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  host.plugin = reinterpret_cast<DmuPluginInitFunction>(entry)();
  if (host.plugin == nullptr) return 1;
  host.handle = openVolume(host);
  mistake->make(host);
  if (host.handle != nullptr) host.plugin->closeDevice(host.handle);
  if (host.library != nullptr) dlclose(host.library);
  return 0;
}
