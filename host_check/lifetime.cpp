// What happens when the checker is loaded, and when it is unloaded or its process exits.
#include "host_check/lifetime.h"

#include <atomic>
#include <cstdlib>
#include <pthread.h>

#include "host_check/arena.h"
#include "host_check/handles.h"
#include "host_check/heap.h"
#include "host_check/real_plugin.h"
#include "host_check/report.h"

namespace hostcheck {
namespace {

constexpr int kSecondsForOperations = 20;

bool wasUsed = false;
bool allHaveEnded = true;

/// Operations that run now meet destroyed objects of the plugin unless somebody waits for them.
void whenEnding() {
  static std::atomic_flag isKnown;
  if (!isKnown.test_and_set()) {
    const Guard guard;
    noteRunningOperations();
  }
  allHaveEnded = waitForOperations(kSecondsForOperations);
}

// Constructor and destructor of the library rather than of an object: objects are destroyed before those of the host,
// which may still call then.
[[gnu::constructor]] void whenLoaded() {
  findHeap();  // its lock is taken last at a fork
  findRealPlugin();
  findReportFile();
  pthread_atfork(Guard::lock, Guard::unlock, [] {
    forgetParent();
    beginChildReport();
    Guard::unlock();
  });
}

[[gnu::destructor]] void whenUnloaded() {
  if (!wasUsed) return;
  whenEnding();
  {
    const Guard guard;
    writeReport();
  }
  if (allHaveEnded) unloadRealPlugin();
}

}  // namespace

void beginToCheck() {
  wasUsed = true;
  if (seesHeap()) hideFromChildren();
  std::atexit(whenEnding);  // later than the real plugin's objects, so earlier at the end
}

}  // namespace hostcheck
