// What happens when the checker is loaded, and when it is unloaded or its process exits.
#include "host_check/lifetime.h"

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include "host_check/arena.h"
#include "host_check/handles.h"
#include "host_check/heap.h"
#include "host_check/places.h"
#include "host_check/real_plugin.h"
#include "host_check/report.h"

namespace hostcheck {
namespace {

constexpr int kSecondsForOperations = 20;

bool isChecking = false;
Call ending{};  ///< what ends the plugin's time; without a name until then
bool allHaveEnded = true;

/// Operations that run now meet destroyed objects of the plugin unless somebody waits for them.
void beginToEnd(const char* name) {
  if (ending.name == nullptr) ending = {name, findHostCall()};
  Operation::noteRunning(ending);
  if (allHaveEnded) allHaveEnded = waitForOperations(kSecondsForOperations);
}

/// At an exit it comes before the destructor, at a dlclose behind it.
void whenExiting() {
  if (isChecking) beginToEnd("exit");
}

// Constructor and destructor of the library rather than of an object: objects are destroyed before those of the host,
// which may still call then.
[[gnu::constructor]] void whenLoaded() {
  findHeap();  // its lock is taken last at a fork
  findRealPlugin();
  findReportFile();
  pthread_atfork(Guard::lock, Guard::unlock, [] {
    forgetParent();
    forgetLocationTexts();
    beginChildReport();
    Guard::unlock();
  });
}

[[gnu::destructor]] void whenUnloaded() {
  if (!isChecking) return;
  beginToEnd("dlclose");
  noteOpenHandles(ending);
  noteHeldLocationTexts();
  endReport();
  if (allHaveEnded) unloadRealPlugin();
  isChecking = false;
}

/// This library as the loader knows it.
link_map* findSelf() {
  Dl_info self{};
  link_map* map = nullptr;
  void* const inside = reinterpret_cast<void*>(&whenLoaded);
  return dladdr1(inside, &self, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 ? nullptr : map;
}

using Dlclose = int (*)(void*);

/// Whether anybody has this library open. The loader refuses to close what nobody has; what it closes is opened again.
bool isOpen(link_map* self, Dlclose close) {
  const bool isClosed = close(self) == 0;
  if (isClosed) static_cast<void>(dlopen(self->l_name, RTLD_LAZY | RTLD_NOLOAD));
  dlerror();
  return isClosed;
}

}  // namespace

void beginToCheck() {
  isChecking = true;
  if (seesHeap()) hideFromChildren();
  std::atexit(whenExiting);  // later than the real plugin's objects, so earlier at the end
  beginReport();
}

}  // namespace hostcheck

// Loaded before everything else, this library is never unloaded: the host's last dlclose is seen here.
int dlclose(void* library) {
  using namespace hostcheck;
  const auto next = reinterpret_cast<Dlclose>(dlsym(RTLD_NEXT, "dlclose"));
  const void* const caller = __builtin_return_address(0);
  link_map* const self = findSelf();
  const int result = next(library);
  if (library != self || result != 0 || !isChecking) return result;
  const int kept = errno;
  if (!isOpen(self, next)) {
    const Call last{"dlclose", callBefore(caller)};
    Operation::noteRunning(last);
    noteOpenHandles(last);
  }
  errno = kept;
  return result;
}
