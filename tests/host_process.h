// The test as the plugin's host: it loads the library anew for each test, beside a simulated host, and sees at the end
// that the plugin has given everything back.
#pragma once

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "controller/snapshot_cache.h"
#include "simulator/simulated_host.h"
#include "tests/plugin_calls.h"
#include <dmu/plugin.h>

/// Calls a published function, or names a published global, by its declaration.
#define PUBLISHED(name) published<std::remove_reference_t<decltype(name)>>(#name)

/// What the daemon tells of a disk when it opens it; the names are the disk's.
[[nodiscard]] DmuDeviceOpenInfo openInfoOf(const simulator::HostDisk& disk);

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

  /// Unloads the plugin before the end of the test.
  void unload();

  /// A handle as the daemon opens it; closed at the end of the test.
  CtrlDevInfo* open(const std::string& device);
  CtrlDevInfo* open(const simulator::HostDisk& disk);

  /// A controller's snapshot as the plugin keeps it, read anew when it is too old; the channel stays open.
  OrvaInfo* openCtrl(std::string hba) { return PUBLISHED(OrvaInfo_OpenCtrl)(hba.data()); }
  OrvaInfo** slots() { return published<OrvaInfo* [10]>("_ZN11ResourceMgr11ControllersE"); }

  /// The commands sent since the last call, by BMIC number or opcode.
  std::vector<int> sentOpcodes();

  /// Whether nobody holds the plugin lock.
  [[nodiscard]] bool lockIsFree() const;

  simulator::SimulatedHost& host = *dmuSimulatedHost();
  DmuPluginDescriptor* plugin = nullptr;
  std::string error = "before";

 private:
  void* library_ = nullptr;
  std::vector<CtrlDevInfo*> handles_;
};

/// Whether the plugin's operator new is the test's: the thread sanitizer lets nobody replace its own.
#ifdef __clang__
inline constexpr bool kNewCanFail = !__has_feature(thread_sanitizer);
#else
inline constexpr bool kNewCanFail = true;
#endif
