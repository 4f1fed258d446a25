// The plugin called from many threads at once, as a daemon may call it, and the lock on which its operations wait.
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>
#include <unistd.h>
#ifdef __clang__
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define DMU_LEAK_CHECKER
#endif
#endif

#include "plugin/plugin_lock.h"
#include "tests/scenario.h"

namespace {

class Threads : public PluginTest {
 protected:
  /// Opens a disk by one of the two functions, calls all operations on it and closes it.
  /// @return whether every call succeeded
  [[nodiscard]] bool use(const simulator::HostDisk& disk, bool byAddress) const {
    DmuPluginDescriptor* again = published<DmuPluginDescriptor*()>("DmuPluginInit")();
    const DmuDeviceOpenInfo info = openInfoOf(disk);
    CtrlDevInfo* handle = nullptr;
    const int32_t opened = byAddress ? again->openDevice(info.hba, info.channel, info.target, info.lun, info.driver, 0,
                                                         0, 0, 0, 0, 0, 0, 0, 0, 0, 0, &handle)
                                     : again->openDeviceV2(&info, &handle);
    if (again != plugin || opened != 0) return false;
    bool good = true;
    for (const Outcome& outcome : callAll(*again, handle))
      good = good && outcome.result >= 0 && outcome.text == "before";
    again->closeDevice(handle);
    return good;
  }
};

TEST_F(Threads, EverythingAtOnceOnTwoControllersWhileTheTraceComesAndGoes) {
  constexpr size_t kThreads = 16;
  std::vector<simulator::HostDisk> disks = host.disks();
  std::erase_if(disks, [](const auto& disk) { return disk.driver != "veltrane" || disk.channel > 1; });
  hostCalls.traceOn = true;
  hostCalls.traceFile = testing::TempDir() + "dmu-trace." + std::to_string(getpid());

  std::atomic<size_t> done = 0;
  std::atomic<size_t> failures = 0;
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const simulator::HostDisk& disk = disks[i % disks.size()];
      const bool isVolume = disk.channel == 1;
      for (const bool byAddress : {false, isVolume}) failures += !use(disk, byAddress);
      ++done;
    });
  }
  for (bool remove = true; done < kThreads; remove = !remove) {
    std::error_code ignored;
    if (remove) {
      std::filesystem::remove(hostCalls.traceFile, ignored);
    } else {
      std::filesystem::resize_file(hostCalls.traceFile, 0, ignored);
    }
    std::this_thread::yield();
  }
  for (std::thread& thread : threads) thread.join();
  std::filesystem::remove(hostCalls.traceFile);
  EXPECT_EQ(failures, 0u);
  EXPECT_EQ(heldByPlugin().channels, 0);
  EXPECT_TRUE(lockIsFree());
}

/// The first cancellation in a process makes the loader take a library, with memory that it keeps for good. It does so
/// here, where the leak checker does not look.
void cancelAThread() {
#ifdef DMU_LEAK_CHECKER
  const __lsan::ScopedDisabler unseen;
#endif
  std::thread thread([] {
    for (;;) pause();
  });
  pthread_cancel(thread.native_handle());
  thread.join();
}

/// Makes every call with a request to cancel its thread pending from the first one on.
struct CancelledCalls {
  const DmuPluginDescriptor& plugin;
  DmuPluginDescriptor* (&init)();
  DmuDeviceOpenInfo disk;
  size_t returned = 0;
  size_t errnoKept = 0;

  template <typename Call>
  auto make(Call call) {
    errno = EXDEV;
    const auto result = call();
    ++returned;
    errnoKept += errno == EXDEV;
    return result;
  }

  void run() {
    make(init);
    for (const bool byAddress : {false, true}) {
      CtrlDevInfo* handle = nullptr;
      make([&] {
        return byAddress ? plugin.openDevice(disk.hba, disk.channel, disk.target, disk.lun, disk.driver, 0, 0, 0, 0, 0,
                                             0, 0, 0, 0, 0, 0, &handle)
                         : plugin.openDeviceV2(&disk, &handle);
      });
      make([&] { return callAll(plugin, handle).size(); });
      make([&] { return plugin.closeDevice(handle), 0; });
    }
  }
};

TEST_F(Threads, AThreadIsCancelledAfterItsCallsAndFindsErrnoAsItWas) {
  const simulator::HostDisk first = host.disks().front();
  hostCalls.traceOn = hostCalls.runModuleLoader = true;
  hostCalls.whileTracing = [] {
    pthread_cancel(pthread_self());
    pthread_testcancel();
    errno = EIO;
  };
  cancelAThread();
  CancelledCalls calls{*plugin, PUBLISHED(DmuPluginInit), openInfoOf(first)};
  const auto run = [](void* argument) -> void* {
    static_cast<CancelledCalls*>(argument)->run();
    pthread_testcancel();
    return nullptr;
  };
  pthread_t thread;
  void* result = nullptr;
  ASSERT_EQ(pthread_create(&thread, nullptr, run, &calls), 0);
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_EQ(calls.returned, 7u);
  EXPECT_EQ(calls.errnoKept, 7u);
  hostCalls.traceOn = false;
  EXPECT_TRUE(lockIsFree());
  EXPECT_THAT(callAll(*plugin, open(first)), testing::Each(testing::Field(&Outcome::result, testing::Ge(0))));
}

TEST_F(Threads, TheDeadlineIsTenSecondsFromNow) {
  hostCalls.now = 1000;
  hostCalls.recording = true;
  EXPECT_EQ(PUBLISHED(TimedLockPluginMutex)(), 0);
  pthread_mutex_unlock(&PUBLISHED(pluginMutex));
  EXPECT_EQ(hostCalls.lockDeadline.tv_sec, 1010);
  EXPECT_EQ(hostCalls.lockDeadline.tv_nsec, 123456000);
  pthread_mutex_lock(&PUBLISHED(pluginMutex));
  hostCalls.noMemory = kNewCanFail;
  EXPECT_EQ(plugin->cacheOn(reinterpret_cast<CtrlDevInfo*>(this), error), -1) << "not even memory for the text";
  EXPECT_TRUE(error == "before" || !kNewCanFail);
  pthread_mutex_unlock(&PUBLISHED(pluginMutex));
}

}  // namespace
