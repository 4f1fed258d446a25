// Arbitrary replies of the driver to whole sequences of operations, called as a host calls them. After each: the lock
// free, the documented result and text, nothing written beyond what the host allowed.
#include <optional>
#include <string>

#include "channel/management_channel.h"
#include "controller/snapshot_cache.h"
#include "fuzz/fuzzed_host.h"
#include "fuzz/operations.h"
#include "plugin/plugin_lock.h"
#include <dmu/plugin.h>

namespace {

using fuzz::Input;
using fuzz::require;

/// A drive's serial page, with the serial number that the controller reports for that drive in mind.
int answerInquiry(Input& input, sg_io_hdr& request) {
  const uint8_t page[] = {0, 0x80, 0, 2, 'S', static_cast<uint8_t>('0' + input.below(10))};
  std::memcpy(request.dxferp, page, sizeof(page));
  request.resid = static_cast<int>(request.dxfer_len - sizeof(page));
  return input.around<int>(0);
}

CtrlDevInfo* openHandle(DmuPluginDescriptor& plugin, Input& input) {
  const std::string hba = "hba" + std::to_string(input.below(12));
  const uint32_t channel = input.oneOf({1U, 0U, 3U, 1U});
  const uint32_t target = input.below(8) + (channel == 0 ? 64 : 0);
  CtrlDevInfo* handle = nullptr;
  if (input.below(4) == 3) {
    require(
        plugin.openDevice(hba.c_str(), channel, target, 0, kDmuDriver, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, &handle) == 0,
        "a handle opens by its address");
    return handle;
  }
  DmuDeviceOpenInfo info{};
  info.devName = fuzz::kDisk;
  info.hba = hba.c_str();
  info.channel = channel;
  info.target = target;
  info.driver = kDmuDriver;
  require(plugin.openDeviceV2(&info, &handle) == 0, "a handle opens whatever its disk answers");
  return handle;
}

int32_t callOperation(DmuPluginDescriptor& plugin, CtrlDevInfo* handle, Input& input, std::string& error) {
  const int32_t count = input.oneOf({8, 3, 1, 0, -1, fuzz::kSlots});
  switch (input.below(6)) {
    case 0: {
      DmuDeviceInfo info{};
      return plugin.getDeviceInfo(handle, &info, error);
    }
    case 1:
      return plugin.setDriveLEDState(handle, input.number<uint32_t>(), input.number<uint16_t>(), error);
    case 2:
      return plugin.cacheOn(handle, error);
    case 3:
      return plugin.cacheOff(handle, error);
    case 4:
      return fuzz::askTemperatures(plugin, handle, count, error);
    default:
      return fuzz::askLocations(plugin, handle, count, error);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  fuzz::Controller controller(input);
  const auto answer = [&](sg_io_hdr& request) { return answerInquiry(input, request); };
  fuzz::answerFrom(input, answer, &controller);

  DmuPluginDescriptor& plugin = *DmuPluginInit();
  CtrlDevInfo* handles[] = {openHandle(plugin, input), openHandle(plugin, input), nullptr};
  const int most = input.has(Input::Costly::manyDevices) || input.has(Input::Costly::trace) ? 1
                   : input.has(Input::Costly::manyOperations)                               ? 8
                                                                                            : 4;
  for (int i = 0; i < most && !(i > 0 && input.isUsedUp()); ++i) {
    std::string error;
    const int32_t result = callOperation(plugin, handles[input.oneOf({0, 1, 0, 1, 0, 1, 0, 2})], input, error);
    fuzz::requireDocumented(result, error);
    require(heldByPlugin().channels == 0 || fuzz::hadNoController(error), "an operation closes the channel");
    require(pthread_mutex_trylock(&pluginMutex) == 0, "the lock is free after an operation");
    pthread_mutex_unlock(&pluginMutex);
    *hostCalls.now += input.oneOf({0, 30, 31});
  }
  for (CtrlDevInfo* handle : handles) plugin.closeDevice(handle);
  OrvaInfo_CleanupCtrls();
  OrvaInfo_Cleanup();
  fuzz::requireNothingHeld();
  return 0;
}
