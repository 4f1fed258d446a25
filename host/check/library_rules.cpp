// Loading and unloading.
#include <dlfcn.h>

#include "host/check/calls.h"
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
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const InformationCall call(trial.plugin(), handle.get());
    expectResult("device information of " + subject.disk.device, 0, call.result);
  }
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

constexpr Rule kLibraryRules[] = {
    {"library.loads", "it loads with all it needs and exports DmuPluginInit", Needs::anyHost, loads},
    {"library.unloads", "after use it can be unloaded and loaded again", Needs::anyHost, unloads},
};

}  // namespace

std::span<const Rule> libraryRules() {
  return kLibraryRules;
}

}  // namespace host::check
