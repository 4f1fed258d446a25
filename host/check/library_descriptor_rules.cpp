// What a host meets before the first disk: the library, which is loaded and unloaded, and the descriptor, which is
// looked at before anything is called through it.
#include <algorithm>
#include <cstring>
#include <dlfcn.h>

#include "host/check/trial.h"
#include "host/loading/isolated_call.h"
#include "host/refusal.h"

namespace host::check {
namespace {

void loads(Trial& trial) {
  noteStep("loading it");
  try {
    const PluginLibrary library(trial.pluginFile());
  } catch (const Refusal& refusal) {
    fail(std::string("expected a library that loads here, but ") + refusal.what());
  }
}

void askForEverything(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach()) informationOf(subject);
}

void unloads(Trial& trial) {
  askForEverything(trial);
  auto* const entry = reinterpret_cast<void*>(trial.library().entry());
  Dl_info library{};
  expect(dladdr(entry, &library) != 0, "DmuPluginInit lies in no library");
  const std::string file = library.dli_fname;
  trial.unload();
  void* stillLoaded = dlopen(file.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  expect(stillLoaded == nullptr, "expected the library to be gone after dlclose, it is still loaded");
  askForEverything(trial);
}

constexpr size_t kLongestText = 255;

const DmuPluginDescriptor& descriptorOf(Trial& trial) {
  const DmuPluginDescriptor* descriptor = trial.library().entry()();
  if (descriptor == nullptr) throw Skipped{"DmuPluginInit returned null (see descriptor.returned)"};
  return *descriptor;
}

void returned(Trial& trial) {
  expect(trial.library().entry()() != nullptr, "DmuPluginInit: expected a descriptor, got null");
}

void expectReadable(const std::string& field, const char* text) {
  expect(text != nullptr, field + ": expected a text, got null");
  const std::string read(text, strnlen(text, kLongestText + 1));
  const bool isPrintable = std::all_of(read.begin(), read.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
  expect(!read.empty() && read.size() <= kLongestText && isPrintable,
         field + ": expected 1 to 255 printable characters and a NUL, there are none");
}

void textsAreShort(Trial& trial) {
  const DmuPluginDescriptor& descriptor = descriptorOf(trial);
  expectReadable("version", descriptor.version);
  expectReadable("name", descriptor.name);
}

/// A function lies in a library; whatever stands behind a descriptor that is too short does not.
template <typename Function>
void expectFunction(const std::string& field, Function function) {
  expect(function != nullptr, field + ": expected a function, got null");
  Dl_info library{};
  const bool isInLibrary = dladdr(reinterpret_cast<void*>(function), &library) != 0;
  expect(isInLibrary, field + ": expected a function, got an address that lies in no library");
}

void functions(Trial& trial) {
  const DmuPluginDescriptor& descriptor = descriptorOf(trial);
  expectFunction("openDevice", descriptor.openDevice);
  expectFunction("closeDevice", descriptor.closeDevice);
  expectFunction("getDeviceInfo", descriptor.getDeviceInfo);
  expectFunction("setDriveLEDState", descriptor.setDriveLEDState);
  expectFunction("cacheOn", descriptor.cacheOn);
  expectFunction("cacheOff", descriptor.cacheOff);
  expectFunction("getDeviceTemperature", descriptor.getDeviceTemperature);
  expectFunction("getDeviceLocation", descriptor.getDeviceLocation);
  expectFunction("openDeviceV2", descriptor.openDeviceV2);
}

void operationCount(Trial& trial) {
  expectNumber("operationCount", 6, descriptorOf(trial).operationCount);
}

void unusedIsNull(Trial& trial) {
  const DmuPluginDescriptor& descriptor = descriptorOf(trial);
  expect(descriptor.unused == nullptr, "unused: expected null, got an address");
  for (const void* field : descriptor.reserved) expect(field == nullptr, "reserved: expected 16 nulls, got an address");
}

void stable(Trial& trial) {
  const DmuPluginDescriptor* first = &descriptorOf(trial);
  const DmuPluginDescriptor contents = *first;
  const auto expectSame = [&](const std::string& when) {
    expect(trial.library().entry()() == first, "DmuPluginInit " + when + ": expected the same address, got another");
    expect(std::memcmp(first, &contents, sizeof(contents)) == 0, "descriptor " + when + ": its contents have changed");
  };
  expectSame("called again");
  for (const OpenSubject& subject : trial.openEach()) {
    for (const Operation& operation : readingOperations()) operation.call(subject.handle);
    expectSame("after operations");
  }
}

}  // namespace

std::vector<Rule> libraryAndDescriptorRules() {
  return {
      {"library.loads", "it loads with all it needs and exports DmuPluginInit", loads},
      {"library.unloads", "after use it can be unloaded and loaded again", unloads},
      {"descriptor.returned", "DmuPluginInit returns a descriptor", returned},
      {"descriptor.texts", "version and name are short printable texts", textsAreShort},
      {"descriptor.functions", "both opens, close and the six operations are functions", functions},
      {"descriptor.operation-count", "operationCount is 6", operationCount},
      {"descriptor.unused-null", "the unused field and the room behind the fields are null", unusedIsNull},
      {"descriptor.stable", "every call returns the same address with the same contents", stable},
  };
}

}  // namespace host::check
