// The entry point, and the descriptor's functions: each holds its call against the rules and passes it on.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <pthread.h>

#include "host_check/error_text.h"
#include "host_check/handles.h"
#include "host_check/heap.h"
#include "host_check/kernel_memory.h"
#include "host_check/lifetime.h"
#include "host_check/places.h"
#include "host_check/real_plugin.h"
#include "host_check/report.h"

namespace hostcheck {
namespace {

constexpr size_t kNameSize = 64;  // what a report shows of a name
constexpr int32_t kFailed = -1;

/// The host finds errno as it left it.
struct KeptErrno {
  KeptErrno() = default;
  ~KeptErrno() { errno = value; }
  KeptErrno(const KeptErrno&) = delete;
  KeptErrno& operator=(const KeptErrno&) = delete;
  int value = errno;
};

/// A call of a descriptor's function, for as long as that runs. The default is what the function returns to, since
/// default arguments belong to the caller.
struct HostCall : KeptErrno, Call {
  explicit HostCall(const char* function, const void* returnAddress = __builtin_return_address(0))
      : Call(Call{function, callBefore(returnAddress)}) {
    countCall();
  }
};

/// Whether an argument can be what it is meant for; a null is noted and left to the real plugin, which answers it.
/// @param access  what the kernel said of its memory
bool isSound(const Call& call, const Subject& subject, const void* argument, Access access) {
  if (argument == nullptr) note(Rule::argumentNull, call, subject);
  if (argument == nullptr || access != Access::badAddress) return true;
  note(Rule::argumentBadAddress, call, subject);
  return false;
}

bool isRoom(const Call& call, const Subject& subject, const void* argument, size_t size) {
  const Access access = argument == nullptr ? Access::done : isWritable(reinterpret_cast<uintptr_t>(argument), size);
  return isSound(call, subject, argument, access);
}

/// Whether an array has the records or slots that the host announces, or the first one where it announces none. Each of
/// them is touched by a call that sanitizers watch.
template <typename Slot>
bool isArray(const Call& call, CtrlDevInfo* handle, const char* argument, Slot* slots, int32_t count) {
  const int32_t needed = std::max(count, 1);
  const uint64_t size = uint64_t{sizeof(Slot)} * static_cast<uint64_t>(needed);
  const size_t room = roomBehind(slots);
  if (size > room || isWritable(reinterpret_cast<uintptr_t>(slots), size) == Access::badAddress) {
    char inBlock[48] = "";
    if (size > room) std::snprintf(inBlock, sizeof(inBlock), ", room for %zu in the heap block", room / sizeof(Slot));
    char detail[112];
    std::snprintf(detail, sizeof(detail), "%d %s announced%s%s", count, argument, count < 1 ? ", one written" : "",
                  inBlock);
    note(Rule::arrayTooSmall, call, {.handle = handle, .detail = detail});
    return false;
  }
  // By a pointer that no compiler sees through: to it, the call does nothing.
  void* (*volatile const touch)(void*, const void*, size_t) = std::memmove;
  for (int32_t index = 0; index < needed; ++index) touch(slots + index, slots + index, sizeof(Slot));
  return true;
}

/// A name of an open, which may be null.
bool readName(const Call& call, const char* argument, const char* name, char (&copy)[kNameSize]) {
  return name == nullptr || isSound(call, {.detail = argument}, name, readText(name, copy, sizeof(copy)));
}

/// What the two open functions have in common.
/// @param send  opens with the real plugin: called with where its handle goes
template <typename Send>
int32_t checkedOpen(const Call& call, const char* hba, uint32_t channel, uint32_t target, uint32_t lun,
                    const char* driver, const char* devName, CtrlDevInfo** out, Send send) {
  char hbaCopy[kNameSize] = "";
  char driverCopy[kNameSize] = "";
  char devNameCopy[kNameSize] = "";
  if (driver == nullptr) note(Rule::argumentNull, call, {.detail = "driver"});
  const bool isSoundCall = readName(call, "hba", hba, hbaCopy) && readName(call, "driver", driver, driverCopy) &&
                           readName(call, "devName", devName, devNameCopy) &&
                           isRoom(call, {.detail = "out"}, out, sizeof(void*));
  if (!isSoundCall) return kFailed;
  CtrlDevInfo* real = nullptr;
  const int32_t result = send(out == nullptr ? nullptr : &real);
  if (result != 0 || real == nullptr) return result;

  char disk[3 * kNameSize];
  std::snprintf(disk, sizeof(disk), "%s %u:%u:%u%s%s", hbaCopy, channel, target, lun, *devNameCopy == '\0' ? "" : " ",
                devNameCopy);
  Handle* const handle = addHandle(real, disk, call);
  if (handle == nullptr) {
    realPlugin().closeDevice(real);
    return kFailed;
  }
  *out = handle->forHost();
  return result;
}

int32_t openDevice(const char* hba, uint32_t channel, uint32_t target, uint32_t lun, const char* driver,
                   uint8_t isPciDevice, uint16_t segment, uint8_t busId, uint8_t slotId, uint8_t functionId,
                   uint16_t vendorId, uint16_t subVendorId, uint16_t deviceId, uint16_t subDeviceId, uint8_t reserved,
                   uint32_t physicalSlot, CtrlDevInfo** out) {
  const HostCall call("openDevice");
  return checkedOpen(call, hba, channel, target, lun, driver, nullptr, out, [&](CtrlDevInfo** real) {
    return realPlugin().openDevice(hba, channel, target, lun, driver, isPciDevice, segment, busId, slotId, functionId,
                                   vendorId, subVendorId, deviceId, subDeviceId, reserved, physicalSlot, real);
  });
}

int32_t openDeviceV2(const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
  const HostCall call("openDeviceV2");
  DmuDeviceOpenInfo copy{};
  const Access access =
      info == nullptr ? Access::done : readMemory(reinterpret_cast<uintptr_t>(info), &copy, sizeof(copy));
  if (!isSound(call, {.detail = "info"}, info, access)) return kFailed;
  if (info == nullptr || access == Access::unknown) return realPlugin().openDeviceV2(info, out);
  return checkedOpen(call, copy.hba, copy.channel, copy.target, copy.lun, copy.driver, copy.devName, out,
                     [&](CtrlDevInfo** real) { return realPlugin().openDeviceV2(info, real); });
}

void closeDevice(CtrlDevInfo* handle) {
  const HostCall call("closeDevice");
  if (handle == nullptr) return realPlugin().closeDevice(nullptr);
  closeHandle(call, handle);
}

/// Whether the plugin can write an error text there.
bool isErrorText(const Call& call, CtrlDevInfo* handle, std::string& error) {
  // A reference is never null, says the language, so the compiler must not know that this was one.
  auto address = reinterpret_cast<uintptr_t>(&error);
  __asm__ volatile("" : "+r"(address));
  switch (judgeErrorText(address)) {
    case ErrorText::possible:
      return true;
    case ErrorText::noString:
      note(Rule::errorNoString, call, {.handle = handle, .detail = "error"});
      break;
    case ErrorText::otherLayout:
      note(Rule::errorOtherLayout, call,
           {.handle = handle,
            .detail = errorLayout()[0] == 'n' ? "a string of the old layout" : "a string of the new layout"});
  }
  return false;
}

/// What the six operations have in common.
/// @param error  looked at before anything is sent
/// @param send   calls the real plugin: called with its handle
template <typename Send>
int32_t checkedOperation(const Call& call, CtrlDevInfo* handle, std::string& error, Send send) {
  const Operation operation(call, handle);
  if (!operation.maySend() || !isErrorText(call, handle, error)) return kFailed;
  return send(operation.real());
}

int32_t getDeviceInfo(CtrlDevInfo* handle, DmuDeviceInfo* deviceInfo, std::string& error) {
  const HostCall call("getDeviceInfo");
  if (!isRoom(call, {.handle = handle, .detail = "deviceInfo"}, deviceInfo, sizeof(*deviceInfo))) return kFailed;
  return checkedOperation(call, handle, error,
                          [&](CtrlDevInfo* real) { return realPlugin().getDeviceInfo(real, deviceInfo, error); });
}

int32_t setDriveLEDState(CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error) {
  const HostCall call("setDriveLEDState");
  return checkedOperation(call, handle, error, [&](CtrlDevInfo* real) {
    return realPlugin().setDriveLEDState(real, state, seconds, error);
  });
}

int32_t cacheOn(CtrlDevInfo* handle, std::string& error) {
  const HostCall call("cacheOn");
  return checkedOperation(call, handle, error, [&](CtrlDevInfo* real) { return realPlugin().cacheOn(real, error); });
}

int32_t cacheOff(CtrlDevInfo* handle, std::string& error) {
  const HostCall call("cacheOff");
  return checkedOperation(call, handle, error, [&](CtrlDevInfo* real) { return realPlugin().cacheOff(real, error); });
}

void release(DriveTemperature) {}
void release(char* location) {
  freeForHost(location);
}

/// What the two operations have in common that fill an array.
///
/// With a count below 1 a volume writes nothing, and a disk writes slot 0: an own slot takes its place, and tells
/// whether the host's has to be there.
template <typename Slot, typename Send>
int32_t checkedList(const Call& call, CtrlDevInfo* handle, const char* argument, Slot* slots, int32_t count,
                    std::string& error, Send send) {
  if (slots == nullptr) note(Rule::argumentNull, call, {.handle = handle, .detail = argument});
  const bool hasStandIn = slots != nullptr && count < 1;
  if (slots != nullptr && !hasStandIn && !isArray(call, handle, argument, slots, count)) return kFailed;
  Slot untouched{};
  std::memset(&untouched, 0xFF, sizeof(untouched));
  Slot standIn = untouched;
  const int32_t written = checkedOperation(
      call, handle, error, [&](CtrlDevInfo* real) { return send(real, hasStandIn ? &standIn : slots); });
  if (!hasStandIn || (written < 1 && std::memcmp(&standIn, &untouched, sizeof(Slot)) == 0)) return written;
  if (!isArray(call, handle, argument, slots, count)) {
    release(standIn);
    return kFailed;
  }
  *slots = standIn;
  return written;
}

int32_t getDeviceTemperature(CtrlDevInfo* handle, DriveTemperature* temperatures, int32_t count, std::string& error) {
  const HostCall call("getDeviceTemperature");
  return checkedList(call, handle, "temperatures", temperatures, count, error,
                     [&](CtrlDevInfo* real, DriveTemperature* records) {
                       return realPlugin().getDeviceTemperature(real, records, count, error);
                     });
}

int32_t getDeviceLocation(CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
  const HostCall call("getDeviceLocation");
  const int32_t written = checkedList(
      call, handle, "locations", locations, count, error,
      [&](CtrlDevInfo* real, char** slots) { return realPlugin().getDeviceLocation(real, slots, count, error); });
  for (int32_t index = 0; index < written; ++index) {
    countLocationText();
    addLocationText(locations[index], call.at, handle);
  }
  return written;
}

DmuPluginDescriptor checkedDescriptor;
DmuPluginInitFunction realEntry = nullptr;
pthread_once_t once = PTHREAD_ONCE_INIT;

/// A function that the real plugin lacks is lacking here too.
template <typename Function>
Function unlessNull(Function real, Function checked) {
  return real == nullptr ? nullptr : checked;
}

void begin() {
  realEntry = loadRealPlugin();
  beginToCheck();
  const DmuPluginDescriptor* const real = realEntry == nullptr ? nullptr : realEntry();
  if (real == nullptr) return;
  useRealPlugin(real);
  checkedDescriptor.version = real->version;
  checkedDescriptor.name = real->name;
  checkedDescriptor.openDevice = unlessNull(real->openDevice, &openDevice);
  checkedDescriptor.closeDevice = unlessNull(real->closeDevice, &closeDevice);
  checkedDescriptor.operationCount = real->operationCount;
  checkedDescriptor.getDeviceInfo = unlessNull(real->getDeviceInfo, &getDeviceInfo);
  checkedDescriptor.setDriveLEDState = unlessNull(real->setDriveLEDState, &setDriveLEDState);
  checkedDescriptor.cacheOn = unlessNull(real->cacheOn, &cacheOn);
  checkedDescriptor.cacheOff = unlessNull(real->cacheOff, &cacheOff);
  checkedDescriptor.getDeviceTemperature = unlessNull(real->getDeviceTemperature, &getDeviceTemperature);
  checkedDescriptor.getDeviceLocation = unlessNull(real->getDeviceLocation, &getDeviceLocation);
  checkedDescriptor.openDeviceV2 = unlessNull(real->openDeviceV2, &openDeviceV2);
}

}  // namespace
}  // namespace hostcheck

DmuPluginDescriptor* DmuPluginInit() {
  const hostcheck::KeptErrno kept;
  pthread_once(&hostcheck::once, hostcheck::begin);
  const bool isThere = hostcheck::realEntry != nullptr && hostcheck::realEntry() != nullptr;
  return isThere ? &hostcheck::checkedDescriptor : nullptr;
}
