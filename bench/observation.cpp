// The record of an operation's calls, and its floor.
#include "bench/observation.h"

#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include "platform/vmkmgmt.h"

namespace bench {
namespace {

constexpr uint64_t kQueryInstances = 0x10;
constexpr uint64_t kPassthru = 0x12;
constexpr size_t kLargestBuffer = 65536;

/// What the calls of one replay hold between them.
struct Held {
  vmk_MgmtUserHandle* channel = nullptr;
  FILE* pipe = nullptr;
  int node = -1;
};

void listInstances(const Held& held) {
  simulator::wire::InstanceList list{};
  uint32_t status = 0;
  vmk_MgmtUserCallbackInvokeInt(held.channel, 0, kQueryInstances, 2, &list, &status);
}

void sendCommand(const Held& held, uint32_t instance, simulator::wire::PassthruRecord record) {
  alignas(16) static uint8_t buffer[kLargestBuffer];
  record.buffer = reinterpret_cast<uintptr_t>(buffer);
  uint32_t status = 0;
  vmk_MgmtUserCallbackInvokeInt(held.channel, 0, kPassthru, 3, &instance, &record, &status);
}

void inquire(const Held& held) {
  uint8_t page[64];
  sg_io_hdr request = {};
  request.dxfer_len = sizeof(page);
  request.dxferp = page;
  ioctl(held.node, SG_IO, &request);
}

void takeAndReleaseLock() {
  static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  const timespec never{.tv_sec = INT32_MAX, .tv_nsec = 0};
  if (pthread_mutex_timedlock(&mutex, &never) == 0) pthread_mutex_unlock(&mutex);
}

}  // namespace

void Observation::replay() const {
  Held held;
  timeval now{};
  char line[1024];
  const Command* command = commands_.data();
  for (const Run& run : runs_) {
    for (size_t i = 0; i < run.length; ++i) {
      switch (run.kind) {
        case CallKind::existenceTest:
          (void)access("", F_OK);
          break;
        case CallKind::clock:
          (void)time(nullptr);
          break;
        case CallKind::timeOfDay:
          gettimeofday(&now, nullptr);
          break;
        case CallKind::lock:
          takeAndReleaseLock();
          break;
        case CallKind::openChannel:
          vmk_MgmtUserInit(nullptr, 0, &held.channel);
          break;
        case CallKind::closeChannel:
          vmk_MgmtUserDestroy(held.channel);
          break;
        case CallKind::listInstances:
          listInstances(held);
          break;
        case CallKind::command:
          sendCommand(held, command->instance, command->record);
          ++command;
          break;
        case CallKind::openPipe:
          held.pipe = popen("vmkload_mod -s veltrane", "r");
          break;
        case CallKind::readLine:
          (void)fgets(line, sizeof(line), held.pipe);
          break;
        case CallKind::closePipe:
          pclose(held.pipe);
          break;
        case CallKind::openNode:
          held.node = open(node_.c_str(), O_RDONLY | O_NONBLOCK);
          break;
        case CallKind::inquiry:
          inquire(held);
          break;
        case CallKind::closeNode:
          close(held.node);
          break;
      }
    }
  }
}

size_t Observation::count(CallKind kind) const {
  size_t calls = 0;
  for (const Run& run : runs_) {
    if (run.kind == kind) calls += run.length;
  }
  return calls;
}

void Observation::add(CallKind kind) {
  if (runs_.empty() || runs_.back().kind != kind) runs_.push_back({kind, 0});
  ++runs_.back().length;
}

void Observation::addCommand(uint32_t instance, const simulator::wire::PassthruRecord& record) {
  add(CallKind::command);
  commands_.push_back({instance, record});
}

void Observation::addNode(const char* path) {
  add(CallKind::openNode);
  node_ = path;
}

void Observation::addAllocation(size_t bytes) {
  ++allocations_;
  allocatedBytes_ += bytes;
}

}  // namespace bench
