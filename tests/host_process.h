// The test as the plugin's host: it loads the library anew for each test, and what the plugin asks of the process (the
// clock, the trace file, the lock, memory, a disk's answer) can be steered and counted here.
#pragma once

#include <atomic>
#include <cstdint>
#include <dlfcn.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <scsi/sg.h>
#include <string>
#include <vector>

#include "simulator/simulated_host.h"
#include <dmu/plugin.h>

/// What the plugin asks of the process. Everything unset goes to the C library and the simulated host.
struct HostCalls {
  std::optional<int64_t> now;                 ///< what time and gettimeofday answer, in seconds
  int clockResult = 0;                        ///< what gettimeofday returns
  std::optional<int> lockResult;              ///< what taking the lock returns, without waiting
  timespec lockDeadline{};                    ///< the deadline that it was given then
  bool traceOn = false;                       ///< whether the trace file exists
  const char* moduleLoader = ":";             ///< runs in place of the module loader command; null: that itself
  std::function<int(sg_io_hdr&)> diskAnswer;  ///< answers SG_IO in place of the simulated disk
  int failAllocation = 0;                     ///< the allocation of the plugin that fails next, counted from 1
  bool failLaterAllocations = false;          ///< and all that follow it
};
extern HostCalls hostCalls;

/// How often the plugin asked.
struct HostCounts {
  std::atomic<int> existenceTests = 0;  ///< of the trace file
  std::atomic<int> allocations = 0;     ///< since it was last set to 0
};
extern HostCounts hostCounts;

/// Takes what was traced, with every "NAME:LINE " made "NAME: ": the text of one write after the other.
std::string takeTrace();

/// The loaded plugin and a simulated host with the built-in topology; one of each for each test.
class PluginTest : public testing::Test {
 protected:
  PluginTest();
  ~PluginTest() override;

  /// A published function or global of the plugin.
  template <typename Symbol>
  Symbol& published(const char* name) const {
    auto* symbol = reinterpret_cast<Symbol*>(dlsym(library_, name));
    if (symbol == nullptr) throw std::runtime_error(std::string("not exported: ") + name);
    return *symbol;
  }

  /// Channels that the plugin has open.
  [[nodiscard]] uint32_t openChannels() const { return host.counts().openChannels - channelsBefore_; }

  /// Unloads the plugin before the end of the test.
  void unload();

  /// A handle as the daemon opens it; closed at the end of the test.
  CtrlDevInfo* open(const std::string& device);
  CtrlDevInfo* open(const simulator::HostDisk& disk);

  simulator::SimulatedHost& host = *dmuSimulatedHost();
  DmuPluginDescriptor* plugin = nullptr;
  std::string error = "before";

 private:
  void* library_ = nullptr;
  uint32_t channelsBefore_ = 0;
  std::vector<CtrlDevInfo*> handles_;
};

/// Calls a published function, or names a published global, by its declaration.
#define PUBLISHED(name) published<std::remove_reference_t<decltype(name)>>(#name)

/// Whether failEachAllocation reaches operator new: the thread sanitizer lets nobody replace its own.
#ifdef __clang__
inline constexpr bool kNewCanFail = !__has_feature(thread_sanitizer);
#else
inline constexpr bool kNewCanFail = true;
#endif

/// Runs a call of the plugin with the n-th allocation failing (n from 1 on), until a run comes to its end without
/// having got that far. `call` sets up, calls and checks; it gets n, and whether later allocations fail as well.
/// @return allocations that were made to fail
int failEachAllocation(const std::function<void(int n, bool andLater)>& call);
