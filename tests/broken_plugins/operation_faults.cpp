// Faults of the six operations, of the lock, and of what is given back.
#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <mutex>
#include <thread>
#include <unistd.h>

#include "platform/vmkmgmt.h"
#include "tests/broken_plugins/broken_plugin.h"

namespace {

constexpr int32_t kRoom = 256;
std::timed_mutex gate;

/// Waits for a lock by the clock for which the thread sanitizer knows how to wait.
std::unique_lock<std::timed_mutex> lockWithin(std::timed_mutex& mutex, std::chrono::milliseconds time) {
  return {mutex, std::chrono::system_clock::now() + time};
}

void leakChannel() {
  void* plugin = dlopen(DMU_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD);
  vmk_MgmtUserHandle* channel = nullptr;
  vmk_MgmtUserInit(dlsym(plugin, "pqiMgmtApiSig"), 0, &channel);
  dlclose(plugin);
}

}  // namespace

// NOLINTBEGIN(bugprone-*): they are wrong on purpose

FAULT(appendsItsText, "operations.null-handle", "got \"text from beforeInvalid handle!\"") {
  broken.cacheOn = [](auto* handle, auto& error) {
    std::string text;
    const int32_t result = good->cacheOn(handle, text);
    error += text;
    return result;
  };
}
FAULT(namesAMissingRecord, "operations.null-output", "expected \"text from before\", got \"no record\"") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto& error) {
    if (information == nullptr) error = "no record";
  });
}
FAULT(hidesFailure, "operations.unknown-controller", "temperature of a controller that is not there: expected result") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t& result, auto...) { result = std::max(result, 0); });
}
FAULT(hidesAFailedSwitch, "operations.unknown-controller", "write cache on of a controller that is not there") {
  afterwards<&Plugin::cacheOn>([](int32_t& result, auto...) { result = std::max(result, 0); });
}
FAULT(writesBeforeItFails, "operations.unknown-device", "it failed, but wrote to the host's record") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t result, auto*, auto* information, auto&) {
    if (result != 0 && information != nullptr) *information = {};
  });
}
FAULT(writesARecord, "operations.unknown-device", "temperature of a device that is not there: it failed, but wrote") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t result, auto*, auto* records, auto...) {
    if (result < 0 && records != nullptr) *records = {};
  });
}
FAULT(writesASlot, "operations.unknown-device", "location of a device that is not there: it failed, but wrote") {
  afterwards<&Plugin::getDeviceLocation>([](int32_t result, auto*, auto* locations, auto...) {
    if (result < 0 && locations != nullptr) *locations = nullptr;
  });
}

FAULT(losesTheLastDisk, "errors.untouched-on-success", "temperature of naa.5a1b2c0000000404: expected success") {
  [[maybe_unused]] static CtrlDevInfo* lost = nullptr;  // each function of it is compiled for one operation alone
  afterwards<&Plugin::openDeviceV2>([](int32_t result, auto* info, auto* out) {
    if (result == 0) lost = std::strcmp(info->devName, "naa.5a1b2c0000000404") == 0 ? *out : nullptr;
  });
  afterwards<&Plugin::getDeviceTemperature>([](int32_t& result, auto* handle, auto...) {
    if (handle == lost) result = -1;
  });
}
FAULT(clearsTheText, "errors.untouched-on-success", "expected \"text from before\", got \"\"") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t result, auto*, auto*, auto, auto& error) {
    if (result >= 0) error.clear();
  });
}
FAULT(doesNotRecover, "errors.controller-gone", "once its controller works again: expected result 0, got -1") {
  static bool hasFailed = false;
  afterwards<&Plugin::getDeviceInfo>([](int32_t& result, auto...) {
    hasFailed = hasFailed || result != 0;
    if (hasFailed) result = -1;
  });
}
FAULT(claimsToBlink, "errors.command-fails", "expected result 0, got result 1") {
  afterwards<&Plugin::setDriveLEDState>([](int32_t& result, auto...) { result = result == 0 ? 1 : result; });
}

FAULT(writesBeyondTheRecord, "info.answers", "it wrote beyond the record") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t result, auto*, auto* information, auto&) {
    if (result == 0) information[1].deviceType = 0;
  });
}
FAULT(clearsTheRecord, "info.answers", "that it must leave alone") {
  afterwards<&Plugin::getDeviceInfo>(
      [](int32_t, auto* handle, auto* information, auto&) { *information = informationOf(handle); });
}
FAULT(miscountsMembers, "info.volume", "member drives: expected") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) { ++information->physicalDisks; });
}
FAULT(confusesLevels, "info.raid-levels", "RAID level of a volume of 4 drives: expected 6, got 5") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) {
    if (information->raidLevel == 6) information->raidLevel = 5;
  });
}
FAULT(knowsExternalLevels, "info.external-volume", "RAID level: expected 255, got 6") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) {
    if (information->raidLevel == kDmuRaidLevelUnknown) information->raidLevel = 6;
  });
}
FAULT(takesDisksForVolumes, "info.disk", "device type: expected 2, got 1") {
  afterwards<&Plugin::getDeviceInfo>(
      [](int32_t, auto*, auto* information, auto&) { information->deviceType = kDmuLogicalVolume; });
}

