// Defines the host's calls in front of the libraries that provide them, and hands each one to whoever answers it.
#include "host/interception/interception.h"

#include <atomic>
#include <cstdarg>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/ioctl.h>
#include <unistd.h>

#include "host/interception/next_definition.h"

namespace host {
namespace {

std::atomic<HostCalls*> theCalls = nullptr;

HostCalls& calls() {
  HostCalls* answering = theCalls;
  return answering != nullptr ? *answering : nextCalls();
}

/// The disk nodes that are open, by descriptor. Its lock is never held while anything else is called: close and ioctl
/// of any descriptor come through here, whatever their caller holds.
class OpenNodes {
 public:
  /// Never destroyed: descriptors are closed while the process ends.
  static OpenNodes& instance() {
    static OpenNodes& nodes = *new OpenNodes;
    return nodes;
  }
  void add(int descriptor, const std::string& device) {
    const std::lock_guard lock(mutex_);
    devices_[descriptor] = device;
  }
  /// @return empty: no disk node
  std::string find(int descriptor) {
    const std::lock_guard lock(mutex_);
    const auto found = devices_.find(descriptor);
    return found == devices_.end() ? "" : found->second;
  }
  void remove(int descriptor) {
    const std::lock_guard lock(mutex_);
    devices_.erase(descriptor);
  }

 private:
  std::mutex mutex_;
  std::map<int, std::string> devices_;
};

/// The third argument of open, which is there only when a file may be created.
mode_t creationMode(int flags, va_list arguments) {
  const bool mayCreate = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  return mayCreate ? va_arg(arguments, mode_t) : mode_t{0};
}

int openAny(const char* function, Open next, const char* path, int flags, mode_t mode) {
  const std::string_view name = path == nullptr ? "" : path;
  if (!name.starts_with(kNodes) || name.size() == kNodes.size()) return next(path, flags, mode);
  const NodeOpening opening{function, std::string(name.substr(kNodes.size())), flags, mode};
  const int descriptor = calls().openNode(opening);
  if (descriptor >= 0) OpenNodes::instance().add(descriptor, opening.device);
  return descriptor;
}

}  // namespace

HostCalls& takeCallsFrom(HostCalls& answering) {
  HostCalls& before = calls();
  theCalls = &answering;
  return before;
}

}  // namespace host

// The program's own visibility is hidden; these definitions must be found by the libraries.
#define DMU_INTERCEPTED __attribute__((visibility("default")))

extern "C" {

DMU_INTERCEPTED uint32_t vmk_MgmtUserInit(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle) {
  return host::calls().openChannel(signature, reserved, handle);
}

DMU_INTERCEPTED int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* handle) {
  return host::calls().closeChannel(handle);
}

DMU_INTERCEPTED int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* handle, uint64_t reserved,
                                                      uint64_t callbackId, uint32_t numParms, ...) {
  host::CallbackCall call{handle, reserved, callbackId, numParms, {}};
  va_list arguments;
  va_start(arguments, numParms);
  for (size_t index = 0; index < numParms && index < call.parameters.size(); ++index) {
    call.parameters[index] = va_arg(arguments, void*);
  }
  va_end(arguments);
  return host::calls().invoke(call);
}

DMU_INTERCEPTED int open(const char* path, int flags, ...) {
  static const auto nextOpen = host::nextDefinition<host::Open>("open");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = host::creationMode(flags, arguments);
  va_end(arguments);
  return host::openAny("open", nextOpen, path, flags, mode);
}

DMU_INTERCEPTED int open64(const char* path, int flags, ...) {
  static const auto nextOpen = host::nextDefinition<host::Open>("open64");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = host::creationMode(flags, arguments);
  va_end(arguments);
  return host::openAny("open64", nextOpen, path, flags, mode);
}

DMU_INTERCEPTED int ioctl(int descriptor, unsigned long request, ...) noexcept {
  static const auto nextIoctl = host::nextDefinition<decltype(&ioctl)>("ioctl");
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const std::string device = host::OpenNodes::instance().find(descriptor);
  if (device.empty()) return nextIoctl(descriptor, request, argument);
  return host::calls().requestOfNode(device, descriptor, request, argument);
}

DMU_INTERCEPTED int close(int descriptor) {
  static const auto nextClose = host::nextDefinition<decltype(&close)>("close");
  const std::string device = host::OpenNodes::instance().find(descriptor);
  if (device.empty()) return nextClose(descriptor);
  host::OpenNodes::instance().remove(descriptor);
  return host::calls().closeNode(device, descriptor);
}

DMU_INTERCEPTED FILE* popen(const char* command, const char* mode) {
  return host::calls().startCommand(command, mode);
}

DMU_INTERCEPTED int pclose(FILE* output) {
  return host::calls().endCommand(output);
}

DMU_INTERCEPTED time_t time(time_t* out) noexcept {
  const time_t now = host::calls().now();
  if (out != nullptr) *out = now;
  return now;
}

}  // extern "C"
