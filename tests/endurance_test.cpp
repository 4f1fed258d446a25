// The plugin in a daemon that runs for months: after 100,000 handles the process holds what it held after the first
// 1,000, of memory, descriptors and mappings alike.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <thread>

#include "tests/model.h"
#include "tests/scenario.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kRounds = 500;
constexpr size_t kFirstRounds = 5;
constexpr size_t kThreadsOfRound = 4;
constexpr size_t kHandlesOfThread = 50;
static_assert(kFirstRounds * kThreadsOfRound * kHandlesOfThread == 1000);
static_assert(kRounds * kThreadsOfRound * kHandlesOfThread == 100'000);

/// What the process holds, whoever took it.
struct Holdings {
  size_t heapBytes;
  size_t descriptors;
  size_t mappings;
  size_t blocksOfPlugin;
};

Holdings holdings() {
  const struct mallinfo2 heap = mallinfo2();
  std::ifstream maps("/proc/self/maps");
  const auto mappings = std::count(std::istreambuf_iterator<char>(maps), {}, '\n');
  const auto descriptors = std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  return {heap.uordblks + heap.hblkhd, static_cast<size_t>(descriptors), static_cast<size_t>(mappings),
          heldByPlugin().blocks};
}

/// A disk of the host, how it is opened, and what the six operations answer for it.
struct Disk {
  const char* device;
  bool byAddress;
  int32_t results[kOperations];
};

constexpr Disk kDisks[] = {
    {"volume0", true, {0, 2, 2, 2, 2, 2}},
    {"volume1", false, {0, 2, 2, 2, 1, 2}},       // a member of it is not listed
    {"volume2", true, {0, 0, -1, -1, 0, 0}},      // external
    {"disk5", false, {0, 1, 1, 1, 1, 1}},         // an exposed drive
    {"disk6", false, {-1, -1, -1, -1, -1, -1}},   // does not tell its serial number
    {"absent", false, {-1, -1, -1, -1, -1, -1}},  // has no node
    {"silent", true, {-1, -1, -1, -1, -1, -1}},   // its controller does not answer
};

class Endurance : public PluginTest {
 protected:
  Endurance() {
    mallopt(M_ARENA_MAX, 1);             // else there are as many as threads happen to collide
    hostCalls.now = std::time(nullptr);  // from here on, so that nobody's deadline is over before it waits
    host.load(topology());
    host.recordCommands(false);
    disks_ = host.disks();
    disks_.push_back({.device = "absent", .hba = "vmhba1", .driver = kDmuDriver});
  }

  /// Opens a disk, asks one operation and closes it: handle `number` of those that the test opens.
  void useHandle(size_t number) {
    const Disk& disk = kDisks[number % std::size(kDisks)];
    const auto operation = static_cast<Operation>(number / std::size(kDisks) % kOperations);
    CtrlDevInfo* handle = open(disk);
    if (handle == nullptr || ask(handle, operation) != disk.results[operation]) ++failures_;
    plugin->closeDevice(handle);
  }

  std::atomic<size_t> failures_ = 0;

 private:
  static simulator::Topology topology() {
    simulator::Controller good = model::controller("vmhba1");
    good.drives = {model::drive(2), model::drive(10), model::drive(12), model::drive(5, true), model::drive(6, true)};
    good.drives[2].listed = false;
    good.volumes = {model::volume(0, {2, 10}), model::volume(1, {2, 12}), model::volume(2, {})};
    good.volumes[2].external = true;
    simulator::Controller silent = model::controller("vmhba2");
    silent.volumes = {model::volume(0, {})};
    silent.volumes[0].device = "silent";
    return {.controllers = {good, silent},
            .faults = {{.call = "ioctl", .device = "disk6", .value = EIO},
                       {.call = "identifyController", .controller = "vmhba2", .value = 1}}};
  }

  [[nodiscard]] CtrlDevInfo* open(const Disk& disk) const {
    const auto found =
        std::find_if(disks_.begin(), disks_.end(), [&](const auto& other) { return other.device == disk.device; });
    const DmuDeviceOpenInfo info = openInfoOf(*found);
    CtrlDevInfo* handle = nullptr;
    disk.byAddress ? plugin->openDevice(info.hba, info.channel, info.target, info.lun, info.driver, 0, 0, 0, 0, 0, 0, 0,
                                        0, 0, 0, 0, &handle)
                   : plugin->openDeviceV2(&info, &handle);
    return handle;
  }

  [[nodiscard]] int32_t ask(CtrlDevInfo* handle, Operation operation) const {
    constexpr int32_t kSlots = 4;
    std::string text;
    switch (operation) {
      case kInfo: {
        DmuDeviceInfo info{};
        return plugin->getDeviceInfo(handle, &info, text);
      }
      case kLed:
        return plugin->setDriveLEDState(handle, 1, 30, text);
      case kCacheOn:
        return plugin->cacheOn(handle, text);
      case kCacheOff:
        return plugin->cacheOff(handle, text);
      case kTemperature: {
        DriveTemperature temperatures[kSlots];
        return plugin->getDeviceTemperature(handle, temperatures, kSlots, text);
      }
      default: {
        std::array<char*, kSlots> locations{};
        const int32_t stored = plugin->getDeviceLocation(handle, locations.data(), kSlots, text);
        std::for_each(locations.begin(), locations.end(), std::free);
        return stored;
      }
    }
  }

  std::vector<simulator::HostDisk> disks_;
};

TEST_F(Endurance, AHundredThousandHandlesLeaveWhatTheFirstThousandLeft) {
  size_t next = 0;
  const auto playRounds = [&](size_t rounds) {
    for (size_t round = 0; round < rounds; ++round) {
      *hostCalls.now += 31;  // every snapshot is too old
      std::vector<std::thread> threads;
      for (size_t i = 0; i < kThreadsOfRound; ++i, next += kHandlesOfThread) {
        threads.emplace_back([this, first = next] {
          for (size_t number = first; number < first + kHandlesOfThread; ++number) useHandle(number);
        });
      }
      for (std::thread& thread : threads) thread.join();
    }
    useHandle(0);  // closes the channel, which may have been left open for the silent controller
    return holdings();
  };
  (void)holdings();  // takes memory of its own for good
  const Holdings first = playRounds(kFirstRounds);
  const Holdings last = playRounds(kRounds - kFirstRounds);
  EXPECT_EQ(last.blocksOfPlugin, first.blocksOfPlugin);
  // The allocator gives a block a few bytes more when they are too few for another one. The smallest block that each
  // rebuild left behind would be eight times as much.
  EXPECT_NEAR(static_cast<double>(last.heapBytes), static_cast<double>(first.heapBytes), 1000);
  EXPECT_EQ(last.descriptors, first.descriptors);
  EXPECT_EQ(last.mappings, first.mappings);
  EXPECT_EQ(failures_, 0u);
}

}  // namespace
