// Faults of what is given back, of what reading writes, of the lock and of threads.
#include <atomic>
#include <cerrno>
#include <chrono>
#include <dlfcn.h>
#include <mutex>
#include <thread>
#include <unistd.h>

#include "platform/vmkmgmt.h"
#include "tests/broken_plugins/broken_plugin.h"

namespace {

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

FAULT(leaksAChannel, "channel.closed-after-each-call") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto...) { leakChannel(); });
}
FAULT(leaksChannelsOnFailure, "channel.does-not-pile-up") {
  afterwards<&Plugin::getDeviceInfo>([](int32_t result, auto...) {
    if (result != 0) leakChannel();
  });
}
FAULT(leaksAFile, "files.closed") {
  afterwards<&Plugin::getDeviceLocation>([](int32_t, auto...) { static_cast<void>(dup(STDERR_FILENO)); });
}
FAULT(leaksMemory, "memory.given-back") {
  afterwards<&Plugin::getDeviceTemperature>(
      [](int32_t, auto...) { static_cast<void>(strdup("a key that is not looked up again")); });
}
FAULT(writesWhileItReads, "commands.reading-changes-nothing") {
  afterwards<&Plugin::getDeviceTemperature>(
      [](int32_t, auto* handle, auto*, auto, auto& error) { good->setDriveLEDState(handle, 0, 1, error); });
}

FAULT(answersWithoutTheLock, "lock.serialises") {
  broken.getDeviceTemperature = [](auto...) { return 0; };
}
FAULT(givesUpAtOnce, "lock.times-out") {
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const std::unique_lock lock(gate, std::try_to_lock);
    if (lock.owns_lock()) return good->getDeviceInfo(handle, information, error);
    error = std::string("Mutex lock error: ") + std::strerror(ETIMEDOUT);
    return -1;
  };
}
FAULT(locksBeforeItLooks, "lock.null-handle-does-not-wait") {
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const auto lock = lockWithin(gate, std::chrono::seconds(6));
    return good->getDeviceInfo(handle, information, error);
  };
}
FAULT(locksToOpen, "lock.open-does-not-wait") {
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const std::unique_lock lock(gate);
    return good->getDeviceInfo(handle, information, error);
  };
  broken.openDeviceV2 = [](auto* info, auto* out) {
    const auto lock = lockWithin(gate, std::chrono::seconds(6));
    return good->openDeviceV2(info, out);
  };
}
FAULT(keepsTheLockOnFailure, "lock.released-after-failure") {
  static std::timed_mutex kept;
  afterwards<&Plugin::getDeviceLocation>([](int32_t result, auto*, auto*, auto, auto& error) {
    if (result < 0 && error == "Failed to open controller.") kept.lock();
  });
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    const auto lock = lockWithin(kept, std::chrono::milliseconds(100));
    return lock.owns_lock() ? good->getDeviceInfo(handle, information, error) : -1;
  };
}
FAULT(sharesARecord, "threads.at-once") {
  static std::atomic<uint32_t> shared;
  afterwards<&Plugin::getDeviceInfo>([](int32_t, auto*, auto* information, auto&) {
    shared = information->deviceType;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    information->deviceType = shared;
  });
}

// NOLINTEND(bugprone-*)
