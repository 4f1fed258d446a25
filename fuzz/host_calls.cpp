// The calls that the plugin finds in the fuzzing program before the libraries' own.
#include "fuzz/host_calls.h"

#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include "platform/vmkmgmt.h"
#include "plugin/trace.h"

namespace fuzz {

HostCalls hostCalls;

namespace {

constexpr int kNode = 1 << 20;  // no descriptor of this process
constexpr std::string_view kNodePrefix = "/dev/disks/";
vmk_MgmtUserHandle* const kChannel = reinterpret_cast<vmk_MgmtUserHandle*>(&hostCalls);

FILE* traceFile = nullptr;  // stays open: thousands of lines are written to it

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The controllers' names are "hba0" to "hba9".
void listInstances(simulator::wire::InstanceList& list) {
  for (uint32_t i = 0; i < simulator::wire::kInstances; ++i) {
    simulator::wire::InstanceEntry& entry = list.entries[i];
    entry.id = hostCalls.input->around<uint32_t>(i);
    std::memset(entry.name, hostCalls.input->number<uint8_t>(), sizeof(entry.name));
    std::snprintf(entry.name, sizeof(entry.name), "hba%u", i);
  }
}

}  // namespace
}  // namespace fuzz

using fuzz::hostCalls;

extern "C" {

uint32_t vmk_MgmtUserInit(const void* /*signature*/, uint64_t /*reserved*/, vmk_MgmtUserHandle** handle) {
  if (hostCalls.input->number<uint8_t>() == 1) return 0xBAD0001;
  *handle = fuzz::kChannel;
  ++hostCalls.channels;
  return 0;
}

int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* handle) {
  fuzz::require(handle == fuzz::kChannel && hostCalls.channels == 1, "the open channel is closed");
  --hostCalls.channels;
  return hostCalls.input->around<int32_t>(0);
}

int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* handle, uint64_t /*reserved*/, uint64_t /*callbackId*/,
                                      uint32_t numParms, ...) {
  fuzz::require(handle == fuzz::kChannel && hostCalls.channels == 1, "a call uses the open channel");
  va_list arguments;
  va_start(arguments, numParms);
  void* const first = va_arg(arguments, void*);
  void* const second = va_arg(arguments, void*);
  void* const third = numParms == 3 ? va_arg(arguments, void*) : nullptr;
  va_end(arguments);
  if (numParms == 3) {
    return hostCalls.controller->answer(*static_cast<simulator::wire::PassthruRecord*>(second),
                                        *static_cast<uint32_t*>(third));
  }
  fuzz::listInstances(*static_cast<simulator::wire::InstanceList*>(first));
  *static_cast<uint32_t*>(second) = hostCalls.input->around<uint32_t>(0);
  return hostCalls.input->around<int32_t>(0);
}

int open(const char* path, int flags, ...) {
  if (std::string_view(path).substr(0, fuzz::kNodePrefix.size()) != fuzz::kNodePrefix) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    static auto* const kOpen = fuzz::next<int(const char*, int, ...)>("open");
    return kOpen(path, flags, mode);
  }
  if (hostCalls.input->number<uint8_t>() == 1) {
    errno = ENOENT;
    return -1;
  }
  ++hostCalls.openNodes;
  return fuzz::kNode;
}

int close(int descriptor) {
  static auto* const kClose = fuzz::next<int(int)>("close");
  if (descriptor != fuzz::kNode) return kClose(descriptor);
  --hostCalls.openNodes;
  return 0;
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (descriptor != fuzz::kNode)
    return fuzz::next<int(int, unsigned long, ...)>("ioctl")(descriptor, request, argument);
  fuzz::require(request == SG_IO, "a disk node is asked by SG_IO");
  return hostCalls.diskAnswer(*static_cast<sg_io_hdr*>(argument));
}

int access(const char* path, int mode) noexcept {
  static auto* const kAccess = fuzz::next<int(const char*, int)>("access");
  if (std::string_view(path) != dmu::kTraceFile) return kAccess(path, mode);
  return hostCalls.traceOn ? 0 : -1;
}

FILE* fopen(const char* path, const char* mode) {
  static auto* const kFopen = fuzz::next<FILE*(const char*, const char*)>("fopen");
  if (std::string_view(path) != dmu::kTraceFile) return kFopen(path, mode);
  if (fuzz::traceFile == nullptr) fuzz::traceFile = kFopen("/dev/null", mode);
  return fuzz::traceFile;
}

int fclose(FILE* file) {
  static auto* const kFclose = fuzz::next<int(FILE*)>("fclose");
  return file == fuzz::traceFile ? 0 : kFclose(file);
}

FILE* popen(const char* /*command*/, const char* /*mode*/) {
  static char text[1500];
  std::memset(text, 'o', sizeof(text));
  hostCalls.input->bytes(text, hostCalls.input->below(16));
  const size_t length = hostCalls.input->around<uint8_t>(2) == 2 ? 20 : sizeof(text);
  return hostCalls.input->number<uint8_t>() == 1 ? nullptr : fmemopen(text, length, "r");
}

int pclose(FILE* pipe) {
  return std::fclose(pipe);
}

time_t time(time_t* out) noexcept {
  const auto now = static_cast<time_t>(hostCalls.now);
  if (out != nullptr) *out = now;
  return now;
}

int gettimeofday(timeval* now, void* zone) noexcept {
  static auto* const kGettimeofday = fuzz::next<int(timeval*, void*)>("gettimeofday");
  return hostCalls.input != nullptr && hostCalls.input->number<uint8_t>() == 1 ? -1 : kGettimeofday(now, zone);
}

}  // extern "C"
