// Stands before the management library and the clock, as the plugin sees them.
#include "tests/broken_hosts/gate.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/time.h>

#include "platform/vmkmgmt.h"

static std::atomic<bool> stopsNext{false};
static std::atomic<bool> hasStopped{false};
static std::atomic<bool> mayEnd{false};
static std::atomic<const char*> endsWhenReported{nullptr};
static std::atomic<int> secondsBack{0};

static void waitAWhile() {
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

uint32_t vmk_MgmtUserInit(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle) {
  // Looked up first: while dlclose waits for this operation, nobody else is answered by the loader.
  static const auto next = reinterpret_cast<decltype(&vmk_MgmtUserInit)>(dlsym(RTLD_NEXT, "vmk_MgmtUserInit"));
  if (stopsNext.exchange(false)) {
    hasStopped = true;
    while (!mayEnd && endsWhenReported == nullptr) waitAWhile();
    for (int round = 0; !mayEnd && round < 3000 && !isReported(endsWhenReported); ++round) waitAWhile();
  }
  return next(signature, reserved, handle);
}

int gettimeofday(timeval* now, void*) noexcept {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  *now = {.tv_sec = time.tv_sec - secondsBack, .tv_usec = static_cast<suseconds_t>(time.tv_nsec / 1000)};
  return 0;
}

std::thread beginOperation(Host& host) {
  stopsNext = true;
  std::thread thread([&host] {
    host.plugin->cacheOn(host.handle, host.error);
    expect(hasStopped, "the operation did not stop");
  });
  while (!hasStopped) waitAWhile();
  return thread;
}

void letOperationEnd() {
  mayEnd = true;
}

void letOperationEndWhenReported(const char* rule) {
  endsWhenReported = rule;
}

bool isReported(const char* rule) {
  const char* const named = std::getenv("DMU_CHECK_HOST_REPORT");
  const char* const file = named == nullptr ? "/proc/self/fd/2" : named;
  expect(std::filesystem::is_regular_file(file), "the report has to go to a file");
  std::ifstream report(file);
  const std::string text{std::istreambuf_iterator<char>(report), {}};
  return text.find(rule) != std::string::npos;
}

void setClockBack() {
  secondsBack = 60;
}
