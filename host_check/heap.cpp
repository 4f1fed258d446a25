// Stands before the functions of malloc, and keeps a table of what they have given.
#include "host_check/heap.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "host_check/report.h"

namespace hostcheck {
namespace {

struct Block {
  uintptr_t address;  ///< 0: the entry is empty
  size_t size;
  const void* receivedAt;  ///< null: it is no location text
  const CtrlDevInfo* handle;
};

pthread_mutex_t heapLock = PTHREAD_MUTEX_INITIALIZER;
Block* table = nullptr;  ///< open addressing; at most half of it is used
size_t tableSize = 0;    ///< a power of 2
size_t blockCount = 0;
bool isFirstInProcess = false;

struct HeapGuard {
  HeapGuard() { pthread_mutex_lock(&heapLock); }
  ~HeapGuard() { pthread_mutex_unlock(&heapLock); }
  HeapGuard(const HeapGuard&) = delete;
  HeapGuard& operator=(const HeapGuard&) = delete;
};

size_t homeOf(uintptr_t address) {
  return (address >> 3) * 2654435761U & (tableSize - 1);
}

size_t nextTo(size_t index) {
  return (index + 1) & (tableSize - 1);
}

/// Where a block is, or would be put.
Block& entryOf(uintptr_t address) {
  size_t index = homeOf(address);
  while (table[index].address != 0 && table[index].address != address) index = nextTo(index);
  return table[index];
}

/// Without memory for a larger table, blocks stay unknown.
bool hasRoom() {
  if (2 * (blockCount + 1) <= tableSize) return true;
  const size_t oldSize = tableSize;
  Block* const oldTable = table;
  const size_t newSize = std::max(size_t{4096}, 2 * oldSize);
  void* const memory =
      mmap(nullptr, newSize * sizeof(Block), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return false;
  table = static_cast<Block*>(memory);
  tableSize = newSize;
  std::for_each(oldTable, oldTable + oldSize, [](const Block& block) {
    if (block.address != 0) entryOf(block.address) = block;
  });
  if (oldTable != nullptr) munmap(oldTable, oldSize * sizeof(Block));
  return true;
}

void* add(void* block, size_t size) {
  if (block == nullptr) return nullptr;
  const HeapGuard guard;
  if (!hasRoom()) return block;
  Block& entry = entryOf(reinterpret_cast<uintptr_t>(block));
  if (entry.address == 0) ++blockCount;
  entry = {.address = reinterpret_cast<uintptr_t>(block), .size = size, .receivedAt = nullptr, .handle = nullptr};
  return block;
}

/// @return what was known of it; an empty entry for an unknown block
Block remove(const void* block) {
  const HeapGuard guard;
  if (tableSize == 0) return {};
  Block& entry = entryOf(reinterpret_cast<uintptr_t>(block));
  const Block removed = entry;
  if (removed.address == 0) return removed;
  --blockCount;
  entry = {};
  // Those behind it may have been put there because it was in their way.
  for (size_t index = nextTo(static_cast<size_t>(&entry - table)); table[index].address != 0; index = nextTo(index)) {
    const Block moved = table[index];
    table[index] = {};
    entryOf(moved.address) = moved;
  }
  return removed;
}

// The functions behind these. While they are looked up, the loader may ask for memory itself.
void* (*nextMalloc)(size_t) = nullptr;
void* (*nextCalloc)(size_t, size_t) = nullptr;
void* (*nextRealloc)(void*, size_t) = nullptr;
void (*nextFree)(void*) = nullptr;
void* (*nextMemalign)(size_t, size_t) = nullptr;
alignas(16) char firstMemory[4096];
size_t firstUsed = 0;
bool isLookingUp = false;

bool isFirstMemory(const void* block) {
  return block >= firstMemory && block < firstMemory + sizeof(firstMemory);
}

void* takeFirstMemory(size_t size) {
  size = (size + 15) / 16 * 16;
  if (size > sizeof(firstMemory) - firstUsed) return nullptr;
  void* const block = firstMemory + firstUsed;
  firstUsed += size;
  return block;
}

template <typename Function>
void lookUp(Function& next, const char* name) {
  next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// @return false: they are just being looked up
bool areThere() {
  if (nextMemalign != nullptr) return true;
  if (isLookingUp) return false;
  isLookingUp = true;
  lookUp(nextMalloc, "malloc");
  lookUp(nextCalloc, "calloc");
  lookUp(nextRealloc, "realloc");
  lookUp(nextFree, "free");
  lookUp(nextMemalign, "memalign");
  isLookingUp = false;
  return nextMemalign != nullptr;
}

}  // namespace

void findHeap() {
  // As the program looks it up: this library by itself would find its own.
  void* const program = dlopen(nullptr, RTLD_LAZY);
  isFirstInProcess = program != nullptr && dlsym(program, "malloc") == reinterpret_cast<void*>(&malloc);
  const auto lock = [] { pthread_mutex_lock(&heapLock); };
  const auto unlock = [] { pthread_mutex_unlock(&heapLock); };
  if (isFirstInProcess) pthread_atfork(lock, unlock, unlock);
}

bool seesHeap() {
  return isFirstInProcess;
}

size_t roomBehind(const void* address) {
  const auto wanted = reinterpret_cast<uintptr_t>(address);
  const HeapGuard guard;
  Block* const end = table + tableSize;
  Block* const block = std::find_if(table, end, [wanted](const Block& candidate) {
    return candidate.address != 0 && wanted - candidate.address < candidate.size;
  });
  return block == end ? SIZE_MAX : block->size - (wanted - block->address);
}

void addLocationText(const void* text, const void* receivedAt, const CtrlDevInfo* handle) {
  const HeapGuard guard;
  if (tableSize == 0) return;
  Block& entry = entryOf(reinterpret_cast<uintptr_t>(text));
  if (entry.address == 0) return;
  entry.receivedAt = receivedAt;
  entry.handle = handle;
}

uint32_t noteHeldLocationTexts() {
  uint32_t held = 0;
  for (size_t index = 0; index < tableSize; ++index) {
    const Block block = table[index];
    if (block.address == 0 || block.receivedAt == nullptr) continue;
    note(Rule::locationNeverReleased, {"getDeviceLocation", block.receivedAt}, {.handle = block.handle});
    ++held;
  }
  return held;
}

void hideFromChildren() {
  constexpr char kVariable[] = "LD_PRELOAD=";
  constexpr char kName[] = "dmu-check-host.so";
  for (char** variable = environ; *variable != nullptr; ++variable) {
    if (std::strncmp(*variable, kVariable, sizeof(kVariable) - 1) != 0) continue;
    char* file = *variable + sizeof(kVariable) - 1;
    while (*file != '\0') {
      const size_t length = std::strcspn(file, " :");
      const bool isThis = length >= sizeof(kName) - 1 &&
                          std::strncmp(file + length - (sizeof(kName) - 1), kName, sizeof(kName) - 1) == 0;
      if (isThis) std::memset(file, ' ', length);
      file += length;
      file += std::strspn(file, " :");
    }
  }
}

}  // namespace hostcheck

// What the host and its libraries call. errno is left to the functions behind.
extern "C" {

void* malloc(size_t size) {
  if (!hostcheck::areThere()) return hostcheck::takeFirstMemory(size);
  return hostcheck::add(hostcheck::nextMalloc(size), size);
}

void* calloc(size_t count, size_t size) {
  if (!hostcheck::areThere()) return hostcheck::takeFirstMemory(count * size);
  return hostcheck::add(hostcheck::nextCalloc(count, size), count * size);
}

void free(void* block) {
  if (block == nullptr || hostcheck::isFirstMemory(block) || !hostcheck::areThere()) return;
  hostcheck::remove(block);
  hostcheck::nextFree(block);
}

void* realloc(void* block, size_t size) {
  if (block == nullptr) return malloc(size);
  if (!hostcheck::areThere()) return nullptr;
  if (hostcheck::isFirstMemory(block)) {
    void* const copy = malloc(size);
    const auto atMost =
        static_cast<size_t>(hostcheck::firstMemory + sizeof(hostcheck::firstMemory) - static_cast<char*>(block));
    return copy == nullptr ? nullptr : std::memcpy(copy, block, std::min(size, atMost));
  }
  const hostcheck::Block old = hostcheck::remove(block);
  void* const moved = hostcheck::nextRealloc(block, size);
  if (moved == nullptr && size != 0 && old.address != 0) hostcheck::add(block, old.size);
  return hostcheck::add(moved, size);
}

void* memalign(size_t alignment, size_t size) {
  return hostcheck::areThere() ? hostcheck::add(hostcheck::nextMemalign(alignment, size), size) : nullptr;
}

void* aligned_alloc(size_t alignment, size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** out, size_t alignment, size_t size) {
  if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0 || alignment == 0) return EINVAL;
  const int kept = errno;
  void* const block = memalign(alignment, size);
  errno = kept;
  if (block == nullptr) return ENOMEM;
  *out = block;
  return 0;
}
}
