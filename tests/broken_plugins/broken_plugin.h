// A plugin that is broken on purpose: the good plugin's descriptor, changed in one way by the fault that its library is
// linked with as chosenFault. Each FAULT names the rule of "dmu-host check" that must find it; said.txt has what the
// rule says then.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include <dmu/plugin.h>

using Plugin = DmuPluginDescriptor;

extern const Plugin* good;
extern Plugin broken;        ///< a copy of the good one, for the fault to change
extern Plugin* (*answer)();  ///< what DmuPluginInit does
extern bool isLoading;       ///< a fault is called when its library is loaded, and before DmuPluginInit first returns

#define FAULT(name, rule) extern "C" [[gnu::visibility("hidden")]] void name()

/// Lets a function change what the good plugin's operation has returned and written.
/// @param change  a lambda without captures; called with the result, by reference, and the operation's arguments
template <auto operation, typename Change>
void afterwards(Change /*change*/) {
  broken.*operation = [](auto... call) {
    auto result = (good->*operation)(call...);
    Change()(result, call...);
    return result;
  };
}

/// Replaces each of the good plugin's location buffers by what a function makes of it.
template <typename Change>
void changeLocations(Change /*change*/) {
  afterwards<&Plugin::getDeviceLocation>([](int32_t stored, auto*, char** locations, auto...) {
    std::transform(locations, locations + std::max(stored, 0), locations, Change());
  });
}

/// Changes the function that an environment variable names by its field.
/// @param usual   the field without that variable
/// @param change  called with the function pointer, by reference
template <typename Change>
void changeIfNamed(const char* variable, const char* usual, Change change) {
  const char* name = std::getenv(variable);
  const auto changeIf = [&](const char* field, auto& function) {
    if (std::strcmp(name != nullptr ? name : usual, field) == 0) change(function);
  };
  changeIf("openDevice", broken.openDevice);
  changeIf("openDeviceV2", broken.openDeviceV2);
  changeIf("closeDevice", broken.closeDevice);
  changeIf("getDeviceInfo", broken.getDeviceInfo);
  changeIf("setDriveLEDState", broken.setDriveLEDState);
  changeIf("cacheOn", broken.cacheOn);
  changeIf("cacheOff", broken.cacheOff);
  changeIf("getDeviceTemperature", broken.getDeviceTemperature);
  changeIf("getDeviceLocation", broken.getDeviceLocation);
}

inline DmuDeviceInfo informationOf(CtrlDevInfo* handle) {
  DmuDeviceInfo information{};
  std::string error;
  good->getDeviceInfo(handle, &information, error);
  return information;
}

inline bool isDisk(CtrlDevInfo* handle) {
  return informationOf(handle).deviceType == 2;
}

inline bool isExternal(CtrlDevInfo* handle) {
  return informationOf(handle).raidLevel == 255;
}
