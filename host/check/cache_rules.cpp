// Operations 2 and 3: the write caches, as the simulated controllers keep them.
#include "host/check/expectations.h"

namespace host::check {
namespace {

/// Switches the cache of every subject of a kind, whichever way it was, and expects this cache alone to change.
template <Kind kind>
void switchesOneCache(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach(kind)) {
    for (const bool on : {true, false, false, true}) {
      const std::string what = subject.of(on ? "write cache on" : "write cache off");
      std::vector<std::string> expected = cachesOn(trial.simulatedHost());
      std::erase(expected, cacheOf(subject));
      if (on) expected.push_back(cacheOf(subject));
      const Call call = callCache(subject.handle, on, what);
      expectResult(what, static_cast<int32_t>(drivesOf(subject).size()), call.result);
      expectCachesOn(what, expected, trial.simulatedHost());
    }
  }
}

void refusesExternalVolumes(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach(Kind::externalVolume)) {
    const std::vector<std::string> before = cachesOn(trial.simulatedHost());
    for (const bool on : {true, false}) {
      const std::string what =
          std::string("write cache ") + (on ? "on" : "off") + " of external volume " + subject.disk.device;
      expectAnswer(what, {-1, kErrorBefore}, callCache(subject.handle, on, what));
      expectCachesOn(what, before, trial.simulatedHost());
    }
  }
}

}  // namespace

std::vector<Rule> cacheRules() {
  return {
      {"cache.volume", "a volume's own cache is switched, and no other", switchesOneCache<Kind::volume>,
       Needs::switching},
      {"cache.disk", "for a physical disk the cache of its controller's drives is switched",
       switchesOneCache<Kind::disk>, Needs::switching},
      {"cache.external-volume", "nothing is switched for an external volume, and the result is -1",
       refusesExternalVolumes, Needs::switching},
  };
}

}  // namespace host::check
