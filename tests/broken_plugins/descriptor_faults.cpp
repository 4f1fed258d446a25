// Faults of loading, of the descriptor, and of opening and closing.
#include <csignal>
#include <dlfcn.h>

#include "tests/broken_plugins/broken_plugin.h"

// NOLINTBEGIN(bugprone-*): they are wrong on purpose

FAULT(crashesWhenLoaded, "library.loads", "ended") {
  if (isLoading) std::raise(SIGSEGV);
}
FAULT(staysLoaded, "library.unloads", "it is still loaded") {
  Dl_info self{};
  if (!isLoading && dladdr(&broken, &self) != 0) dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE);
}

FAULT(returnsNull, "descriptor.returned", "got null") {
  answer = []() -> Plugin* { return nullptr; };
}
FAULT(throwsAtOnce, "descriptor.returned", "threw an exception: no") {
  answer = []() -> Plugin* { throw std::runtime_error("no"); };
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
FAULT(returnsCopies, "descriptor.stable", "expected the same address, got another") {
  answer = [] { return new Plugin(broken); };
}
FAULT(changesItsName, "descriptor.stable", "its contents have changed") {
  answer = [] {
    broken.name = broken.name == good->name ? "another" : good->name;
    return &broken;
  };
}

FAULT(opensNothing, "open.serves", "expected result 0, got -1") {
  broken.openDeviceV2 = [](auto...) { return -1; };
}
FAULT(givesNoHandle, "open.serves", "expected a handle, got none") {
  broken.openDeviceV2 = [](auto...) { return 0; };
}
FAULT(comparesAPrefix, "open.foreign-driver", "veltrane2\": expected result -1, got 0") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    if (info == nullptr || info->driver == nullptr) return -1;
    DmuDeviceOpenInfo copy = *info;
    if (std::strcmp(info->driver, "veltrane2") == 0) copy.driver = "veltrane";
    return good->openDeviceV2(&copy, out);
  };
}
FAULT(clearsOutOnFailure, "open.foreign-driver", "it failed, but wrote a handle") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    if (out != nullptr) *out = nullptr;
    return good->openDeviceV2(info, out);
  };
}
FAULT(readsANullRecord, "open.null-arguments", "ended") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    const volatile uint32_t channel = info->channel;
    static_cast<void>(channel);
    return good->openDeviceV2(info, out);
  };
}
FAULT(refusesNullNames, "open.null-names", "with null names: expected result 0, got -1") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    return info == nullptr || info->hba == nullptr ? -1 : good->openDeviceV2(info, out);
  };
}
FAULT(throwsAtLongNames, "open.long-names", "threw an exception") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    if (std::string(info->hba).size() > 49) throw std::length_error("too long");
    return good->openDeviceV2(info, out);
  };
}
FAULT(writesTheRecord, "open.borrows-the-record", "the host's record was written to") {
  afterwards<&Plugin::openDeviceV2>([](int32_t result, auto* info, auto*) {
    if (result == 0) const_cast<DmuDeviceOpenInfo*>(info)->reserved ^= 1;
  });
}
FAULT(needsASerial, "open.unreadable-serial", "expected result 0, got -1") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    return std::strcmp(info->devName, "no-such-node") == 0 ? -1 : good->openDeviceV2(info, out);
  };
}
FAULT(losesTheLun, "open.by-address", "expected result 0, got -1") {
  broken.openDevice = [](auto* hba, auto channel, auto target, auto, auto... others) {
    return good->openDevice(hba, channel, target, 77, others...);
  };
}

FAULT(knowsOneHandle, "open.independent-handles", "while other handles are open: expected") {
  static CtrlDevInfo* last = nullptr;
  afterwards<&Plugin::openDeviceV2>([](int32_t result, auto*, auto* out) {
    if (result == 0) last = *out;
  });
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    return good->getDeviceInfo(handle == nullptr ? handle : last, information, error);
  };
}
FAULT(closesNull, "close.null", "ended") {
  broken.closeDevice = [](auto* handle) {
    const volatile char first = *reinterpret_cast<const char*>(handle);
    static_cast<void>(first);
    good->closeDevice(handle);
  };
}
FAULT(keepsHandles, "close.frees-the-handle", "bytes more") {
  broken.closeDevice = [](auto*) {};
}
FAULT(closesEverything, "close.leaves-other-handles", "after another handle of it was closed") {
  static bool hasClosed = false;
  broken.closeDevice = [](auto* handle) {
    hasClosed = true;
    good->closeDevice(handle);
  };
  afterwards<&Plugin::getDeviceInfo>([](int32_t& result, auto...) {
    if (hasClosed) result = -1;
  });
}

// NOLINTEND(bugprone-*)
