// What happens when the checker is loaded, and when it is unloaded or its process exits.
#include "host_check/lifetime.h"

#include "host_check/arena.h"
#include "host_check/handles.h"
#include "host_check/real_plugin.h"
#include "host_check/report.h"

namespace hostcheck {
namespace {

bool wasUsed = false;

// Constructor and destructor of the library rather than of an object: objects are destroyed before those of the host,
// which may still call then.
[[gnu::constructor]] void whenLoaded() {
  findRealPlugin();
  findReportFile();
}

[[gnu::destructor]] void whenUnloaded() {
  if (!wasUsed) return;
  {
    const Guard guard;
    noteOpenHandles();
    writeReport();
  }
  unloadRealPlugin();
}

}  // namespace

void beginToCheck() {
  wasUsed = true;
}

}  // namespace hostcheck
