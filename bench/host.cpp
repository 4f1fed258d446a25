// Loading of the plugin, and its handles.
#include "bench/host.h"

#include <dlfcn.h>
#include <stdexcept>

#include "bench/platform_calls.h"

namespace bench {
namespace {

constexpr uint32_t kVolumeChannel = 1;

void* load(const char* path) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  return library;
}

}  // namespace

LastDevice::LastDevice(Shape shape, uint32_t instance)
    : shape_(shape), hba_(hbaName(instance)), node_(serialNumber(shape.drives() - 1)) {}

DmuDeviceOpenInfo LastDevice::openInfo() const {
  DmuDeviceOpenInfo info{};
  info.devName = node_.c_str();
  info.hba = hba_.c_str();
  info.driver = kDmuDriver;
  info.channel = isVolume() ? kVolumeChannel : 0;
  info.target = isVolume() ? shape_.volumes - 1 : 0;
  return info;
}

Host::Host(const std::vector<Shape>& shapes)
    : driver_(shapes),
      managementLibrary_(load(DMU_MANAGEMENT_LIBRARY_PATH)),
      library_(load(DMU_PLUGIN_PATH)),
      plugin_(published<DmuPluginDescriptor*()>(kDmuEntryPoint)()) {
  useDriver(driver_);
}

Host::~Host() {
  dlclose(library_);
  dlclose(managementLibrary_);
}

CtrlDevInfo* Host::open(const LastDevice& device) const {
  const DmuDeviceOpenInfo info = device.openInfo();
  CtrlDevInfo* handle = nullptr;
  if (plugin_->openDeviceV2(&info, &handle) != 0) throw std::runtime_error("the device was not opened");
  return handle;
}

void* Host::symbol(const char* name) const {
  void* address = dlsym(library_, name);
  if (address == nullptr) throw std::runtime_error(std::string("not exported: ") + name);
  return address;
}

}  // namespace bench
