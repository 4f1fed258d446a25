// The calls that the plugin finds in the test's executable before the C library's, and the fixture.
#include "tests/host_process.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <link.h>
#include <new>
#include <regex>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include "plugin/trace.h"

HostCalls hostCalls;
HostCounts hostCounts;

namespace {

uintptr_t pluginBegin = 0;
uintptr_t pluginEnd = 0;

bool fromPlugin(const void* caller) {
  const auto address = reinterpret_cast<uintptr_t>(caller);
  return address >= pluginBegin && address < pluginEnd;
}

/// Finds out which addresses are the plugin's.
int notePluginRange(dl_phdr_info* object, size_t /*size*/, void* /*unused*/) {
  if (std::strstr(object->dlpi_name, "dmu-veltrane-plugin") == nullptr) return 0;
  pluginBegin = object->dlpi_addr;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const auto& segment = object->dlpi_phdr[i];
    pluginEnd = std::max<uintptr_t>(pluginEnd, object->dlpi_addr + segment.p_vaddr + segment.p_memsz);
  }
  return 1;
}

/// Whether the allocation that is being made is the plugin's and is to fail.
bool allocationFails(const void* caller) {
  if (!fromPlugin(caller)) return false;
  const int number = ++hostCounts.allocations;
  return number == hostCalls.failAllocation ||
         (hostCalls.failLaterAllocations && hostCalls.failAllocation > 0 && number > hostCalls.failAllocation);
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::string traceCopy() {
  return "/tmp/dmu-test-trace." + std::to_string(getpid());
}

}  // namespace

extern "C" {

// The functions behind the ones below: the sanitizers' where there are any.
// NOLINTBEGIN(bugprone-reserved-identifier): their names are the libraries'
void* __libc_malloc(size_t size);
void* __libc_memalign(size_t alignment, size_t size);
[[gnu::weak]] void* __interceptor_malloc(size_t size);
[[gnu::weak]] void* __interceptor_memalign(size_t alignment, size_t size);
[[gnu::weak]] int __interceptor_pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline);
// NOLINTEND(bugprone-reserved-identifier)

static void* allocate(size_t size) {
  return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

void* malloc(size_t size) noexcept {
  return allocationFails(__builtin_return_address(0)) ? nullptr : allocate(size);
}

void* memalign(size_t alignment, size_t size) noexcept {
  if (allocationFails(__builtin_return_address(0))) return nullptr;
  return __interceptor_memalign != nullptr ? __interceptor_memalign(alignment, size) : __libc_memalign(alignment, size);
}

int access(const char* path, int mode) noexcept {
  if (std::strcmp(path, dmu::kTraceFile) != 0) return next<int(const char*, int)>("access")(path, mode);
  ++hostCounts.existenceTests;
  return hostCalls.traceOn && mode == F_OK ? 0 : -1;
}

FILE* fopen(const char* path, const char* mode) {
  static auto* const kFopen = next<FILE*(const char*, const char*)>("fopen");
  if (std::strcmp(path, dmu::kTraceFile) != 0) return kFopen(path, mode);
  return std::strcmp(mode, "aw") == 0 ? kFopen(traceCopy().c_str(), mode) : nullptr;
}

FILE* popen(const char* command, const char* mode) {
  const bool isReplaced = hostCalls.moduleLoader != nullptr && fromPlugin(__builtin_return_address(0));
  return next<FILE*(const char*, const char*)>("popen")(isReplaced ? hostCalls.moduleLoader : command, mode);
}

time_t time(time_t* out) noexcept {
  timeval now{};
  next<int(timeval*, void*)>("gettimeofday")(&now, nullptr);
  if (hostCalls.now && fromPlugin(__builtin_return_address(0))) now.tv_sec = static_cast<time_t>(*hostCalls.now);
  if (out != nullptr) *out = now.tv_sec;
  return now.tv_sec;
}

int gettimeofday(timeval* now, void* zone) noexcept {
  if (fromPlugin(__builtin_return_address(0))) {
    if (hostCalls.clockResult != 0) return hostCalls.clockResult;
    if (hostCalls.now) {
      *now = {.tv_sec = static_cast<time_t>(*hostCalls.now), .tv_usec = 123456};
      return 0;
    }
  }
  return next<int(timeval*, void*)>("gettimeofday")(now, zone);
}

int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline) noexcept {
  if (hostCalls.lockResult && fromPlugin(__builtin_return_address(0))) {
    hostCalls.lockDeadline = *deadline;
    return *hostCalls.lockResult;
  }
  if (__interceptor_pthread_mutex_timedlock != nullptr) return __interceptor_pthread_mutex_timedlock(mutex, deadline);
  return next<int(pthread_mutex_t*, const timespec*)>("pthread_mutex_timedlock")(mutex, deadline);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (request == SG_IO && hostCalls.diskAnswer) return hostCalls.diskAnswer(*static_cast<sg_io_hdr*>(argument));
  return next<int(int, unsigned long, ...)>("ioctl")(descriptor, request, argument);
}
}  // extern "C"

