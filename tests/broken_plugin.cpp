// Plugins that are broken on purpose. Each FAULT changes the good plugin's descriptor in one way; its library is linked
// from this file with that fault as chosenFault. It names the rule of "dmu-host check" that must find it, and a piece
// of what the rule says then.
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

#include "platform/vmkmgmt.h"
#include <dmu/plugin.h>

extern "C" [[gnu::visibility("hidden")]] void chosenFault();  // --defsym

namespace {

const DmuPluginDescriptor* good;          // of the good plugin
DmuPluginDescriptor broken;               // its copy, changed by the fault
DmuPluginDescriptor* returned = &broken;  // by DmuPluginInit
DmuPluginDescriptor* (*answer)() = [] { return returned; };
bool isLoading = true;  // a fault is called when the library is loaded, and again before DmuPluginInit returns first

constexpr int32_t kRoom = 256;
constexpr std::chrono::seconds kWait{6};
std::timed_mutex gate;

/// A deadline by the clock for which the thread sanitizer knows how to wait.
template <typename Duration>
auto within(Duration duration) {
  return std::chrono::system_clock::now() + duration;
}

DmuDeviceInfo informationOf(CtrlDevInfo* handle) {
  DmuDeviceInfo information{};
  std::string error;
  good->getDeviceInfo(handle, &information, error);
  return information;
}

bool isDisk(CtrlDevInfo* handle) {
  return informationOf(handle).deviceType == 2;
}

bool isExternal(CtrlDevInfo* handle) {
  return informationOf(handle).raidLevel == 255;
}

/// The good plugin answers operation 0, and a function changes what it wrote.
template <typename Change>
void changeInformation(Change /*change*/) {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const int32_t result = good->getDeviceInfo(handle, information, error);
    Change()(*information);
    return result;
  };
}

/// The good plugin's locations, each buffer replaced by what a function makes of it.
template <typename Change>
void changeLocations(Change /*change*/) {
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
    const int32_t stored = good->getDeviceLocation(handle, locations, count, error);
    std::transform(locations, locations + std::max(stored, 0), locations, Change());
    return stored;
  };
}

void leakChannel() {
  void* plugin = dlopen(DMU_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD);
  vmk_MgmtUserHandle* channel = nullptr;
  vmk_MgmtUserInit(dlsym(plugin, "pqiMgmtApiSig"), 0, &channel);
  dlclose(plugin);
}

[[gnu::constructor]] void loaded() {
  chosenFault();
  isLoading = false;
}

void fill() {
  void* plugin = dlopen(DMU_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
  good = reinterpret_cast<DmuPluginInitFunction>(dlsym(plugin, "DmuPluginInit"))();
  broken = *good;
  chosenFault();
}

}  // namespace

DmuPluginDescriptor* DmuPluginInit() {
  static std::once_flag once;
  std::call_once(once, fill);
  return answer();
}

#define FAULT(name, rule, says) extern "C" [[gnu::visibility("hidden")]] void name()

// NOLINTBEGIN(bugprone-*): they are wrong on purpose

FAULT(crashesWhenLoaded, "library.loads", "ended") {
  if (isLoading) std::raise(SIGSEGV);
}
FAULT(staysLoaded, "library.unloads", "it is still loaded") {
  Dl_info self{};
  if (!isLoading && dladdr(&broken, &self) != 0) dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE);
}

FAULT(returnsNull, "descriptor.returned", "got null") {
  returned = nullptr;
}
FAULT(throwsAtOnce, "descriptor.returned", "threw an exception: no") {
  answer = []() -> DmuPluginDescriptor* { throw std::runtime_error("no"); };
}
FAULT(hasNoVersion, "descriptor.texts", "version: expected a text, got null") {
  broken.version = nullptr;
}
FAULT(hasUnprintableName, "descriptor.texts", "name: expected 1 to 255 printable") {
  broken.name = "dmu\x1b[2J";
}
FAULT(cannotClose, "descriptor.functions", "closeDevice: expected a function, got null") {
  broken.closeDevice = nullptr;
}
FAULT(pointsNowhere, "descriptor.functions", "lies in no library") {
  broken.cacheOff = reinterpret_cast<DmuSetCache>(std::malloc(64));
}
FAULT(countsFive, "descriptor.operation-count", "got 5") {
  broken.operationCount = 5;
}
FAULT(fillsUnused, "descriptor.unused-null", "unused: expected null") {
  broken.unused = &broken;
}
FAULT(hasGarbageBehind, "descriptor.unused-null", "reserved: expected 16 nulls") {
  broken.reserved[15] = &broken;
}
FAULT(isShort, "descriptor.unused-null", "ended") {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  constexpr size_t kFields = offsetof(DmuPluginDescriptor, reserved);
  void* const pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  char* const end = static_cast<char*>(pages) + page;
  mprotect(end, page, PROT_NONE);
  returned = reinterpret_cast<DmuPluginDescriptor*>(end - kFields);
  std::memcpy(end - kFields, &broken, kFields);
}
FAULT(returnsCopies, "descriptor.stable", "expected the same address, got another") {
  answer = [] { return new DmuPluginDescriptor(broken); };
}
FAULT(changesItsName, "descriptor.stable", "its contents have changed") {
  answer = [] {
    broken.name = broken.name == good->name ? "another" : good->name;
    return returned;
  };
}