FAULT(sortsByNumber, "location.texts", "got port:box:bay 1I:1:9, port:box:bay 1I:1:10") {
  afterwards<&Plugin::getDeviceLocation>([](int32_t stored, auto*, auto* locations, auto...) {
    std::sort(locations, locations + std::max(stored, 0), [](char* a, char* b) { return strverscmp(a, b) < 0; });
  });
}
FAULT(endsTheProcess, "location.texts", "ended its process with status 3") {
  broken.getDeviceLocation = [](auto...) -> int32_t { _exit(3); };
}
FAULT(writesCapitals, "location.format", "got \"PORT:") {
  changeLocations([](char* text) { return static_cast<char*>(std::memcpy(text, "PORT", 4)); });
}
FAULT(forgetsAMember, "location.one-per-member", "one a drive, got 1") {
  broken.getDeviceLocation = [](auto* handle, auto* locations, auto count, auto& error) {
    return good->getDeviceLocation(handle, locations, std::min(count, 1), error);
  };
}
FAULT(ignoresTheCountOfSlots, "location.count-bounds", "with a count of -2147483648: expected result 0, got 2") {
  broken.getDeviceLocation = [](auto* handle, auto* locations, auto, auto& error) {
    return good->getDeviceLocation(handle, locations, kRoom, error);
  };
}
FAULT(endsTheSlotsWithNull, "location.count-bounds", "expected 2 to be written, got 3") {
  afterwards<&Plugin::getDeviceLocation>(
      [](int32_t stored, auto*, auto* locations, auto...) { locations[std::max(stored, 0)] = nullptr; });
}
FAULT(givesStaticBuffers, "location.buffers-are-malloc", "got one inside a library") {
  static char buffers[kRoom][50];
  static size_t next = 0;
  changeLocations([](char* text) { return static_cast<char*>(std::memcpy(buffers[next++ % kRoom], text, 50)); });
}
FAULT(givesABufferTwice, "location.buffers-are-malloc", "got one that was given before") {
  static auto* const buffer = static_cast<char*>(std::calloc(1, 50));
  changeLocations([](char*) { return buffer; });
}
FAULT(givesShortBuffers, "location.buffers-are-malloc", "expected a buffer of 50 bytes, got") {
  changeLocations([](const char* text) { return strdup(text); });
}
FAULT(callsAllWell, "location.failed-member", "one of them \"(Failed)\", got") {
  changeLocations([](char* text) {
    if (char* failed = std::strchr(text, '(')) *failed = '\0';
    return text;
  });
}

FAULT(swapsTemperatures, "temperature.values", "expected 20/60, 21/60, got 60/20, 60/21") {
  afterwards<&Plugin::getDeviceTemperature>([](int32_t stored, auto*, auto* records, auto...) {
    for (int32_t i = 0; i < stored; ++i) std::swap(records[i].currentTemperature, records[i].maximumTemperature);
  });
}
FAULT(ignoresTheCountOfRecords, "temperature.count-bounds", "with a count of -2147483648: expected result 0, got 2") {
  broken.getDeviceTemperature = [](auto* handle, auto* records, auto, auto& error) {
    return good->getDeviceTemperature(handle, records, kRoom, error);
  };
}
FAULT(clearsTheNextRecord, "temperature.count-bounds", "expected 2 to be written, got 3") {
  afterwards<&Plugin::getDeviceTemperature>(
      [](int32_t stored, auto*, auto* records, auto...) { records[std::max(stored, 0)] = {}; });
}

