// Chooses the management library and loads it.
#include "host/loading/management_library.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <optional>
#include <string_view>
#include <vector>

#include "host/interception/host_calls.h"
#include "host/loading/elf_file.h"
#include "host/loading/loadable_file.h"
#include "host/output/files.h"
#include "host/refusal.h"

namespace host {
namespace {

/// Plugins need it by this name.
constexpr const char* kName = "libvmkmgmt.so";

/// As if this program were linked with it.
constexpr int kAsLinked = RTLD_LAZY | RTLD_GLOBAL;

std::string fileOf(void* library) {
  const link_map* map = nullptr;
  return dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : kName;
}

/// The library of this program's own build, which lies beside it, or of its installation; nothing when neither is
/// there.
std::optional<std::string> ownLibrary() {
  for (const char* folder : {"", "simulated-host/"}) {
    std::string file = programFolder() + folder + kName;
    if (statusOf(file)) return file;
  }
  return std::nullopt;
}

/// Refuses a file whose path is known, when it is no management library for this program and its plugins.
void check(const std::string& path) {
  const std::string name = sonameOf(readLoadable("library", path));
  if (name != kName) {
    throw Refusal("library " + path + ": plugins need " + kName +
                  " and would not find it: " + (name.empty() ? "it has no soname" : "its soname is " + name));
  }
}

void* load(const std::string& path) {
  if (void* library = dlopen(path.c_str(), kAsLinked)) return library;
  throw Refusal("library " + path + " cannot be loaded: " + dlerror());
}

/// The folders in which the loader searches, but for those of its cache and the ones for certain processors.
std::vector<std::string> searchedFolders() {
  void* const program = dlopen(nullptr, RTLD_LAZY);
  Dl_serinfo size = {};
  if (program == nullptr || dlinfo(program, RTLD_DI_SERINFOSIZE, &size) != 0) return {};
  std::vector<char> room(size.dls_size);
  auto* const info = reinterpret_cast<Dl_serinfo*>(room.data());
  std::memcpy(room.data(), &size, std::min(sizeof(size), room.size()));
  if (dlinfo(program, RTLD_DI_SERINFO, info) != 0) return {};
  const Dl_serpath* const paths = info->dls_serpath;
  std::vector<std::string> folders;
  for (unsigned index = 0; index < info->dls_cnt; ++index) folders.emplace_back(paths[index].dls_name);
  return folders;
}

/// Refuses the file that the loader would take when loading it would end the program, or tell less.
void checkSystems() {
  for (const std::string& folder : searchedFolders()) {
    const std::string file = folder + "/" + kName;
    if (!statusOf(file) || isOfOtherClass(file)) continue;
    (void)readLoadable("library", file);
    return;
  }
}

/// @param reason  receives why there is none
/// @return null: there is none
/// @throws Refusal  it is there and cannot be loaded
void* loadSystems(int mode, std::string& reason) {
  checkSystems();
  if (void* library = dlopen(kName, mode)) return library;
  reason = dlerror();
  for (const char* absence : {": cannot open shared object file", ": wrong ELF class"}) {
    if (reason.starts_with(kName + std::string(absence))) return nullptr;
  }
  throw Refusal(std::string("library ") + kName + " cannot be loaded: " + reason);
}

/// Refuses to go on when the loader knows another library than this program's own.
void refuseSecond(const std::string& own) {
  std::string other;
  try {
    void* const system = loadSystems(RTLD_LAZY | RTLD_LOCAL, other);
    if (system == nullptr) return;
    other = fileOf(system);
    if (areSameFile(own, other)) return;
  } catch (const Refusal& refusal) {
    other = refusal.what();
  }
  throw Refusal("two management libraries: " + own + " beside this program, and the system's (" + other +
                "); say which with --library FILE; --topology, --state, DMU_TOPOLOGY and --replay mean the first");
}

void* loadSystems() {
  std::string reason;
  if (void* library = loadSystems(kAsLinked, reason)) return library;
  throw Refusal(std::string("no management library: there is none in ") + programFolder() +
                ", and the system has none (" + reason + "); name one with --library FILE");
}

void* loadChosen(const LibraryWish& wish) {
  if (!wish.file.empty()) {
    const std::string path = loadablePath(wish.file);
    check(path);
    return load(path);
  }
  if (const auto own = ownLibrary()) {
    check(*own);
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