FAULT(opensNothing, "open.serves", "expected result 0, got -1") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo*, CtrlDevInfo**) { return -1; };
}
FAULT(givesNoHandle, "open.serves", "expected a handle, got none") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo*, CtrlDevInfo**) { return 0; };
}
FAULT(comparesAPrefix, "open.foreign-driver", "veltrane2\": expected result -1, got 0") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    if (info == nullptr || info->driver == nullptr) return -1;
    DmuDeviceOpenInfo copy = *info;
    if (std::strcmp(info->driver, "veltrane2") == 0) copy.driver = "veltrane";
    return good->openDeviceV2(&copy, out);
  };
}
FAULT(clearsOutOnFailure, "open.foreign-driver", "it failed, but wrote a handle") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    if (out != nullptr) *out = nullptr;
    return good->openDeviceV2(info, out);
  };
}
FAULT(readsANullRecord, "open.null-arguments", "ended") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    const volatile uint32_t channel = info->channel;
    static_cast<void>(channel);
    return good->openDeviceV2(info, out);
  };
}
FAULT(refusesNullNames, "open.null-names", "with null names: expected result 0, got -1") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    return info == nullptr || info->hba == nullptr ? -1 : good->openDeviceV2(info, out);
  };
}
FAULT(throwsAtLongNames, "open.long-names", "threw an exception") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    if (std::string(info->hba).size() > 49) throw std::length_error("too long");
    return good->openDeviceV2(info, out);
  };
}
FAULT(writesTheRecord, "open.borrows-the-record", "the host's record was written to") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    const int32_t result = good->openDeviceV2(info, out);
    if (result == 0) const_cast<DmuDeviceOpenInfo*>(info)->reserved ^= 1;
    return result;
  };
}
FAULT(needsASerial, "open.unreadable-serial", "expected result 0, got -1") {
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    return std::strcmp(info->devName, "no-such-node") == 0 ? -1 : good->openDeviceV2(info, out);
  };
}
FAULT(losesTheLun, "open.by-address", "expected result 0, got -1") {
  broken.openDevice = [](const char* hba, uint32_t channel, uint32_t target, uint32_t, const char* driver, uint8_t,
                         uint16_t, uint8_t, uint8_t, uint8_t, uint16_t, uint16_t, uint16_t, uint16_t, uint8_t, uint32_t,
                         CtrlDevInfo** out) {
    return good->openDevice(hba, channel, target, 77, driver, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, out);
  };
}

FAULT(knowsOneHandle, "open.independent-handles", "while other handles are open: expected") {
  static CtrlDevInfo* last = nullptr;
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    const int32_t result = good->openDeviceV2(info, out);
    if (result == 0) last = *out;
    return result;
  };
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    return good->getDeviceInfo(handle == nullptr ? handle : last, information, error);
  };
}

FAULT(closesNull, "close.null", "ended") {
  broken.closeDevice = [](CtrlDevInfo* handle) {
    const volatile char first = *reinterpret_cast<const char*>(handle);
    static_cast<void>(first);
    good->closeDevice(handle);
  };
}
FAULT(keepsHandles, "close.frees-the-handle", "bytes more") {
  broken.closeDevice = [](CtrlDevInfo*) {};
}
FAULT(closesEverything, "close.leaves-other-handles", "after another handle of it was closed") {
  static bool hasClosed = false;
  broken.closeDevice = [](CtrlDevInfo* handle) {
    hasClosed = true;
    good->closeDevice(handle);
  };
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    return hasClosed ? -1 : good->getDeviceInfo(handle, information, error);
  };
}

