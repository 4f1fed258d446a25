// The mistakes, in the order of the checker's rules.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "tests/broken_hosts/broken_host.h"
#include "tests/broken_hosts/gate.h"

// NOLINTBEGIN(bugprone-*): they are wrong on purpose

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
  std::thread thread = beginOperation(host);
  host.plugin->closeDevice(host.handle);
  letOperationEnd();
  thread.join();
  host.handle = nullptr;
}
MISTAKE(leftAtOnce, "handle.closed-twice", "closeDevice, handle 0x") {
  host.plugin->closeDevice(host.handle);
  host.plugin->closeDevice(host.handle);
  std::_Exit(0);
}
MISTAKE(neverClosed, "handle.never-closed", "collides with dlclose at 0x") {
  host.handle = nullptr;
}
MISTAKE(neverClosedPreloaded, "handle.never-closed", "collides with dlclose at 0x") {
  host.handle = nullptr;
}
MISTAKE(neverClosedNorUnloaded, "handle.never-closed", "collides with exit at 0x") {
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

MISTAKE(moreThanMapped, "array.too-small", "2000000000 locations announced") {
  char* locations[4] = {};
  expect(host.plugin->getDeviceLocation(host.handle, locations, 2000000000, host.error) == -1, "it was passed on");
}
MISTAKE(severalSizesAtOnePlace, "array.too-small", ", 2 times") {
  DriveTemperature temperatures[4] = {};
  for (const int32_t count : {4, 1000000000, 2000000000}) {
    host.plugin->getDeviceTemperature(host.handle, temperatures, count, host.error);
  }
}
MISTAKE(noSlotForDisk, "array.too-small", "0 locations announced, one written, handle 0x") {
  auto** const nowhere = reinterpret_cast<char**>(16);
  char* location = nullptr;
  CtrlDevInfo* const disk = openDisk(host);
  expect(host.plugin->getDeviceLocation(host.handle, nowhere, 0, host.error) == 0 &&
             host.plugin->getDeviceLocation(host.handle, nowhere, -1, host.error) == 0,
         "a volume needs no slot");
  expect(host.plugin->getDeviceLocation(disk, &location, -1, host.error) == 1 && location != nullptr,
         "a sound call was refused");
  std::free(location);
  expect(host.plugin->getDeviceLocation(disk, nowhere, 0, host.error) == -1, "it was passed on");
  host.plugin->closeDevice(disk);
}
MISTAKE(noRecordForDiskPreloaded, "array.too-small", "-1 temperatures announced, one written, room for 0 in the") {
  auto* const temperature = static_cast<DriveTemperature*>(std::malloc(sizeof(DriveTemperature)));
  auto* const part = static_cast<DriveTemperature*>(std::malloc(1));
  CtrlDevInfo* const disk = openDisk(host);
  expect(
      host.plugin->getDeviceTemperature(disk, temperature, 0, host.error) == 1 && temperature->currentTemperature == 36,
      "a sound call was refused");
  expect(host.plugin->getDeviceTemperature(disk, part, -1, host.error) == -1, "it was passed on");
  host.plugin->closeDevice(disk);
  std::free(temperature);
  std::free(part);
}
MISTAKE(moreSlotsPreloaded, "array.too-small", "128 locations announced, room for 3 in the heap block") {
  auto** const locations = static_cast<char**>(std::calloc(4, sizeof(char*)));
  expect(host.plugin->getDeviceLocation(host.handle, locations + 1, 128, host.error) == -1, "it was passed on");
  std::free(locations);
}
MISTAKE(moreRecordsPreloaded, "array.too-small", "5 temperatures announced, room for 4 in the heap block") {
  auto* const temperatures = new DriveTemperature[4];
  expect(host.plugin->getDeviceTemperature(host.handle, temperatures, 4, host.error) == 4, "a sound call was refused");
  expect(host.plugin->getDeviceTemperature(host.handle, temperatures, 5, host.error) == -1, "it was passed on");
  delete[] temperatures;
}

/// Words in place of an error text.
static std::string& asError(void* words) {
  return *static_cast<std::string*>(words);
}

/// A string of the layout that the plugin does not have: on the heap for the old layout, a short one for the new.
struct ForeignString {
  uintptr_t words[8] = {};
  explicit ForeignString(const char* text) {
    const size_t length = std::strlen(text);
#if _GLIBCXX_USE_CXX11_ABI
    auto* const block = static_cast<uintptr_t*>(std::calloc(1, 64));
    block[0] = block[1] = length;
    std::strcpy(reinterpret_cast<char*>(block + 3), text);
    words[0] = reinterpret_cast<uintptr_t>(block + 3);
    words[1] = words[2] = ~uintptr_t{0};
#else
    words[0] = reinterpret_cast<uintptr_t>(words + 2);
    words[1] = length;
    std::strcpy(reinterpret_cast<char*>(words + 2), text);
#endif
  }
};

MISTAKE(nullError, "error.no-string", "cacheOn, error, handle 0x") {
  void* volatile nothing = nullptr;
  expect(host.plugin->cacheOn(host.handle, asError(nothing)) == -1, "it was passed on");
}
MISTAKE(errorIsNowhere, "error.no-string", "disk vmhba2 1:1:0") {
  uintptr_t words[8] = {4096, 3, 20};
  DmuDeviceInfo info{};
  expect(host.plugin->getDeviceInfo(host.handle, &info, asError(words)) == -1, "it was passed on");
}
MISTAKE(errorIsText, "error.no-string", "cacheOff, error") {
  char text[64] = "an error text as C has it";
  expect(host.plugin->cacheOff(host.handle, asError(text)) == -1 && text[0] == 'a', "it was passed on");
}
MISTAKE(otherLayout, "error.other-layout", "a string of the ") {
  ForeignString error("text");
  expect(host.plugin->cacheOff(host.handle, asError(error.words)) == -1, "it was passed on");
}
MISTAKE(soundTexts, "error.no-string", "setDriveLEDState, error") {
  std::string texts[] = {"", "short", std::string(15, 'x'), std::string(16, 'x'), std::string(5000, 'x'), "cleared"};
  texts[5].assign(200, 'x');
  texts[5].clear();
  DmuDeviceInfo info{};
  for (std::string& text : texts) {
    expect(host.plugin->getDeviceInfo(host.handle, &info, text) == 0, "a sound text was refused");
  }
  uintptr_t words[8] = {};
  host.plugin->setDriveLEDState(host.handle, 0, 0, asError(words));
}

MISTAKE(keptLocationsPreloaded, "location.never-released", "4 location texts handed out, 3 of them not released") {
  char* locations[128] = {};
  expect(host.plugin->getDeviceLocation(host.handle, locations, 128, host.error) == 4, "no locations");
  std::free(locations[1]);
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  waitpid(child, nullptr, 0);
  expect(!isReported("never"), "a child owes nothing of its parent's");
}

MISTAKE(unloadedInUse, "unload.in-use", "collides with dlclose at 0x") {
  std::thread thread = beginOperation(host);
  letOperationEndWhenReported("unload.in-use");
  dlclose(host.library);
  thread.join();
  host.handle = nullptr;
  host.library = nullptr;
}
MISTAKE(unloadedInUsePreloaded, "unload.in-use", "collides with dlclose at 0x") {
  Dl_info plugin{};
  dladdr(reinterpret_cast<void*>(host.plugin->cacheOn), &plugin);
  void* const again = dlopen(plugin.dli_fname, RTLD_NOW);
  std::thread thread = beginOperation(host);
  expect(again == host.library && dlclose(again) == 0 && !isReported("unload.in-use"), "it is still loaded");
  dlclose(host.library);
  letOperationEnd();
  thread.join();
  host.handle = nullptr;
  host.library = nullptr;
}
MISTAKE(exitInUse, "unload.in-use", "collides with exit at 0x") {
  beginOperation(host).detach();
  letOperationEndWhenReported("unload.in-use");
  std::exit(0);
}
MISTAKE(forkedInUse, "fork.in-use", "collides with cacheOn at 0x") {
  std::thread thread = beginOperation(host);
  const pid_t child = fork();
  if (child == 0) {
    setClockBack();
    DmuDeviceInfo info{};
    const int32_t result = host.plugin->getDeviceInfo(host.handle, &info, host.error);
    std::_Exit(result == -1 && host.error.starts_with("Mutex lock error: ") ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  letOperationEnd();
  thread.join();
  expect(status == 0, "the child got another answer");
}

// NOLINTEND(bugprone-*)
