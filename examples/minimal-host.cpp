// The smallest host: loads a plugin, opens one disk, asks what it is and where its drives sit, and closes it.
//
//   build=build/release
//   g++ -std=c++20 -m32 -I include examples/minimal-host.cpp -o minimal-host -L $build -Wl,--no-as-needed -lvmkmgmt
//   LD_LIBRARY_PATH=$build ./minimal-host $build/dmu-veltrane-plugin.so naa.6a1b2c0000000201 vmhba2 1 1 0
//
// The plugin needs the management library and has no search path of its own: a host brings the library along. The one
// in build/release is the simulated host's, so this meets simulated disks.
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>

#include <dmu/plugin.h>

/// The plugin's text, or the result where it gave none.
static int complain(const char* what, int32_t result, const std::string& error) {
  std::fprintf(stderr, "%s failed: %s (result %d)\n", what, error.empty() ? "no reason given" : error.c_str(), result);
  return 1;
}

static int showDisk(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle) {
  DmuDeviceInfo info{};
  std::string error;
  int32_t result = plugin.getDeviceInfo(handle, &info, error);
  if (result != 0) return complain("device information", result, error);
  if (info.deviceType == kDmuLogicalVolume) {
    std::printf("volume of %u drives, RAID level code %u\n", unsigned{info.physicalDisks}, info.raidLevel);
  } else {
    std::printf("physical disk\n");
  }

  constexpr int32_t kSlots = 128;
  char* locations[kSlots] = {};
  result = plugin.getDeviceLocation(handle, locations, kSlots, error);
  if (result < 0) return complain("location", result, error);
  for (int32_t i = 0; i < result; ++i) {
    std::printf("%s\n", locations[i]);
    std::free(locations[i]);  // the host owns each buffer
  }
  return 0;
}

int main(int argc, char** argv) {
  if (argc != 7) {
    std::fprintf(stderr, "usage: minimal-host PLUGIN DEVICE HBA CHANNEL TARGET LUN\n");
    return 2;
  }
  void* library = dlopen(argv[1], RTLD_NOW);
  void* entry = library == nullptr ? nullptr : dlsym(library, kDmuEntryPoint);
  if (entry == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  const DmuPluginDescriptor* plugin = reinterpret_cast<DmuPluginInitFunction>(entry)();
  if (plugin == nullptr) {
    std::fprintf(stderr, "%s: DmuPluginInit returned no descriptor\n", argv[1]);
    return 1;
  }
  std::printf("%s %s\n", plugin->name, plugin->version);

  const auto number = [argv](int index) { return static_cast<uint32_t>(std::strtoul(argv[index], nullptr, 10)); };
  DmuDeviceOpenInfo disk{};
  disk.devName = argv[2];
  disk.hba = argv[3];
  disk.channel = number(4);
  disk.target = number(5);
  disk.lun = number(6);
  disk.driver = kDmuDriver;
  CtrlDevInfo* handle = nullptr;
  int status = 1;
  if (const int32_t result = plugin->openDeviceV2(&disk, &handle); result != 0) {
    complain("open", result, "");
  } else {
    status = showDisk(*plugin, handle);
    plugin->closeDevice(handle);
  }
  dlclose(library);
  return status;
}
