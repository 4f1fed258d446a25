// Faults of loading, of the descriptor, and of opening and closing.
#include <csignal>
#include <dlfcn.h>

#include "tests/broken_plugins/broken_plugin.h"

// NOLINTBEGIN(bugprone-*): they are wrong on purpose

FAULT(crashesWhenLoaded, "library.loads") {
  if (isLoading) std::raise(SIGKILL);  // the same end with and without sanitizers
}
FAULT(staysLoaded, "library.unloads") {
  Dl_info self{};
  if (!isLoading && dladdr(&broken, &self) != 0) dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE);
}

FAULT(returnsNull, "descriptor.returned") {
  answer = []() -> Plugin* { return nullptr; };
}
FAULT(throwsAtOnce, "descriptor.returned") {
  answer = []() -> Plugin* { throw std::runtime_error("no"); };
}
FAULT(hasNoVersion, "descriptor.texts") {
  broken.version = nullptr;
}
FAULT(hasUnprintableName, "descriptor.texts") {
  broken.name = "dmu\x1b[2J";
}
FAULT(cannotClose, "descriptor.functions") {
  broken.closeDevice = nullptr;
}
FAULT(lacksWhatIsNamed, "descriptor.functions") {
  changeIfNamed("LACKED", "openDevice", [](auto& function) { function = nullptr; });
}
FAULT(pointsNowhere, "descriptor.functions") {
  broken.cacheOff = reinterpret_cast<DmuSetCache>(std::malloc(64));
}
FAULT(countsFive, "descriptor.operation-count") {
  broken.operationCount = 5;
}
FAULT(fillsUnused, "descriptor.unused-null") {
  broken.unused = &broken;
}
FAULT(hasGarbageBehind, "descriptor.unused-null") {
  broken.reserved[15] = &broken;
}
FAULT(returnsCopies, "descriptor.stable") {
  answer = [] { return new Plugin(broken); };
}
FAULT(changesItsName, "descriptor.stable") {
  answer = [] {
    broken.name = broken.name == good->name ? "another" : good->name;
    return &broken;
  };
}

FAULT(opensNothing, "open.serves") {
  broken.openDeviceV2 = [](auto...) { return -1; };
}
FAULT(givesNoHandle, "open.serves") {
  broken.openDeviceV2 = [](auto...) { return 0; };
}
FAULT(comparesAPrefix, "open.foreign-driver") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    if (info == nullptr || info->driver == nullptr) return -1;
    DmuDeviceOpenInfo copy = *info;
    if (std::strcmp(info->driver, "veltrane2") == 0) copy.driver = "veltrane";
    return good->openDeviceV2(&copy, out);
  };
}
FAULT(clearsOutOnFailure, "open.foreign-driver") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    if (out != nullptr) *out = nullptr;
    return good->openDeviceV2(info, out);
  };
}
FAULT(readsANullRecord, "open.null-arguments") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    const volatile uint32_t channel = info->channel;
    static_cast<void>(channel);
    return good->openDeviceV2(info, out);
  };
}
FAULT(refusesNullNames, "open.null-names") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    return info == nullptr || info->hba == nullptr ? -1 : good->openDeviceV2(info, out);
  };
}
FAULT(throwsAtLongNames, "open.long-names") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    if (std::string(info->hba).size() > 49) throw std::length_error("too long");
    return good->openDeviceV2(info, out);
  };
}
FAULT(writesTheRecord, "open.borrows-the-record") {
  afterwards<&Plugin::openDeviceV2>([](int32_t result, auto* info, auto*) {
    if (result == 0) const_cast<DmuDeviceOpenInfo*>(info)->reserved ^= 1;
  });
}
FAULT(needsASerial, "open.unreadable-serial") {
  broken.openDeviceV2 = [](auto* info, auto* out) {
    return std::strcmp(info->devName, "no-such-node") == 0 ? -1 : good->openDeviceV2(info, out);
  };
}
FAULT(losesTheLun, "open.by-address") {
  broken.openDevice = [](auto* hba, auto channel, auto target, auto, auto... others) {
    return good->openDevice(hba, channel, target, 77, others...);
  };
}

FAULT(knowsOneHandle, "open.independent-handles") {
  static CtrlDevInfo* last = nullptr;
  afterwards<&Plugin::openDeviceV2>([](int32_t result, auto*, auto* out) {
    if (result == 0) last = *out;
  });
  broken.getDeviceInfo = [](auto* handle, auto* information, auto& error) {
    return good->getDeviceInfo(handle == nullptr ? handle : last, information, error);
  };
}
FAULT(closesNull, "close.null") {
  broken.closeDevice = [](auto* handle) {
    const volatile char first = *reinterpret_cast<const char*>(handle);
    static_cast<void>(first);
    good->closeDevice(handle);
  };
}
FAULT(keepsHandles, "close.frees-the-handle") {
  broken.closeDevice = [](auto*) {};
}
FAULT(closesEverything, "close.leaves-other-handles") {
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