FAULT(readsANullHandle, "operations.null-handle", "ended") {
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
    const volatile char first = *reinterpret_cast<const char*>(handle);
    static_cast<void>(first);
    return good->getDeviceLocation(handle, locations, count, error);
  };
}
FAULT(appendsItsText, "operations.null-handle", "got \"text from beforeInvalid handle!\"") {
  broken.cacheOn = [](CtrlDevInfo* handle, std::string& error) {
    std::string text;
    const int32_t result = good->cacheOn(handle, text);
    error += text;
    return result;
  };
}
FAULT(namesAMissingRecord, "operations.null-output", "expected \"text from before\", got \"no record\"") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    if (information == nullptr) error = "no record";
    return good->getDeviceInfo(handle, information, error);
  };
}
FAULT(hidesFailure, "operations.unknown-controller", "temperature of a controller that is not there: expected result") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t count, std::string& error) {
    return std::max(good->getDeviceTemperature(handle, records, count, error), 0);
  };
}
FAULT(writesBeforeItFails, "operations.unknown-device", "it failed, but wrote to the host's record") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    if (information != nullptr) *information = {};
    return good->getDeviceInfo(handle, information, error);
  };
}

FAULT(clearsTheText, "errors.untouched-on-success", "expected \"text from before\", got \"\"") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t count, std::string& error) {
    const int32_t result = good->getDeviceTemperature(handle, records, count, error);
    if (result >= 0) error.clear();
    return result;
  };
}
FAULT(doesNotRecover, "errors.controller-gone", "once its controller works again: expected result 0, got -1") {
  static bool hasFailed = false;
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const int32_t result = good->getDeviceInfo(handle, information, error);
    hasFailed = hasFailed || result != 0;
    return hasFailed ? -1 : result;
  };
}
FAULT(claimsToBlink, "errors.command-fails", "expected result 0, got result 1") {
  broken.setDriveLEDState = [](CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error) {
    const int32_t result = good->setDriveLEDState(handle, state, seconds, error);
    return result == 0 ? 1 : result;
  };
}

FAULT(writesBeyondTheRecord, "info.answers", "it wrote beyond the record") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const int32_t result = good->getDeviceInfo(handle, information, error);
    if (result == 0) information[1].deviceType = 0;
    return result;
  };
}
FAULT(clearsTheRecord, "info.answers", "that it must leave alone") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    *information = informationOf(handle);
    return good->getDeviceInfo(handle, information, error);
  };
}
FAULT(miscountsMembers, "info.volume", "member drives: expected") {
  changeInformation([](DmuDeviceInfo& information) { ++information.physicalDisks; });
}
FAULT(confusesLevels, "info.raid-levels", "RAID level of a volume of 4 drives: expected 6, got 5") {
  changeInformation([](DmuDeviceInfo& information) {
    if (information.raidLevel == 6) information.raidLevel = 5;
  });
}
FAULT(knowsExternalLevels, "info.external-volume", "RAID level: expected 255, got 6") {
  changeInformation([](DmuDeviceInfo& information) {
    if (information.raidLevel == 255) information.raidLevel = 6;
  });
}
FAULT(takesDisksForVolumes, "info.disk", "device type: expected 2, got 1") {
  changeInformation([](DmuDeviceInfo& information) { information.deviceType = 1; });
}

