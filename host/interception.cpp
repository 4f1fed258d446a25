// Defines the host's calls in front of the libraries that provide them, and passes each one on to the next definition.
#include "host/interception.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/vmkmgmt.h"

namespace host {
namespace {

constexpr uint64_t kPassthruCallback = 0x12;
constexpr uint32_t kPassthruParameters = 3;
constexpr size_t kMostParameters = 4;  // of a callback, as the interface's description has room for

CommandWatcher* theWatcher = nullptr;

/// The definition of a function that comes after this program's own; null when there is none.
template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

using Parameters = std::array<void*, kMostParameters>;

int32_t invokeNext(vmk_MgmtUserHandle* handle, uint64_t reserved, uint64_t callbackId, uint32_t count,
                   const Parameters& parameters) {
  static const auto invoke = next<decltype(&vmk_MgmtUserCallbackInvokeInt)>("vmk_MgmtUserCallbackInvokeInt");
  return invoke(handle, reserved, callbackId, count, parameters[0], parameters[1], parameters[2], parameters[3]);
}

void copyData(InterceptedCommand& command) {
  const auto* data = reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(command.record.buffer));
  const bool isBmic = command.command && !command.command->layout->isReport();
  if (isBmic && data != nullptr) command.data.assign(data, data + command.command->length);
}

/// Passes a pass-through command on, unless the watcher holds it back, and tells the watcher.
int32_t passThrough(vmk_MgmtUserHandle* handle, uint64_t reserved, const Parameters& parameters) {
  InterceptedCommand command;
  std::memcpy(&command.instance, parameters[0], sizeof(command.instance));
  std::memcpy(&command.record, parameters[1], sizeof(command.record));
  command.command = simulator::decodeCommand(command.record);
  const bool isWrite = command.command && command.command->layout->toController;
  if (isWrite) copyData(command);

  const auto start = std::chrono::steady_clock::now();
  command.wasHeldBack = theWatcher->holdsBack(command);
  if (command.wasHeldBack) {
    std::memset(parameters[2], 0, sizeof(command.driverStatus));
  } else {
    command.result = invokeNext(handle, reserved, kPassthruCallback, kPassthruParameters, parameters);
  }
  command.duration = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
  if (command.result == 0) std::memcpy(&command.driverStatus, parameters[2], sizeof(command.driverStatus));

  const int32_t result = command.result;
  if (!isWrite && command.succeeded()) copyData(command);
  theWatcher->passed(std::move(command));
  return result;
}

/// The third argument of open, which is there only when a file may be created.
mode_t creationMode(int flags, va_list arguments) {
  const bool mayCreate = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  return mayCreate ? va_arg(arguments, mode_t) : mode_t{0};
}

using Open = int (*)(const char*, int, ...);

}  // namespace

void watchCommands(CommandWatcher* watcher) {
  theWatcher = watcher;
}

}  // namespace host

// The program's own visibility is hidden; these definitions must be found by the libraries.
#define DMU_INTERCEPTED __attribute__((visibility("default")))

extern "C" {

DMU_INTERCEPTED uint32_t vmk_MgmtUserInit(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle) {
  static const auto init = host::next<decltype(&vmk_MgmtUserInit)>("vmk_MgmtUserInit");
  return init(signature, reserved, handle);
}

DMU_INTERCEPTED int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* handle) {
  static const auto destroy = host::next<decltype(&vmk_MgmtUserDestroy)>("vmk_MgmtUserDestroy");
  return destroy(handle);
}

DMU_INTERCEPTED int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* handle, uint64_t reserved,
                                                      uint64_t callbackId, uint32_t numParms, ...) {
  host::Parameters parameters{};
  va_list arguments;
  va_start(arguments, numParms);
  for (size_t index = 0; index < numParms && index < parameters.size(); ++index) {
    parameters[index] = va_arg(arguments, void*);
  }
  va_end(arguments);
  const bool isCommand = callbackId == host::kPassthruCallback && numParms == host::kPassthruParameters;
  if (isCommand && host::theWatcher != nullptr) return host::passThrough(handle, reserved, parameters);
  return host::invokeNext(handle, reserved, callbackId, numParms, parameters);
}

DMU_INTERCEPTED int open(const char* path, int flags, ...) {
  static const auto nextOpen = host::next<host::Open>("open");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = host::creationMode(flags, arguments);
  va_end(arguments);
  return nextOpen(path, flags, mode);
}

DMU_INTERCEPTED int open64(const char* path, int flags, ...) {
  static const auto nextOpen = host::next<host::Open>("open64");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = host::creationMode(flags, arguments);
  va_end(arguments);
  return nextOpen(path, flags, mode);
}

DMU_INTERCEPTED int ioctl(int descriptor, unsigned long request, ...) noexcept {
  static const auto nextIoctl = host::next<decltype(&ioctl)>("ioctl");
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return nextIoctl(descriptor, request, argument);
}

DMU_INTERCEPTED int close(int descriptor) {
  static const auto nextClose = host::next<decltype(&close)>("close");
  return nextClose(descriptor);
}

}  // extern "C"
