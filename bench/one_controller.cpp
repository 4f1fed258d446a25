// The host's calls.
#include "bench/one_controller.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "bench/platform_calls.h"

namespace bench {
namespace {

constexpr uint16_t kBlinkSeconds = 30;
constexpr time_t kTooOldSeconds = 31;

/// The plugin's answer must be the right one for its time to mean anything.
void check(int32_t result, int32_t expected) {
  if (result == expected) return;
  throw std::runtime_error("the plugin answered " + std::to_string(result) + " in place of " +
                           std::to_string(expected));
}

}  // namespace

OneController::OneController(Shape shape)
    : shape_(shape),
      host_({shape}),
      device_(shape, 0),
      handle_(host_.open(device_)),
      openController_(host_.published<OrvaInfo*(char*)>("OrvaInfo_OpenCtrl")),
      closeController_(host_.published<int(char*)>("OrvaInfo_CloseCtrl")),
      locations_(shape.membersPerVolume()),
      temperatures_(shape.membersPerVolume()) {
  rebuild();
}

OneController::~OneController() {
  releaseLocations();
  host_.plugin().closeDevice(handle_);
}

void OneController::deviceInformation() {
  DmuDeviceInfo info{};
  check(host_.plugin().getDeviceInfo(handle_, &info, error_), 0);
}

void OneController::location() {
  const auto count = static_cast<int32_t>(locations_.size());
  check(host_.plugin().getDeviceLocation(handle_, locations_.data(), count, error_), count);
}

void OneController::temperature() {
  const auto count = static_cast<int32_t>(temperatures_.size());
  check(host_.plugin().getDeviceTemperature(handle_, temperatures_.data(), count, error_), count);
}

void OneController::locatorLed() {
  check(host_.plugin().setDriveLEDState(handle_, 1, kBlinkSeconds, error_), drives());
}

void OneController::cacheOn() {
  check(host_.plugin().cacheOn(handle_, error_), drives());
}

void OneController::cacheOff() {
  check(host_.plugin().cacheOff(handle_, error_), drives());
}

void OneController::rebuild() {
  letTimePass(kTooOldSeconds);
  char name[] = "vmhba0";
  const OrvaInfo* info = openController_(name);
  check(info == nullptr ? -1 : info->deviceCount, static_cast<int32_t>(shape_.entries));
  closeController_(name);
}

void OneController::openAndClose() {
  host_.plugin().closeDevice(host_.open(device_));
}

void OneController::releaseLocations() {
  for (char*& location : locations_) {
    std::free(location);
    location = nullptr;
  }
}

int32_t OneController::drives() const {
  return device_.isVolume() ? static_cast<int32_t>(shape_.membersPerVolume()) : 1;
}

}  // namespace bench
