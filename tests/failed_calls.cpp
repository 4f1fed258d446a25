// What each call is for, and what is lost without it.
#include "tests/failed_calls.h"

#include <algorithm>
#include <cstring>

namespace {

/// What a failure leaves in the trace: of the allocation of a command's buffer, and of the command itself.
struct Traces {
  const char* call;
  const char* noMemory;
  const char* failed;
};

constexpr Traces kTraces[] = {
    {"identifyController", "OrvaInfo_GetInfoFromCtrl: Failed to allocated memory.\n",
     "OrvaInfo_GetInfoFromCtrl: Failed to exec identify controller.\n"},
    {"reportLogicalLuns", "OrvaInfo_DeviceScan: Faied to allocated memory.\n",
     "OrvaInfo_DeviceScan: Failed to execute Report Logical Lun.\n"},
    {"reportPhysicalLuns", "OrvaInfo_DeviceScan: Faied to allocated memory.\n",
     "OrvaInfo_DeviceScan: Failed to execute Reprot Physical LUN.\n"},
    {"identifyLogicalDevice", "OrvaInfo_IdentifyLogicalDevice: Failed to allocate memoyr.\n", ""},
    {"senseConfiguration", "OrvaInfo_SenseConfiguration: Failed to allocate memory.\n", ""},
    {"identifyPhysicalDevice", "OrvaInfo_IdentifyPhysicalDevieWithBMICInex: Failed to allocate memory.\n", ""},
    {"senseBlinkDriveLed", "OrvaInfo_BlinkDriveTrayLED: Failed to allocate memory.\n",
     "OrvaInfo_SenseBlinkDriveLED: Failed to sense blink drive LED.\n"},
    {"blinkDriveTrayLed", "", "OrvaInfo_BlinkDriveTrayLED: Failed to blink drive LED.\n"},
    {"senseControllerParameters", "OrvaInfo_CtrlParameter: Failed to allocate memory.\n", ""},
    {"senseCacheConfiguration", "OrvaInfo_CacheConfiguration: Failed to allocate memory.\n", ""},
};

}  // namespace

void FailedCalls::fail(size_t i, int32_t result) {
  const PluginCall& call = calls_[i];
  if (call.is("memalign")) {
    failBuffer(i);
  } else if (call.isAllocation()) {
    failAllocation(i);
  } else if (call.isOfDriver()) {
    failDriver(i, result);
  } else if (call.is("gettimeofday") || call.is("pthread_mutex_timedlock")) {
    failOperation(call.step, -1, std::string("Mutex lock error: ") + std::strerror(result));
  } else if (call.is("open") || call.is("ioctl")) {
    loseSerialNumber();
  }  // without the module loader the driver is no OEM build, as it is here
}

void FailedCalls::failFrom(size_t i, int32_t result) {
  for (size_t k = i; k < calls_.size(); ++k) {
    if (calls_[k].is(calls_[i].name)) fail(k, result);
  }
  if (!notOpened_) return;
  for (size_t step = calls_[i].step; step < kClose; ++step) failOperation(step, -1, kOpenFails);  // each begins anew
}

std::string FailedCalls::trace(size_t i) const {
  const PluginCall& call = calls_[i];
  if (call.is("malloc") && call.step == kVolume) return "OrvaInfo_SenseConfiguration: Failed to allocate memory.\n";
  if (call.is("malloc") && call.size != kDmuLocationSize) {
    return "OrvaInfo_GetPhyLocationForVolume: Failed to allocate memory.\n";
  }
  const bool isBuffer = call.is("memalign");
  if (isBuffer && isFirstInStep(i) && call.step == kVolume) return "OrvaInfo_UpdateCtrl: Failed to allocate memory.\n";
  const size_t command = isBuffer ? commandAfter(i) : i;
  for (const Traces& traces : kTraces) {
    if (!calls_[command].is(traces.call)) continue;
    if (asksForHeader(command)) return "";  // of a report: goes by in silence
    return isBuffer ? traces.noMemory : traces.failed;
  }
  return "";
}

bool FailedCalls::isFirstInStep(size_t i) const {
  return std::none_of(calls_.begin(), calls_.begin() + static_cast<ptrdiff_t>(i),
                      [&](const PluginCall& call) { return call.is(calls_[i].name) && call.step == calls_[i].step; });
}

size_t FailedCalls::commandAfter(size_t i) const {
  do ++i;
  while (i + 1 < calls_.size() && !calls_[i].isOfDriver());
  return i;
}

bool FailedCalls::asksForHeader(size_t command) const {
  return calls_[command].is(calls_[commandAfter(command)].name);
}

void FailedCalls::failDriver(size_t i, int32_t result) {
  const PluginCall& call = calls_[i];
  if (call.is("init") || call.is("query") || call.is("identifyController")) {
    failOperation(call.step, -1, kOpenFails);
    notOpened_ = true;
  } else if (call.is("reportLogicalLuns")) {
    failAll(kVolume, kNotFound);
  } else if (call.is("senseConfiguration")) {
    isFirstInStep(i) ? setDriveCount(0, 0) : loseMap();
  } else if (call.is("reportPhysicalLuns")) {
    loseDrives();
  } else if (call.is("identifyPhysicalDevice")) {
    loseDrive(i);
  } else if (call.is("senseBlinkDriveLed") || call.is("blinkDriveTrayLed")) {
    failOperation(call.step, 0);
  } else if (!call.is("destroy") && !call.is("identifyLogicalDevice")) {
    failOperation(call.step, result);  // the settings' commands: their result is the operation's
  }
}

void FailedCalls::failAllocation(size_t i) {
  const PluginCall& call = calls_[i];
  if (call.step == kOpen || call.step == kOpenV2) return isFirstInStep(i) ? loseHandle(call.step) : loseSerialNumber();
  if (call.step == kVolume) return loseMap();
  if ((call.step - kVolume) % kOperations == kLed) return;  // the dump has fewer lines
  const auto isSlot = [&](const PluginCall& other) {
    return other.is("malloc") && other.size == kDmuLocationSize && other.step == call.step;
  };
  const bool isText = call.is("new") && (call.step - kVolume) % kOperations == kLocation;
  if (!isSlot(call) && !isText) return failOperation(call.step, -1);
  failOperation(call.step, -1, "No memory for location!");
  if (isText) return;
  outcomes[call.step].output = "null";
  for (size_t k = 0; k < i; ++k) {
    if (isSlot(calls_[k])) outcomes[call.step].output += ", null";
  }
}

/// The buffer of a command, which is not sent then.
void FailedCalls::failBuffer(size_t i) {
  const size_t command = commandAfter(i);
  failDriver(command, -1);
  if (calls_[command].is("reportLogicalLuns") && !asksForHeader(command)) {
    failAll(kDisk, kNotFound);  // the drives are not asked for
  }
}

void FailedCalls::loseDrive(size_t i) {
  const auto drive = std::count_if(calls_.begin(), calls_.begin() + static_cast<ptrdiff_t>(i),
                                   [](const PluginCall& call) { return call.is("identifyPhysicalDevice"); });
  drive < 2 ? setMember(static_cast<size_t>(drive), ":0:0", "0/0") : failAll(kDisk, kNotFound);
}