FAULT(movesADrive, "location.texts", "got port:box:bay 1I:1:11, port:box:bay 1I:1:1") {
  changeLocations([](char* text) {
    text[std::strlen(text) - 1] = '1';
    return text;
  });
}
FAULT(sortsByNumber, "location.texts", "got port:box:bay 1I:1:9, port:box:bay 1I:1:10") {
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
    const int32_t stored = good->getDeviceLocation(handle, locations, count, error);
    std::sort(locations, locations + std::max(stored, 0), [](char* a, char* b) { return strverscmp(a, b) < 0; });
    return stored;
  };
}
FAULT(throwsAnException, "location.texts", "threw an exception: lost") {
  broken.getDeviceLocation = [](CtrlDevInfo*, char**, int32_t, std::string&) -> int32_t {
    throw std::runtime_error("lost");
  };
}
FAULT(endsTheProcess, "location.texts", "ended its process with status 3") {
  broken.getDeviceLocation = [](CtrlDevInfo*, char**, int32_t, std::string&) -> int32_t { _exit(3); };
}
FAULT(writesCapitals, "location.format", "got \"PORT:") {
  changeLocations([](char* text) { return static_cast<char*>(std::memcpy(text, "PORT", 4)); });
}
FAULT(forgetsAMember, "location.one-per-member", "one a drive, got 1") {
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
    return good->getDeviceLocation(handle, locations, std::min(count, 1), error);
  };
}
FAULT(ignoresTheCountOfSlots, "location.count-bounds", "with a count of -2147483648: expected result 0, got 2") {
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t, std::string& error) {
    return good->getDeviceLocation(handle, locations, kRoom, error);
  };
}
FAULT(endsTheSlotsWithNull, "location.count-bounds", "expected 2 to be written, got 3") {
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
    const int32_t stored = good->getDeviceLocation(handle, locations, count, error);
    locations[std::max(stored, 0)] = nullptr;
    return stored;
  };
}
FAULT(givesStaticBuffers, "location.buffers-are-malloc", "got one inside a library") {
  static char buffers[kRoom][50];
  static size_t next = 0;
  changeLocations([](char* text) { return static_cast<char*>(std::memcpy(buffers[next++ % kRoom], text, 50)); });
}
FAULT(givesABufferTwice, "location.buffers-are-malloc", "got one that was given before") {
  static auto* const buffer = static_cast<char*>(std::calloc(1, 50));
  changeLocations([](char*) { return buffer; });
}
FAULT(givesShortBuffers, "location.buffers-are-malloc", "expected a buffer of 50 bytes, got") {
  changeLocations([](const char* text) { return strdup(text); });
}
FAULT(givesTheInsideOfABlock, "location.buffers-are-malloc", "") {
  changeLocations([](char* text) {
    return static_cast<char*>(std::memcpy(static_cast<char*>(std::calloc(1, 256)) + 64, text, 50));
  });
}
FAULT(callsAllWell, "location.failed-member", "one of them \"(Failed)\", got") {
  changeLocations([](char* text) {
    if (char* failed = std::strchr(text, '(')) *failed = '\0';
    return text;
  });
}

FAULT(swapsTemperatures, "temperature.values", "expected 20/60, 21/60, got 60/20, 60/21") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t count, std::string& error) {
    const int32_t stored = good->getDeviceTemperature(handle, records, count, error);
    for (int32_t i = 0; i < stored; ++i) std::swap(records[i].currentTemperature, records[i].maximumTemperature);
    return stored;
  };
}
FAULT(sortsByTemperature, "temperature.values", "got 22/60, 23/60, 24/60, 25/60") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t count, std::string& error) {
    const int32_t stored = good->getDeviceTemperature(handle, records, count, error);
    std::sort(records, records + std::max(stored, 0),
              [](auto a, auto b) { return a.currentTemperature < b.currentTemperature; });
    return stored;
  };
}
FAULT(ignoresTheCountOfRecords, "temperature.count-bounds", "with a count of -2147483648: expected result 0, got 2") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t, std::string& error) {
    return good->getDeviceTemperature(handle, records, kRoom, error);
  };
}
FAULT(clearsTheNextRecord, "temperature.count-bounds", "expected 2 to be written, got 3") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t count, std::string& error) {
    const int32_t stored = good->getDeviceTemperature(handle, records, count, error);
    records[std::max(stored, 0)] = {};
    return stored;
  };
}

FAULT(switchesNothing, "led.switches-the-right-drives", "drives that blink: expected vmhba2 drive 0") {
  broken.setDriveLEDState = [](CtrlDevInfo* handle, uint32_t, uint16_t, std::string&) -> int32_t {
    return isDisk(handle) ? 1 : informationOf(handle).physicalDisks;
  };
}
FAULT(switchesAnotherOff, "led.leaves-others", "all locator LEDs on: drives that blink: expected") {
  broken.setDriveLEDState = [](CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error) {
    CtrlDevInfo* other = nullptr;
    good->openDevice("vmhba2", 1, 0, 0, "veltrane", 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, &other);
    good->setDriveLEDState(other, 0, seconds, error);
    good->closeDevice(other);
    return good->setDriveLEDState(handle, state, seconds, error);
  };
}
FAULT(takesTheWholeState, "led.low-bits-of-state", "with state 256: drives that blink: expected none") {
  broken.setDriveLEDState = [](CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error) {
    return good->setDriveLEDState(handle, state != 0 ? 1 : 0, seconds, error);
  };
}
FAULT(blinksForAMinute, "led.seconds", "for 1 seconds: it blinks for 600 tenths") {
  broken.setDriveLEDState = [](CtrlDevInfo* handle, uint32_t state, uint16_t, std::string& error) {
    return good->setDriveLEDState(handle, state, 60, error);
  };
}
FAULT(refusesExternalLeds, "led.external-volume", "expected result 0, got -1") {
  broken.setDriveLEDState = [](CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error) {
    return isExternal(handle) ? -1 : good->setDriveLEDState(handle, state, seconds, error);
  };
}

