// Faults of the six operations.
#include <unistd.h>

#include "tests/broken_plugins/broken_plugin.h"

namespace {

constexpr int32_t kRoom = 256;

template <typename Result, typename... Arguments>
void endProcess(Result (*&function)(Arguments...)) {
  function = [](Arguments...) -> Result { _exit(3); };
}

}  // namespace

// NOLINTBEGIN(bugprone-*): they are wrong on purpose

FAULT(appendsItsText, "operations.null-handle") {
  broken.cacheOn = [](auto* handle, auto& error) {
    std::string text;
    const int32_t result = good->cacheOn(handle, text);
    error += text;
    return result;
  };
}
FAULT(namesAMissingRecord, "operations.null-output") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto& error) {
    if (information == nullptr) error = "no record";
  });
}
FAULT(hidesFailure, "operations.unknown-controller") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t& result, auto...) { result = std::max(result, 0); });
}
FAULT(hidesAFailedSwitch, "operations.unknown-controller") {
  afterwards<&Plugin::cacheOn>([](int32_t& result, auto...) { result = std::max(result, 0); });
}
FAULT(writesBeforeItFails, "operations.unknown-device") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t result, auto*, auto* information, auto&) {
    if (result != 0 && information != nullptr) *information = {};
  });
}
FAULT(writesARecord, "operations.unknown-device") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t result, auto*, auto* records, auto...) {
    if (result < 0 && records != nullptr) *records = {};
  });
}
FAULT(writesASlot, "operations.unknown-device") {
  afterwards<&Plugin::getDeviceLocation>([](int32_t result, auto*, auto* locations, auto...) {
    if (result < 0 && locations != nullptr) *locations = nullptr;
  });
}

FAULT(losesTheLastDisk, "errors.untouched-on-success") {
  [[maybe_unused]] static CtrlDevInfo* lost = nullptr;  // each function of it is compiled for one operation alone
  afterwards<&Plugin::openDeviceV2>([](int32_t result, auto* info, auto* out) {
    if (result == 0) lost = std::strcmp(info->devName, "naa.5a1b2c0000000404") == 0 ? *out : nullptr;
  });
  afterwards<&Plugin::getDeviceTemperature>([](int32_t& result, auto* handle, auto...) {
    if (handle == lost) result = -1;
  });
}
FAULT(clearsTheText, "errors.untouched-on-success") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t result, auto*, auto*, auto, auto& error) {
    if (result >= 0) error.clear();
  });
}
FAULT(doesNotRecover, "errors.controller-gone") {
  static bool hasFailed = false;
  afterwards<&Plugin::getDeviceInfo>([](int32_t& result, auto...) {
    hasFailed = hasFailed || result != 0;
    if (hasFailed) result = -1;
  });
}
FAULT(namesTheFailure, "errors.controller-gone") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto*, auto& error) {
    if (error == "Failed to open controller.") error = "Failed to open controller: busy";
  });
}
FAULT(claimsToBlink, "errors.command-fails") {
  afterwards<&Plugin::setDriveLEDState>([](int32_t& result, auto...) { result = result == 0 ? 1 : result; });
}

FAULT(writesBeyondTheRecord, "info.answers") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t result, auto*, auto* information, auto&) {
    if (result == 0) information[1].deviceType = 0;
  });
}
FAULT(clearsTheRecord, "info.answers") {
  afterwards<&Plugin::getDeviceInfo>(
      [](int32_t, auto* handle, auto* information, auto&) { *information = informationOf(handle); });
}
FAULT(miscountsMembers, "info.volume") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) { ++information->physicalDisks; });
}
FAULT(confusesLevels, "info.raid-levels") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) {
    if (information->raidLevel == 6) information->raidLevel = 5;
  });
}
FAULT(knowsExternalLevels, "info.external-volume") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) {
    if (information->raidLevel == kDmuRaidLevelUnknown) information->raidLevel = 6;
  });
}
FAULT(takesDisksForVolumes, "info.disk") {
  afterwards<&Plugin::getDeviceInfo>(
      [](int32_t, auto*, auto* information, auto&) { information->deviceType = kDmuLogicalVolume; });
}

