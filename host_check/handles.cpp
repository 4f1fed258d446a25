// Keeps the handles and the operations on them, and holds both against the rules.
#include "host_check/handles.h"

#include <cstring>
#include <ctime>

#include "host_check/arena.h"
#include "host_check/real_plugin.h"
#include "host_check/report.h"

namespace hostcheck {
namespace {

constexpr uint32_t kHandlesInSlab = 128;

struct Slab {
  Handle handles[kHandlesInSlab];
  uint32_t used;
  Slab* older;
};

/// The disks that were opened, each once.
struct Disk {
  const char* name;
  Disk* next;
};

Slab* newestSlab = nullptr;
Disk* disks = nullptr;
Operation* operations = nullptr;
Call forkedDuring{};  ///< in a child: an operation of its parent that ran at the fork

const char* keepDisk(const char* name) {
  for (const Disk* disk = disks; disk != nullptr; disk = disk->next) {
    if (std::strcmp(disk->name, name) == 0) return disk->name;
  }
  Disk* const disk = keepNew<Disk>(keepText(name), disks);
  if (disk == nullptr) return "";
  disks = disk;
  return disk->name;
}

/// The handle at an address that the host gave; null when none is there. Nothing is read from the address.
Handle* findHandle(const CtrlDevInfo* given) {
  const auto address = reinterpret_cast<uintptr_t>(given);
  for (Slab* slab = newestSlab; slab != nullptr; slab = slab->older) {
    const uintptr_t offset = address - reinterpret_cast<uintptr_t>(slab->handles);
    if (offset < slab->used * sizeof(Handle)) {
      return offset % sizeof(Handle) == 0 ? slab->handles + offset / sizeof(Handle) : nullptr;
    }
  }
  return nullptr;
}

/// Slabs stay, and new ones come before them: without the lock, this misses what is just being opened.
template <typename Visit>
void forEachHandle(Visit visit) {
  for (Slab* slab = newestSlab; slab != nullptr; slab = slab->older) {
    for (uint32_t index = 0; index < slab->used; ++index) visit(slab->handles[index]);
  }
}

/// Closes a handle to the host.
/// @param handle  receives it when there is one
std::optional<Breach> markClosed(const Call& call, const CtrlDevInfo* given, Handle*& handle) {
  const Guard guard;
  handle = findHandle(given);
  if (handle == nullptr) return Breach{Rule::handleUnknown, {}};
  if (handle->closedAt != nullptr) return Breach{Rule::handleClosedTwice, handle->closing()};
  handle->closedAt = call.at;
  const Operation* const running = Operation::findOn(handle);
  if (running != nullptr) return Breach{Rule::handleClosedInUse, running->call()};
  return std::nullopt;
}

}  // namespace

Handle* addHandle(CtrlDevInfo* real, const char* disk, const Call& opening) {
  const Guard guard;
  if (newestSlab == nullptr || newestSlab->used == kHandlesInSlab) {
    Slab* const slab = keepNew<Slab>();
    if (slab == nullptr) return nullptr;
    slab->older = newestSlab;
    newestSlab = slab;
  }
  Handle& handle = newestSlab->handles[newestSlab->used++];
  handle.real = real;
  handle.disk = keepDisk(disk);
  handle.openedAt = opening.at;
  handle.isOpenedByV2 = std::strcmp(opening.name, "openDeviceV2") == 0;
  return &handle;
}

void noteOpenHandles(const Call& ending) {
  forEachHandle([&](Handle& handle) {
    {
      const Guard guard;
      if (handle.closedAt != nullptr || handle.isExcused) return;
      handle.isExcused = true;
    }
    note(Rule::handleNeverClosed, handle.opening(), {.handle = handle.forHost(), .other = ending});
  });
}

bool waitForOperations(int seconds) {
  constexpr int kRoundsPerSecond = 20;
  for (int round = 0; round < seconds * kRoundsPerSecond; ++round) {
    {
      const Guard guard;
      const Operation* operation = operations;
      if (operation == nullptr) return true;
      for (; operation != nullptr; operation = operation->next()) {
        if (operation->isOfThisThread()) return false;
      }
    }
    const timespec pause{.tv_sec = 0, .tv_nsec = 1'000'000'000 / kRoundsPerSecond};
    nanosleep(&pause, nullptr);
  }
  return false;
}

void forgetParent() {
  if (operations != nullptr) forkedDuring = operations->call();
  operations = nullptr;
  forEachHandle([](Handle& handle) {
    handle.operations = 0;
    handle.isExcused = true;
  });
}

const char* diskOf(const CtrlDevInfo* given) {
  const Handle* const handle = findHandle(given);
  return handle == nullptr ? "" : handle->disk;
}

HandleCount countHandles() {
  HandleCount count{};
  forEachHandle([&](const Handle& handle) {
    ++count.opened;
    if (handle.closedAt == nullptr) ++count.open;
  });
  return count;
}

std::optional<Breach> Operation::begin(const CtrlDevInfo* given) {
  const Guard guard;
  Handle* const handle = findHandle(given);
  if (handle == nullptr) return Breach{Rule::handleUnknown, {}};
  if (handle->closedAt != nullptr) return Breach{Rule::handleUsedAfterClose, handle->closing()};
  handle_ = handle;
  ++handle->operations;
  next_ = operations;
  if (next_ != nullptr) next_->previous_ = this;
  operations = this;
  return std::nullopt;
}

Operation::Operation(const Call& call, CtrlDevInfo* given) : call_(call) {
  if (forkedDuring.name != nullptr) note(Rule::forkInUse, call, {.handle = given, .other = forkedDuring});
  if (given == nullptr) {
    note(Rule::argumentNull, call, {.detail = "handle"});
    maySend_ = true;
    return;
  }
  const std::optional<Breach> breach = begin(given);
  maySend_ = !breach;
  if (breach) note(breach->rule, call, {.handle = given, .other = breach->other});
}

Operation::~Operation() {
  if (handle_ == nullptr) return;
  bool isLastOfClosed = false;
  {
    const Guard guard;
    (previous_ == nullptr ? operations : previous_->next_) = next_;
    if (next_ != nullptr) next_->previous_ = previous_;
    isLastOfClosed = --handle_->operations == 0 && handle_->closedAt != nullptr;
  }
  if (isLastOfClosed) realPlugin().closeDevice(handle_->real);
}

const Operation* Operation::findOn(const Handle* handle) {
  const Operation* operation = operations;
  while (operation != nullptr && operation->handle_ != handle) operation = operation->next_;
  return operation;
}

void Operation::noteRunning(const Call& ending) {
  while (true) {
    Call call{};
    const Handle* handle = nullptr;
    {
      const Guard guard;
      Operation* operation = operations;
      while (operation != nullptr && operation->isNoted_) operation = operation->next_;
      if (operation == nullptr) return;
      operation->isNoted_ = true;
      call = operation->call_;
      handle = operation->handle_;
    }
    note(Rule::unloadInUse, call, {.handle = handle->forHost(), .other = ending});
  }
}

void closeHandle(const Call& call, CtrlDevInfo* given) {
  Handle* handle = nullptr;
  if (const std::optional<Breach> breach = markClosed(call, given, handle)) {
    note(breach->rule, call, {.handle = given, .other = breach->other});
  } else {
    realPlugin().closeDevice(handle->real);
  }
}

}  // namespace hostcheck
