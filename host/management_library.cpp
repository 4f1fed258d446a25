// Chooses the management library and loads it.
#include "host/management_library.h"

#include <dlfcn.h>
#include <link.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>

#include "host/elf_file.h"
#include "host/host_calls.h"
#include "host/loadable_file.h"
#include "host/refusal.h"

namespace host {
namespace {

/// Plugins need it by this name.
constexpr const char* kName = "libvmkmgmt.so";

/// As if this program were linked with it.
constexpr int kAsLinked = RTLD_LAZY | RTLD_GLOBAL;

bool exists(const std::string& file) {
  struct stat status = {};
  return stat(file.c_str(), &status) == 0;
}

bool areSame(const std::string& one, const std::string& other) {
  struct stat first = {};
  struct stat second = {};
  return stat(one.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

std::string fileOf(void* library) {
  const link_map* map = nullptr;
  return dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : kName;
}

/// The library of this program's own build, which lies beside it, or of its installation; nothing when neither is
/// there.
std::optional<std::string> ownLibrary() {
  for (const char* folder : {"", "simulated-host/"}) {
    std::string file = programFolder() + folder + kName;
    if (exists(file)) return file;
  }
  return std::nullopt;
}

/// Refuses to go on when the loader knows another library than this program's own.
void refuseSecond(const std::string& own) {
  std::string other;
  if (void* system = dlopen(kName, RTLD_LAZY | RTLD_LOCAL)) {
    other = fileOf(system);
    if (areSame(own, other)) return;
  } else {
    other = dlerror();
    // Any other reason than that there is none: it is there and does not load.
    if (other.starts_with(std::string(kName) + ": cannot open shared object file")) return;
  }
  throw Refusal("two management libraries: " + own + " beside this program, and the system's (" + other +
                "); say which with --library FILE; --topology, --state, DMU_TOPOLOGY and --replay mean the first");
}

void* load(const std::string& path) {
  if (void* library = dlopen(path.c_str(), kAsLinked)) return library;
  throw Refusal("library " + path + " cannot be loaded: " + dlerror());
}

void* loadNamed(const std::string& file) {
  const std::string path = loadablePath(file);
  const std::string name = sonameOf(readLoadable("library", path));
  if (name != kName) {
    throw Refusal("library " + path + ": plugins need " + kName +
                  " and would not find it: " + (name.empty() ? "it has no soname" : "its soname is " + name));
  }
  return load(path);
}

void* loadSystems() {
  if (void* library = dlopen(kName, kAsLinked)) return library;
  throw Refusal(std::string("no management library: there is none in ") + programFolder() +
                ", and the system has none (" + dlerror() + "); name one with --library FILE");
}

void* loadChosen(const LibraryWish& wish) {
  if (!wish.file.empty()) return loadNamed(wish.file);
  if (const auto own = ownLibrary()) {
    if (wish.simulatedFor.empty() && !wish.isReplay) refuseSecond(*own);
    return load(*own);
  }
  if (!wish.simulatedFor.empty() && !wish.isReplay) {
    throw Refusal(wish.simulatedFor + " needs the simulated host, and its " + kName + " is not in " + programFolder());
  }
  return loadSystems();
}

}  // namespace

ManagementLibrary::ManagementLibrary(const LibraryWish& wish) {
  void* const library = loadChosen(wish);
  file_ = fileOf(library);
  for (const char* call : {"vmk_MgmtUserInit", "vmk_MgmtUserDestroy", "vmk_MgmtUserCallbackInvokeInt"}) {
    if (dlsym(library, call) == nullptr) throw Refusal("library " + file_ + ": it does not export " + call);
  }
  lookUpCallsIn(library);
  const auto find = reinterpret_cast<decltype(&dmuSimulatedHost)>(dlsym(library, "dmuSimulatedHost"));
  if (find != nullptr) simulatedHost_ = find();
}

std::string ManagementLibrary::text() const {
  return file_ + (simulatedHost_ != nullptr ? " (simulated host)" : " (real host)");
}

}  // namespace host
