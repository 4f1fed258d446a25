// The mistakes, in the order of the checker's rules.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tests/broken_hosts/broken_host.h"

// NOLINTBEGIN(bugprone-*): they are wrong on purpose

static void expect(bool isAsPromised, const char* what) {
  if (isAsPromised) return;
  std::fprintf(stderr, "broken-host: %s\n", what);
  std::_Exit(3);
}

/// The topology of check_host_test.sh lets it take a second.
static std::thread beginSlowOperation(Host& host) {
  std::thread thread([&host] { host.plugin->cacheOn(host.handle, host.error); });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  return thread;
}

MISTAKE(madeUpHandle, "handle.unknown", "getDeviceInfo, handle 0x") {
  static char memory[4096];
  DmuDeviceInfo info{};
  expect(host.plugin->getDeviceInfo(reinterpret_cast<CtrlDevInfo*>(memory + 2048), &info, host.error) == -1,
         "a handle of nobody's was taken");
}
MISTAKE(pointerIntoHandle, "handle.unknown", "closeDevice, handle 0x") {
  host.plugin->closeDevice(reinterpret_cast<CtrlDevInfo*>(reinterpret_cast<char*>(host.handle) + 4));
}
MISTAKE(usedAfterClose, "handle.used-after-close", "disk vmhba2 1:1:0 naa.6a1b2c0000000201") {
  host.plugin->closeDevice(host.handle);
  CtrlDevInfo* const other = openVolume(host);
  expect(other != host.handle, "the next open got the address of the closed handle");
  expect(host.plugin->cacheOn(host.handle, host.error) == -1, "a closed handle was taken");
  host.handle = other;
}
MISTAKE(usedOftenAfterClose, "handle.used-after-close", ", 3 times") {
  CtrlDevInfo* const closed = host.handle;
  host.plugin->closeDevice(closed);
  host.handle = nullptr;
  for (int i = 0; i < 3; ++i) host.plugin->setDriveLEDState(closed, 1, 1, host.error);
}
MISTAKE(closedTwice, "handle.closed-twice", "collides with closeDevice at 0x") {
  host.plugin->closeDevice(host.handle);
  host.plugin->closeDevice(host.handle);
  host.handle = nullptr;
}
MISTAKE(strangeName, "handle.closed-twice", "disk vmhba2 1:1:0 a?c?") {
  DmuDeviceOpenInfo disk{};
  disk.devName =
      "a\x1b"
      "c\xff\"\\\xc3\xa9";
  disk.hba = "vmhba2";
  disk.channel = 1;
  disk.target = 1;
  disk.driver = kDmuDriver;
  CtrlDevInfo* handle = nullptr;
  host.plugin->openDeviceV2(&disk, &handle);
  host.plugin->closeDevice(handle);
  host.plugin->closeDevice(handle);
}
MISTAKE(closedByTwoThreads, "handle.closed-twice", "closeDevice, handle 0x") {
  std::thread other([&] { host.plugin->closeDevice(host.handle); });
  host.plugin->closeDevice(host.handle);
  other.join();
  host.handle = nullptr;
}
MISTAKE(closedInUse, "handle.closed-in-use", "collides with cacheOn at 0x") {
  std::thread thread = beginSlowOperation(host);
  host.plugin->closeDevice(host.handle);
  thread.join();
  host.handle = nullptr;
}
MISTAKE(neverClosed, "handle.never-closed", "1 left open") {
  host.handle = nullptr;
}
MISTAKE(neverClosedNorUnloaded, "handle.never-closed", "openDeviceV2, handle 0x") {
  host.handle = nullptr;
  host.library = nullptr;
}
MISTAKE(nullHandle, "argument.null", "cacheOff, handle") {
  expect(host.plugin->cacheOff(nullptr, host.error) == -1 && host.error == "Invalid handle!", "another answer");
}
MISTAKE(nullRecord, "argument.null", "getDeviceInfo, deviceInfo") {
  expect(host.plugin->getDeviceInfo(host.handle, nullptr, host.error) == -1, "another answer");
}
MISTAKE(nullTemperatures, "argument.null", "getDeviceTemperature, temperatures") {
  expect(host.plugin->getDeviceTemperature(host.handle, nullptr, 4, host.error) == -1, "another answer");
}
MISTAKE(nullLocations, "argument.null", "getDeviceLocation, locations") {
  expect(host.plugin->getDeviceLocation(host.handle, nullptr, 4, host.error) == -1, "another answer");
}
MISTAKE(nullOpenRecord, "argument.null", "openDeviceV2, info") {
  CtrlDevInfo* handle = nullptr;
  expect(host.plugin->openDeviceV2(nullptr, &handle) == -1 && handle == nullptr, "another answer");
}
MISTAKE(nullOut, "argument.null", "openDevice, out") {
  expect(host.plugin->openDevice("vmhba2", 1, 1, 0, kDmuDriver, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, nullptr) == -1,
         "another answer");
}
MISTAKE(nullDriver, "argument.null", "openDeviceV2, driver") {
  const DmuDeviceOpenInfo disk{};
  CtrlDevInfo* handle = nullptr;
  expect(host.plugin->openDeviceV2(&disk, &handle) == -1 && handle == nullptr, "another answer");
}
MISTAKE(badName, "argument.bad-address", "openDeviceV2, hba") {
  DmuDeviceOpenInfo disk{};
  disk.hba = reinterpret_cast<const char*>(16);
  disk.driver = kDmuDriver;
  CtrlDevInfo* handle = nullptr;
  expect(host.plugin->openDeviceV2(&disk, &handle) == -1 && handle == nullptr, "it was passed on");
}
MISTAKE(constantRecord, "argument.bad-address", "getDeviceInfo, deviceInfo, handle 0x") {
  static const DmuDeviceInfo info{};
  expect(host.plugin->getDeviceInfo(host.handle, const_cast<DmuDeviceInfo*>(&info), host.error) == -1,
         "it was passed on");
}

// NOLINTEND(bugprone-*)