FAULT(mixesUpOnAndOff, "cache.volume", "caches that are on: expected") {
  std::swap(broken.cacheOn, broken.cacheOff);
}
FAULT(leavesDiskCaches, "cache.disk", "caches that are on: expected") {
  broken.cacheOn = [](CtrlDevInfo* handle, std::string& error) {
    return isDisk(handle) ? 1 : good->cacheOn(handle, error);
  };
}
FAULT(claimsExternalCaches, "cache.external-volume", "expected result -1, got 1") {
  broken.cacheOff = [](CtrlDevInfo* handle, std::string& error) {
    return isExternal(handle) ? 1 : good->cacheOff(handle, error);
  };
}

FAULT(leaksAChannel, "channel.closed-after-each-call", "expected no channel to stay open, got 1") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    leakChannel();
    return good->getDeviceInfo(handle, information, error);
  };
}
FAULT(leaksChannelsOnFailure, "channel.does-not-pile-up", "expected one channel to stay open at most, got 2") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const int32_t result = good->getDeviceInfo(handle, information, error);
    if (result != 0) leakChannel();
    return result;
  };
}
FAULT(leaksAFile, "files.closed", "location of naa.6a1b2c0000000200: expected") {
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
    static_cast<void>(dup(STDERR_FILENO));
    return good->getDeviceLocation(handle, locations, count, error);
  };
}
FAULT(leaksMemory, "memory.given-back", "bytes more") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t count, std::string& error) {
    static_cast<void>(strdup("a key that is not looked up again"));
    return good->getDeviceTemperature(handle, records, count, error);
  };
}
FAULT(writesWhileItReads, "commands.reading-changes-nothing", "expected only commands that read") {
  broken.getDeviceTemperature = [](CtrlDevInfo* handle, DriveTemperature* records, int32_t count, std::string& error) {
    good->setDriveLEDState(handle, 0, 1, error);
    return good->getDeviceTemperature(handle, records, count, error);
  };
}

FAULT(answersWithoutTheLock, "lock.serialises", "temperature of naa.5a1b2c0000000404: expected it to wait") {
  broken.getDeviceTemperature = [](CtrlDevInfo*, DriveTemperature*, int32_t, std::string&) { return 0; };
}
FAULT(givesUpAtOnce, "lock.times-out", "expected it to give up after 10 seconds") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const std::unique_lock lock(gate, std::try_to_lock);
    if (lock.owns_lock()) return good->getDeviceInfo(handle, information, error);
    error = std::string("Mutex lock error: ") + std::strerror(ETIMEDOUT);
    return -1;
  };
}
FAULT(locksBeforeItLooks, "lock.null-handle-does-not-wait", "expected it not to wait") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const std::unique_lock lock(gate, within(kWait));
    return good->getDeviceInfo(handle, information, error);
  };
}
FAULT(locksToOpen, "lock.open-does-not-wait", "expected it not to wait") {
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const std::unique_lock lock(gate);
    return good->getDeviceInfo(handle, information, error);
  };
  broken.openDeviceV2 = [](const DmuDeviceOpenInfo* info, CtrlDevInfo** out) {
    const std::unique_lock lock(gate, within(kWait));
    return good->openDeviceV2(info, out);
  };
}
FAULT(keepsTheLockOnFailure, "lock.released-after-failure", "device information after location of a controller") {
  static std::timed_mutex kept;
  broken.getDeviceLocation = [](CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
    const int32_t result = good->getDeviceLocation(handle, locations, count, error);
    if (result < 0 && error == "Failed to open controller.") kept.lock();
    return result;
  };
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const std::unique_lock lock(kept, within(std::chrono::milliseconds(100)));
    return lock.owns_lock() ? good->getDeviceInfo(handle, information, error) : -1;
  };
}
FAULT(sharesARecord, "threads.at-once", "was wrong or failed") {
  static std::atomic<uint32_t> shared;
  broken.getDeviceInfo = [](CtrlDevInfo* handle, DmuDeviceInfo* information, std::string& error) {
    const int32_t result = good->getDeviceInfo(handle, information, error);
    shared = information->deviceType;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    information->deviceType = shared;
    return result;
  };
}

// NOLINTEND(bugprone-*)
