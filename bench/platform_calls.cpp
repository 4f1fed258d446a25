// The platform's functions as the plugin finds them: in this program, before those of the libraries.
#include "bench/platform_calls.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <scsi/sg.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

#include "platform/vmkmgmt.h"

namespace bench {
namespace {

const InstantDriver* theDriver = nullptr;
time_t passedSeconds = 0;
Observation* theObservation = nullptr;  // null unless calls are watched
HeapUse* theHeap = nullptr;             // null unless the heap is tracked

/// The trace file has this name here and never exists, so that whoever traces on this machine meanwhile does not change
/// what is measured.
constexpr char kTraceFile[] = "/tmp/veltrane_plugin_bench";

constexpr std::string_view kNodes = "/dev/disks/";
constexpr int kNode = 1 << 20;  // above every descriptor of the process

/// A call under way: noted when calls are watched, and what it does itself is not.
class Call {
 public:
  Call() : watched_(std::exchange(theObservation, nullptr)) {}
  explicit Call(CallKind kind) : Call() {
    if (watched_ != nullptr) watched_->add(kind);
  }
  ~Call() { theObservation = watched_; }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  [[nodiscard]] Observation* watched() const { return watched_; }

 private:
  Observation* watched_;
};

/// The definition of a function that comes after this program's own.
template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void sendCommand(uint32_t instance, const PassthruRecord& record) {
  const Call call;
  if (call.watched() != nullptr) call.watched()->addCommand(instance, record);
  theDriver->command(instance, record);
}

/// The open node's name, which is its disk's serial number, as a serial number page.
struct SerialPage {
  uint8_t header[4];
  char serial[60];
} theNode;

void openNode(std::string_view name) {
  theNode = {.header = {0, 0x80, 0, static_cast<uint8_t>(name.size())}, .serial = {}};
  name.copy(theNode.serial, sizeof(theNode.serial));
}

void answerInquiry(sg_io_hdr& request) {
  std::memcpy(request.dxferp, &theNode, sizeof(theNode));
  request.resid = 0;
}

void* noteAllocation(void* block, size_t size) {
  if (theObservation != nullptr) theObservation->addAllocation(size);
  if (theHeap != nullptr && block != nullptr) {
    theHeap->now += static_cast<ptrdiff_t>(malloc_usable_size(block));
    theHeap->most = std::max(theHeap->most, theHeap->now);
  }
  return block;
}

}  // namespace

void useDriver(const InstantDriver& driver) {
  theDriver = &driver;
}

void letTimePass(time_t seconds) {
  passedSeconds += seconds;
}

Observation observe(const std::function<void()>& operation) {
  Observation observation;
  theObservation = &observation;
  operation();
  theObservation = nullptr;
  return observation;
}

HeapUse trackHeap(const std::function<void()>& run) {
  HeapUse heap;
  theHeap = &heap;
  run();
  theHeap = nullptr;
  return heap;
}

}  // namespace bench

using bench::Call;
using bench::CallKind;
using bench::next;

// What is defined from here on must be found by the plugin, so this file alone is built with default visibility.
extern "C" {

// ---------------------------------------------------------------------------------------------------------------------
// The C library.

int access(const char* /*path*/, int mode) noexcept {  // the plugin asks for the trace file alone
  static auto* const kAccess = next<int(const char*, int)>("access");
  const Call call(CallKind::existenceTest);
  return kAccess(bench::kTraceFile, mode);
}

time_t time(time_t* out) noexcept {
  static auto* const kGetTimeOfDay = next<int(timeval*, void*)>("gettimeofday");
  const Call call(CallKind::clock);
  timeval now{};
  kGetTimeOfDay(&now, nullptr);
  if (out != nullptr) *out = now.tv_sec + bench::passedSeconds;
  return now.tv_sec + bench::passedSeconds;
}

int gettimeofday(timeval* now, void* zone) noexcept {
  static auto* const kGetTimeOfDay = next<int(timeval*, void*)>("gettimeofday");
  const Call call(CallKind::timeOfDay);
  return kGetTimeOfDay(now, zone);
}

int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline) noexcept {
  static auto* const kLock = next<int(pthread_mutex_t*, const timespec*)>("pthread_mutex_timedlock");
  const Call call(CallKind::lock);
  return kLock(mutex, deadline);
}