FAULT(sortsByNumber, "location.texts") {
  afterwards<&Plugin::getDeviceLocation>([](int32_t stored, auto*, auto* locations, auto...) {
    std::sort(locations, locations + std::max(stored, 0), [](char* a, char* b) { return strverscmp(a, b) < 0; });
  });
}
FAULT(endsTheProcess, "location.texts") {
  changeIfNamed("ENDED", "getDeviceLocation", [](auto& function) { endProcess(function); });
}
FAULT(writesCapitals, "location.format") {
  changeLocations([](char* text) { return static_cast<char*>(std::memcpy(text, "PORT", 4)); });
}
FAULT(forgetsAMember, "location.one-per-member") {
  broken.getDeviceLocation = [](auto* handle, auto* locations, auto count, auto& error) {
    return good->getDeviceLocation(handle, locations, std::min(count, 1), error);
  };
}
FAULT(ignoresTheCountOfSlots, "location.count-bounds") {
  broken.getDeviceLocation = [](auto* handle, auto* locations, auto, auto& error) {
    return good->getDeviceLocation(handle, locations, kRoom, error);
  };
}
FAULT(endsTheSlotsWithNull, "location.count-bounds") {
  afterwards<&Plugin::getDeviceLocation>(
      [](int32_t stored, auto*, auto* locations, auto...) { locations[std::max(stored, 0)] = nullptr; });
}
FAULT(givesStaticBuffers, "location.buffers-are-malloc") {
  static char buffers[kRoom][50];
  static size_t next = 0;
  changeLocations([](char* text) { return static_cast<char*>(std::memcpy(buffers[next++ % kRoom], text, 50)); });
}
FAULT(givesABufferTwice, "location.buffers-are-malloc") {
  static auto* const buffer = static_cast<char*>(std::calloc(1, 50));
  changeLocations([](char*) { return buffer; });
}
FAULT(givesShortBuffers, "location.buffers-are-malloc") {
  changeLocations([](const char* text) { return strdup(text); });
}
FAULT(callsAllWell, "location.failed-member") {
  changeLocations([](char* text) {
    if (char* failed = std::strchr(text, '(')) *failed = '\0';
    return text;
  });
}

FAULT(swapsTemperatures, "temperature.values") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t stored, auto*, auto* records, auto...) {
    for (int32_t i = 0; i < stored; ++i) std::swap(records[i].currentTemperature, records[i].maximumTemperature);
  });
}
FAULT(ignoresTheCountOfRecords, "temperature.count-bounds") {
  broken.getDeviceTemperature = [](auto* handle, auto* records, auto, auto& error) {
    return good->getDeviceTemperature(handle, records, kRoom, error);
  };
}
FAULT(clearsTheNextRecord, "temperature.count-bounds") {
  afterwards<&Plugin::getDeviceTemperature>(
      [](int32_t stored, auto*, auto* records, auto...) { records[std::max(stored, 0)] = {}; });
}

FAULT(switchesNothing, "led.switches-the-right-drives") {
  broken.setDriveLEDState = [](auto* handle, auto...) -> int32_t {
    return isDisk(handle) ? 1 : informationOf(handle).physicalDisks;
  };
}
FAULT(reachesNoController, "info.answers") {
  broken.getDeviceInfo = [](auto*, auto*, auto& error) {
    error = "Failed to open controller.";
    return -1;
  };
}
FAULT(countsNoDrive, "led.switches-the-right-drives") {
  afterwards<&Plugin::setDriveLEDState>([](int32_t& result, auto...) { result = std::min(result, 0); });
}
FAULT(countsADriveMore, "led.switches-the-right-drives") {
  afterwards<&Plugin::setDriveLEDState>([](int32_t& result, auto...) { result += result > 0 ? 1 : 0; });
}
FAULT(switchesAnotherOff, "led.leaves-others") {
  broken.setDriveLEDState = [](auto* handle, auto state, auto seconds, auto& error) {
    CtrlDevInfo* other = nullptr;
    good->openDevice("vmhba2", 1, 0, 0, kDmuDriver, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, &other);
    good->setDriveLEDState(other, 0, seconds, error);
    good->closeDevice(other);
    return good->setDriveLEDState(handle, state, seconds, error);
  };
}
FAULT(takesTheWholeState, "led.low-bits-of-state") {
  broken.setDriveLEDState = [](auto* handle, auto state, auto seconds, auto& error) {
    return good->setDriveLEDState(handle, state != 0 ? 1 : 0, seconds, error);
  };
}
FAULT(blinksForAMinute, "led.seconds") {
  broken.setDriveLEDState = [](auto* handle, auto state, auto, auto& error) {
    return good->setDriveLEDState(handle, state, 60, error);
  };
}
FAULT(refusesExternalLeds, "led.external-volume") {
  afterwards<&Plugin::setDriveLEDState>([](int32_t& result, auto* handle, auto...) {
    if (isExternal(handle)) result = -1;
  });
}

FAULT(mixesUpOnAndOff, "cache.volume") {
  std::swap(broken.cacheOn, broken.cacheOff);
}
FAULT(leavesDiskCaches, "cache.disk") {
  broken.cacheOn = [](auto* handle, auto& error) { return isDisk(handle) ? 1 : good->cacheOn(handle, error); };
}
FAULT(claimsExternalCaches, "cache.external-volume") {
  broken.cacheOff = [](auto* handle, auto& error) { return isExternal(handle) ? 1 : good->cacheOff(handle, error); };
}

// NOLINTEND(bugprone-*)
