// Operations 2 and 3: the write caches, as the simulated controllers keep them.
#include "host/check/calls.h"
#include "host/check/expectations.h"
#include "host/loading/isolated_call.h"

namespace host::check {
namespace {

constexpr bool kWays[] = {true, false, false, true};

/// Switches a cache, whichever way it was, and expects this cache alone to change.
void expectSwitched(Trial& trial, const Subject& subject, const std::string& cache) {
  const Handle handle = trial.open(subject.disk);
  for (const bool on : kWays) {
    const std::string what = std::string("write cache ") + (on ? "on" : "off") + " of " + subject.disk.device;
    std::vector<std::string> expected = cachesOn(trial.simulatedHost());
    std::erase(expected, cache);
    if (on) expected.push_back(cache);
    std::string error;
    noteStep(what);
    const DmuSetCache operation = on ? trial.plugin().cacheOn : trial.plugin().cacheOff;
    expectResult(what, static_cast<int32_t>(drivesOf(subject).size()), operation(handle.get(), error));
    expectNames(what + ": caches that are on", expected, cachesOn(trial.simulatedHost()));
  }
}

void switchesVolumes(Trial& trial) {
  for (const Subject& subject : trial.subjects(Kind::volume)) {
    expectSwitched(trial, subject, volumeCacheName(*subject.volume));
  }
}

void switchesControllers(Trial& trial) {
  for (const Subject& subject : trial.subjects(Kind::disk)) {
    expectSwitched(trial, subject, controllerCacheName(subject.disk.hba));
  }
}

void refusesExternalVolumes(Trial& trial) {
  for (const Subject& subject : trial.subjects(Kind::externalVolume)) {
    const Handle handle = trial.open(subject.disk);
    const std::vector<std::string> before = cachesOn(trial.simulatedHost());
    for (const bool on : kWays) {
      const std::string what =
          std::string("write cache ") + (on ? "on" : "off") + " of external volume " + subject.disk.device;
      std::string error = kErrorBefore;
      const DmuSetCache operation = on ? trial.plugin().cacheOn : trial.plugin().cacheOff;
      expectResult(what, -1, operation(handle.get(), error));
      expectText(what + ": the error text", kErrorBefore, error);
      expectNames(what + ": caches that are on", before, cachesOn(trial.simulatedHost()));
    }
  }
}

constexpr Rule kCacheRules[] = {
    {"cache.volume", "a volume's own cache is switched, and no other", Needs::switching, switchesVolumes},
    {"cache.disk", "for a physical disk the cache of its controller's drives is switched", Needs::switching,
     switchesControllers},
    {"cache.external-volume", "nothing is switched for an external volume, and the result is -1", Needs::switching,
     refusesExternalVolumes},
};

}  // namespace

std::span<const Rule> cacheRules() {
  return kCacheRules;
}

}  // namespace host::check