FILE* popen(const char* command, const char* mode) {
  static auto* const kPopen = next<FILE*(const char*, const char*)>("popen");
  const Call call(CallKind::openPipe);
  return kPopen(command, mode);
}

char* fgets(char* line, int size, FILE* file) {
  static auto* const kFgets = next<char*(char*, int, FILE*)>("fgets");
  const Call call(CallKind::readLine);
  return kFgets(line, size, file);
}

int pclose(FILE* pipe) {
  static auto* const kPclose = next<int(FILE*)>("pclose");
  const Call call(CallKind::closePipe);
  return kPclose(pipe);
}

// ---------------------------------------------------------------------------------------------------------------------
// Disk nodes; every other file is the C library's.

int open(const char* path, int flags, ...) {
  static auto* const kOpen = next<int(const char*, int, ...)>("open");
  if (std::string_view(path).starts_with(bench::kNodes)) {
    const Call call;
    if (call.watched() != nullptr) call.watched()->addNode(path);
    bench::openNode(path + bench::kNodes.size());
    return bench::kNode;
  }
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return kOpen(path, flags, mode);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  static auto* const kIoctl = next<int(int, unsigned long, ...)>("ioctl");
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (descriptor != bench::kNode) return kIoctl(descriptor, request, argument);
  const Call call(CallKind::inquiry);
  bench::answerInquiry(*static_cast<sg_io_hdr*>(argument));
  return 0;
}

int close(int descriptor) {
  static auto* const kClose = next<int(int)>("close");
  if (descriptor != bench::kNode) return kClose(descriptor);
  const Call call(CallKind::closeNode);
  return 0;
}

// ---------------------------------------------------------------------------------------------------------------------
// The management library.

uint32_t vmk_MgmtUserInit(const void* /*signature*/, uint64_t /*reserved*/, vmk_MgmtUserHandle** handle) {
  const Call call(CallKind::openChannel);
  *handle = reinterpret_cast<vmk_MgmtUserHandle*>(handle);  // any address
  return 0;
}

int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* /*handle*/) {
  const Call call(CallKind::closeChannel);
  return 0;
}

int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* /*handle*/, uint64_t /*reserved*/, uint64_t /*callbackId*/,
                                      uint32_t numParms, ...) {
  va_list arguments;
  va_start(arguments, numParms);
  if (numParms == 2) {
    const Call call(CallKind::listInstances);
    bench::theDriver->listInstances(*va_arg(arguments, simulator::wire::InstanceList*));
  } else {
    const uint32_t instance = *va_arg(arguments, const uint32_t*);
    bench::sendCommand(instance, *va_arg(arguments, const bench::PassthruRecord*));
  }
  va_end(arguments);
  return 0;
}

// ---------------------------------------------------------------------------------------------------------------------
// Memory. operator new asks malloc.

// NOLINTBEGIN(clang-diagnostic-reserved-identifier): their names are the C library's
void* __libc_malloc(size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
// NOLINTEND(clang-diagnostic-reserved-identifier)

void* malloc(size_t size) noexcept {
  return bench::noteAllocation(__libc_malloc(size), size);
}

void* memalign(size_t alignment, size_t size) noexcept {
  return bench::noteAllocation(__libc_memalign(alignment, size), size);
}

void free(void* block) noexcept {
  if (bench::theHeap != nullptr && block != nullptr) {
    bench::theHeap->now -= static_cast<ptrdiff_t>(malloc_usable_size(block));
  }
  __libc_free(block);
}

}  // extern "C"