FAULT(switchesNothing, "led.switches-the-right-drives", "drives that blink: expected vmhba2 drive 0") {
  broken.setDriveLEDState = [](auto* handle, auto...) -> int32_t {
    return isDisk(handle) ? 1 : informationOf(handle).physicalDisks;
  };
}
FAULT(reachesNoController, "info.answers", "expected result 0, got -1") {
  broken.getDeviceInfo = [](auto*, auto*, auto& error) {
    error = "Failed to open controller.";
    return -1;
  };
}
FAULT(countsADriveMore, "led.switches-the-right-drives", "expected result 2, got 3") {
  afterwards<&Plugin::setDriveLEDState>([](int32_t& result, auto...) { result += result > 0 ? 1 : 0; });
}
FAULT(switchesAnotherOff, "led.leaves-others", "all locator LEDs on: drives that blink: expected") {
  broken.setDriveLEDState = [](auto* handle, auto state, auto seconds, auto& error) {
    CtrlDevInfo* other = nullptr;
    good->openDevice("vmhba2", 1, 0, 0, kDmuDriver, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, &other);
    good->setDriveLEDState(other, 0, seconds, error);
    good->closeDevice(other);
    return good->setDriveLEDState(handle, state, seconds, error);
  };
}
FAULT(takesTheWholeState, "led.low-bits-of-state", "with state 256: drives that blink: expected none") {
  broken.setDriveLEDState = [](auto* handle, auto state, auto seconds, auto& error) {
    return good->setDriveLEDState(handle, state != 0 ? 1 : 0, seconds, error);
  };
}
FAULT(blinksForAMinute, "led.seconds", "for 1 seconds: it blinks for 600 tenths") {
  broken.setDriveLEDState = [](auto* handle, auto state, auto, auto& error) {
    return good->setDriveLEDState(handle, state, 60, error);
  };
}
FAULT(refusesExternalLeds, "led.external-volume", "expected result 0, got -1") {
  afterwards<&Plugin::setDriveLEDState>([](int32_t& result, auto* handle, auto...) {
    if (isExternal(handle)) result = -1;
  });
}

FAULT(mixesUpOnAndOff, "cache.volume", "caches that are on: expected") {
  std::swap(broken.cacheOn, broken.cacheOff);
}
FAULT(leavesDiskCaches, "cache.disk", "caches that are on: expected") {
  broken.cacheOn = [](auto* handle, auto& error) { return isDisk(handle) ? 1 : good->cacheOn(handle, error); };
}
FAULT(claimsExternalCaches, "cache.external-volume", "expected result -1, got 1") {
  broken.cacheOff = [](auto* handle, auto& error) { return isExternal(handle) ? 1 : good->cacheOff(handle, error); };
}

FAULT(leaksAChannel, "channel.closed-after-each-call", "expected no channel to stay open, got 1") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto...) { leakChannel(); });
}
FAULT(leaksChannelsOnFailure, "channel.does-not-pile-up", "expected one channel to stay open at most, got 2") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t result, auto...) {
    if (result != 0) leakChannel();
  });
}
FAULT(leaksAFile, "files.closed", "location of naa.6a1b2c0000000200: expected") {
  afterwards<&Plugin::getDeviceLocation>([](int32_t, auto...) { static_cast<void>(dup(STDERR_FILENO)); });
}
FAULT(leaksMemory, "memory.given-back", "bytes more") {
  afterwards<&Plugin::getDeviceTemperature>(
      [](int32_t, auto...) { static_cast<void>(strdup("a key that is not looked up again")); });
}
FAULT(writesWhileItReads, "commands.reading-changes-nothing", "expected only commands that read") {
  afterwards<&Plugin::getDeviceTemperature>(
      [](int32_t, auto* handle, auto*, auto, auto& error) { good->setDriveLEDState(handle, 0, 1, error); });
}

FAULT(answersWithoutTheLock, "lock.serialises", "temperature of naa.5a1b2c0000000404: expected it to wait") {
  broken.getDeviceTemperature = [](auto...) { return 0; };
}
FAULT(givesUpAtOnce, "lock.times-out", "expected it to give up after 10 seconds") {
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const std::unique_lock lock(gate, std::try_to_lock);
    if (lock.owns_lock()) return good->getDeviceInfo(handle, information, error);
    error = std::string("Mutex lock error: ") + std::strerror(ETIMEDOUT);
    return -1;
  };
}
FAULT(locksBeforeItLooks, "lock.null-handle-does-not-wait", "expected it not to wait") {
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const auto lock = lockWithin(gate, std::chrono::seconds(6));
    return good->getDeviceInfo(handle, information, error);
  };
}
FAULT(locksToOpen, "lock.open-does-not-wait", "expected it not to wait") {
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const std::unique_lock lock(gate);
    return good->getDeviceInfo(handle, information, error);
  };
  broken.openDeviceV2 = [](auto* info, auto* out) {
    const auto lock = lockWithin(gate, std::chrono::seconds(6));
    return good->openDeviceV2(info, out);
  };
}
FAULT(keepsTheLockOnFailure, "lock.released-after-failure", "device information after location of a controller") {
  static std::timed_mutex kept;
  afterwards<&Plugin::getDeviceLocation>([](int32_t result, auto*, auto*, auto, auto& error) {
    if (result < 0 && error == "Failed to open controller.") kept.lock();
  });
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const auto lock = lockWithin(kept, std::chrono::milliseconds(100));
    return lock.owns_lock() ? good->getDeviceInfo(handle, information, error) : -1;
  };
}
FAULT(sharesARecord, "threads.at-once", "was wrong or failed") {
  static std::atomic<uint32_t> shared;
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) {
    shared = information->deviceType;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    information->deviceType = shared;
  });
}

// NOLINTEND(bugprone-*)