[[gnu::noinline]] void* operator new(size_t size) {
  void* block = allocationFails(__builtin_return_address(0)) ? nullptr : allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return allocationFails(__builtin_return_address(0)) ? nullptr : allocate(size);
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, size_t) noexcept {
  std::free(block);
}

std::string takeTrace() {
  std::ifstream file(traceCopy());
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::filesystem::remove(traceCopy());
  static const std::regex kPrefix(
      "((?:OrvaInfo|VELTRANEPlugin)_\\w+|DmuPluginInit|Get_Dev_SN|SCSI_Get_Device_SN):[0-9]+ ");
  return std::regex_replace(text, kPrefix, "$1: ");
}

PluginTest::PluginTest() {
  hostCalls = {};
  hostCounts.existenceTests = hostCounts.allocations = 0;
  library_ = dlopen(DMU_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) throw std::runtime_error(dlerror());
  dl_iterate_phdr(notePluginRange, nullptr);
  plugin = published<DmuPluginDescriptor*()>("DmuPluginInit")();
  const std::optional<std::string> refused = host.loadText(host.builtInTopology(), "built in");
  if (refused) throw std::runtime_error(*refused);
  host.clearFaults();
  host.setClock(nullptr);
  host.resetCounts();
  channelsBefore_ = host.counts().openChannels;
  host.recordCommands(true);
  (void)host.takeCommands();
}

PluginTest::~PluginTest() {
  unload();
  takeTrace();
}

void PluginTest::unload() {
  if (library_ == nullptr) return;
  for (CtrlDevInfo* handle : handles_) plugin->closeDevice(handle);
  hostCalls.failAllocation = 0;
  dlclose(library_);
  library_ = nullptr;
  pluginBegin = pluginEnd = 0;
}

CtrlDevInfo* PluginTest::open(const std::string& device) {
  for (const simulator::HostDisk& disk : host.disks()) {
    if (disk.device == device) return open(disk);
  }
  throw std::runtime_error("no such disk: " + device);
}

CtrlDevInfo* PluginTest::open(const simulator::HostDisk& disk) {
  DmuDeviceOpenInfo info = {};
  info.devName = disk.device.c_str();
  info.hba = disk.hba.c_str();
  info.channel = disk.channel;
  info.target = disk.target;
  info.lun = disk.lun;
  info.driver = disk.driver.c_str();
  CtrlDevInfo* handle = nullptr;
  if (plugin->openDeviceV2(&info, &handle) != 0) throw std::runtime_error("not opened: " + disk.device);
  handles_.push_back(handle);
  return handle;
}

int failEachAllocation(const std::function<void(int n, bool andLater)>& call) {
  int failed = 0;
  for (const bool andLater : {false, true}) {
    for (int n = 1;; ++n) {
      hostCalls.failAllocation = n;
      hostCalls.failLaterAllocations = andLater;
      hostCounts.allocations = 0;
      call(n, andLater);
      hostCalls.failAllocation = 0;
      if (hostCounts.allocations < n) break;
      ++failed;
    }
  }
  return failed;
}
