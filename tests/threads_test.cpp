// The plugin called from many threads at once, as a daemon may call it.
#include <atomic>
#include <filesystem>
#include <thread>
#include <unistd.h>

#include "plugin/plugin_lock.h"
#include "tests/host_process.h"

namespace {

class Threads : public PluginTest {};

TEST_F(Threads, EverythingAtOnceOnTwoControllersWithTheTraceOn) {
  constexpr int kThreads = 16;
  hostCalls.traceOn = true;
  const std::vector<simulator::HostDisk> disks = host.disks();
  std::atomic<int> done = 0;
  std::atomic<int> failures = 0;
  const auto use = [&](const simulator::HostDisk& disk) {
    DmuPluginDescriptor* again = PUBLISHED(DmuPluginInit)();
    DmuDeviceOpenInfo openInfo = {};
    openInfo.devName = disk.device.c_str();
    openInfo.hba = disk.hba.c_str();
    openInfo.channel = disk.channel;
    openInfo.target = disk.target;
    openInfo.lun = disk.lun;
    openInfo.driver = "veltrane";
    CtrlDevInfo* handle = nullptr;
    std::string text;
    DmuDeviceInfo info{};
    DriveTemperature temperatures[16];
    char* locations[16] = {};
    const bool good = again == plugin && again->openDeviceV2(&openInfo, &handle) == 0 &&
                      !(again->getDeviceInfo(handle, &info, text) != 0) &&
                      again->setDriveLEDState(handle, 1, 9, text) >= 0 && again->cacheOn(handle, text) != 0 &&
                      again->cacheOff(handle, text) != 0 &&
                      again->getDeviceTemperature(handle, temperatures, 16, text) >= 0 &&
                      again->getDeviceLocation(handle, locations, 16, text) >= 0 && text.empty();
    if (!good) ++failures;
    for (char* location : locations) std::free(location);
    again->closeDevice(handle);
    ++done;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back(use, std::cref(disks[static_cast<size_t>(i) % (disks.size() - 1)]));  // the last is foreign
  }
  const std::string trace = "/tmp/dmu-test-trace." + std::to_string(getpid());
  while (done < kThreads) {
    if (std::error_code ignored; done % 2 == 0) {
      std::filesystem::remove(trace, ignored);
    } else {
      std::filesystem::resize_file(trace, 0, ignored);
    }
    std::this_thread::yield();
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(host.counts().openNodes, 0u);
  EXPECT_EQ(openChannels(), 0u);
  EXPECT_EQ(pthread_mutex_trylock(&PUBLISHED(pluginMutex)), 0);
  pthread_mutex_unlock(&PUBLISHED(pluginMutex));
}

}  // namespace
