// The calls of the platform and of the management library.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <optional>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include "platform/vmkmgmt.h"
#include "simulator/command_decoder.h"
#include "tests/interception.h"

namespace {

using interception::fails;
using interception::fromPlugin;
using interception::next;
using interception::openChannels;
using interception::openFiles;

constexpr char kTraceFile[] = "/tmp/veltrane_plugin_debug";

}  // namespace

extern "C" {

// The thread sanitizer's, where there is one.
// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): its name is the library's
[[gnu::weak]] int __interceptor_pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline);

int access(const char* path, int mode) noexcept {
  interception::noteStack(__builtin_return_address(0), __builtin_frame_address(0));
  if (std::strcmp(path, kTraceFile) != 0) return next<int(const char*, int)>("access")(path, mode);
  return !fails("access") && hostCalls.traceOn && mode == F_OK ? 0 : -1;
}

FILE* fopen(const char* path, const char* mode) {
  static auto* const kFopen = next<FILE*(const char*, const char*)>("fopen");
  if (std::strcmp(path, kTraceFile) != 0) return kFopen(path, mode);
  FILE* file = fails("fopen") ? nullptr : interception::openTrace(mode);
  if (file != nullptr) ++openFiles;
  return file;
}

static int closeFile(FILE* file) {
  static auto* const kFclose = next<int(FILE*)>("fclose");
  return kFclose(file);
}

int fclose(FILE* file) {
  if (fromPlugin(__builtin_return_address(0))) --openFiles;
  return closeFile(file);
}

FILE* popen(const char* command, const char* mode) {
  interception::noteStack(__builtin_return_address(0), __builtin_frame_address(0));
  static auto* const kPopen = next<FILE*(const char*, const char*)>("popen");
  if (!fromPlugin(__builtin_return_address(0))) return kPopen(command, mode);
  if (fails("popen")) return nullptr;
  FILE* pipe = hostCalls.moduleLoader      ? hostCalls.moduleLoader()
               : hostCalls.runModuleLoader ? kPopen(command, mode)
                                           : fopen("/dev/null", mode);
  if (pipe != nullptr) ++openFiles;
  return pipe;
}

int pclose(FILE* pipe) {
  static auto* const kPclose = next<int(FILE*)>("pclose");
  if (!fromPlugin(__builtin_return_address(0))) return kPclose(pipe);
  --openFiles;
  return hostCalls.runModuleLoader ? kPclose(pipe) : closeFile(pipe);
}

time_t time(time_t* out) noexcept {
  timeval now{};
  next<int(timeval*, void*)>("gettimeofday")(&now, nullptr);
  if (hostCalls.now && fromPlugin(__builtin_return_address(0))) now.tv_sec = static_cast<time_t>(*hostCalls.now);
  if (out != nullptr) *out = now.tv_sec;
  return now.tv_sec;
}

int gettimeofday(timeval* now, void* zone) noexcept {
  interception::noteStack(__builtin_return_address(0), __builtin_frame_address(0));
  if (fromPlugin(__builtin_return_address(0))) {
    if (fails("gettimeofday")) return hostCalls.failCode;
    if (hostCalls.now) {
      *now = {.tv_sec = static_cast<time_t>(*hostCalls.now), .tv_usec = 123456};
      return 0;
    }
  }
  return next<int(timeval*, void*)>("gettimeofday")(now, zone);
}

int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline) noexcept {
  if (fromPlugin(__builtin_return_address(0)) && hostCalls.recording) {
    hostCalls.lockDeadline = *deadline;
    if (fails("pthread_mutex_timedlock")) return hostCalls.failCode;
  }
  if (__interceptor_pthread_mutex_timedlock != nullptr) return __interceptor_pthread_mutex_timedlock(mutex, deadline);
  return next<int(pthread_mutex_t*, const timespec*)>("pthread_mutex_timedlock")(mutex, deadline);
}

int open(const char* path, int flags, ...) {
  interception::noteStack(__builtin_return_address(0), __builtin_frame_address(0));
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (fromPlugin(__builtin_return_address(0))) {
    if (hostCalls.recording) hostCalls.openFlags = flags;
    if (fails("open")) {
      errno = hostCalls.failCode;
      return -1;
    }
  }
  return next<int(const char*, int, ...)>("open")(path, flags, mode);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (fromPlugin(__builtin_return_address(0)) && fails("ioctl")) {
    errno = hostCalls.failCode;
    return -1;
  }
  if (request == SG_IO && hostCalls.diskAnswer) return hostCalls.diskAnswer(*static_cast<sg_io_hdr*>(argument));
  return next<int(int, unsigned long, ...)>("ioctl")(descriptor, request, argument);
}

uint32_t vmk_MgmtUserInit(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle) {
  const bool isPlugin = fromPlugin(__builtin_return_address(0));
  if (isPlugin && fails("init")) return static_cast<uint32_t>(hostCalls.failCode);
  const uint32_t code = next<decltype(vmk_MgmtUserInit)>("vmk_MgmtUserInit")(signature, reserved, handle);
  if (isPlugin && code == 0) ++openChannels;
  return code;
}

int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* handle) {
  const bool isPlugin = fromPlugin(__builtin_return_address(0));
  const int32_t code = next<decltype(vmk_MgmtUserDestroy)>("vmk_MgmtUserDestroy")(handle);
  if (isPlugin && code == 0) --openChannels;
  return isPlugin && fails("destroy") ? hostCalls.failCode : code;
}

int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* handle, uint64_t reserved, uint64_t callbackId,
                                      uint32_t numParms, ...) {
  interception::noteStack(__builtin_return_address(0), __builtin_frame_address(0));
  void* parameters[4] = {};
  va_list addresses;
  va_start(addresses, numParms);
  for (uint32_t i = 0; i < numParms && i < std::size(parameters); ++i) parameters[i] = va_arg(addresses, void*);
  va_end(addresses);
  if (fromPlugin(__builtin_return_address(0))) {
    if (hostCalls.driver) return hostCalls.driver(numParms, parameters);
    const bool isQuery = numParms == 2;
    const auto command = isQuery
                             ? std::nullopt
                             : simulator::decodeCommand(*static_cast<simulator::wire::PassthruRecord*>(parameters[1]));
    if (command && parameters[1]) {
      hostCalls.misaligned += static_cast<const simulator::wire::PassthruRecord*>(parameters[1])->buffer % 16 != 0;
    }
    const char* name = command ? command->layout->name : "query";
    if (hostCalls.before) hostCalls.before(name);
    if (fails(name)) {
      if (hostCalls.failStatus == 0) return hostCalls.failCode;
      std::memcpy(parameters[isQuery ? 1 : 2], &hostCalls.failStatus, sizeof(hostCalls.failStatus));
      return 0;
    }
  }
  static auto* const kInvoke = next<decltype(vmk_MgmtUserCallbackInvokeInt)>("vmk_MgmtUserCallbackInvokeInt");
  return kInvoke(handle, reserved, callbackId, numParms, parameters[0], parameters[1], parameters[2], parameters[3]);
}
}  // extern "C"
