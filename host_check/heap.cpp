// Stands before the functions of malloc, and keeps a table of what they have given.
#include "host_check/heap.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <malloc.h>
#include <map>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "host_check/report.h"

namespace hostcheck {
namespace {

struct Block {
  size_t size;
  const void* receivedAt;  ///< null: it is no location text
  const CtrlDevInfo* handle;
};

/// Memory for the table's nodes, which cannot come from the heap that it describes. Nodes are used again.
class NodePool {
 public:
  static constexpr size_t kNodeSize = 8 * sizeof(void*);

  /// Whether the next node is there.
  static bool hasNode() {
    if (firstFree_ != nullptr) return true;
    void* const piece = mmap(nullptr, kNodes * kNodeSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (piece == MAP_FAILED) return false;
    for (size_t index = 0; index < kNodes; ++index) give(static_cast<char*>(piece) + index * kNodeSize);
    return true;
  }
  static void* take() {
    Node* const node = firstFree_;
    firstFree_ = node->next;
    return node;
  }
  static void give(void* node) { firstFree_ = new (node) Node{firstFree_}; }

 private:
  struct Node {
    Node* next;
  };
  static constexpr size_t kNodes = 4096;
  static inline Node* firstFree_ = nullptr;
};

template <typename Object>
struct NodeAllocator {
  using value_type = Object;
  NodeAllocator() = default;
  template <typename Other>
  explicit NodeAllocator(const NodeAllocator<Other>&) {}
  Object* allocate(size_t) {
    static_assert(sizeof(Object) <= NodePool::kNodeSize);
    return static_cast<Object*>(NodePool::take());
  }
  void deallocate(Object* node, size_t) { NodePool::give(node); }
  bool operator==(const NodeAllocator&) const = default;
};

using Blocks = std::map<uintptr_t, Block, std::less<>, NodeAllocator<std::pair<const uintptr_t, Block>>>;

pthread_mutex_t heapLock = PTHREAD_MUTEX_INITIALIZER;
bool isFirstInProcess = false;

struct HeapGuard {
  HeapGuard() { pthread_mutex_lock(&heapLock); }
  ~HeapGuard() { pthread_mutex_unlock(&heapLock); }
  HeapGuard(const HeapGuard&) = delete;
  HeapGuard& operator=(const HeapGuard&) = delete;
};

/// By their addresses. Made at the first allocation, which comes before any constructor, and for good.
Blocks& blocks() {
  alignas(Blocks) static char place[sizeof(Blocks)];
  static Blocks* made = nullptr;
  if (made == nullptr) made = new (place) Blocks;
  return *made;
}

bool isLocationText(const Blocks::value_type& block) {
  return block.second.receivedAt != nullptr;
}

/// Without memory for its node, a block stays unknown.
void* add(void* block, size_t size) {
  if (block == nullptr) return nullptr;
  const HeapGuard guard;
  if (!NodePool::hasNode()) return block;
  blocks()[reinterpret_cast<uintptr_t>(block)] = {.size = size, .receivedAt = nullptr, .handle = nullptr};
  return block;
}

/// @return how large the block was; 0 for an unknown one
size_t remove(const void* block) {
  const HeapGuard guard;
  const auto known = blocks().find(reinterpret_cast<uintptr_t>(block));
  if (known == blocks().end()) return 0;
  const size_t size = known->second.size;
  blocks().erase(known);
  return size;
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

/// As the program looks it up: this library by itself would find its own.
void* findInProgram(const char* name) {
  void* const program = dlopen(nullptr, RTLD_LAZY);
  return program == nullptr ? nullptr : dlsym(program, name);
}

}  // namespace

void findHeap() {
  isFirstInProcess = findInProgram("malloc") == reinterpret_cast<void*>(&malloc);
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
  auto block = blocks().upper_bound(wanted);
  if (block == blocks().begin()) return SIZE_MAX;
  --block;
  const size_t offset = wanted - block->first;
  // Where a block ends, something else may begin; where one of no bytes begins, nothing does.
  const bool isInside = offset < block->second.size || offset == 0;
  return isInside ? block->second.size - offset : SIZE_MAX;
}

void addLocationText(const void* text, const void* receivedAt, const CtrlDevInfo* handle) {
  const HeapGuard guard;
  const auto block = blocks().find(reinterpret_cast<uintptr_t>(text));
  if (block == blocks().end()) return;
  block->second.receivedAt = receivedAt;
  block->second.handle = handle;
}

uint32_t countHeldLocationTexts() {
  const HeapGuard guard;
  return static_cast<uint32_t>(std::count_if(blocks().begin(), blocks().end(), isLocationText));
}

void noteHeldLocationTexts() {
  uintptr_t last = 0;
  while (true) {
    Block text{};
    {
      const HeapGuard guard;
      const auto next = std::find_if(blocks().upper_bound(last), blocks().end(), isLocationText);
      if (next == blocks().end()) return;
      last = next->first;
      text = next->second;
    }
    note(Rule::locationNeverReleased, {"getDeviceLocation", text.receivedAt}, {.handle = text.handle});
  }
}

void forgetLocationTexts() {
  const HeapGuard guard;
  for (auto& block : blocks()) block.second.receivedAt = nullptr;
}

void freeForHost(void* block) {
  reinterpret_cast<void (*)(void*)>(findInProgram("free"))(block);
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
  const size_t oldSize = hostcheck::remove(block);
  void* const moved = hostcheck::nextRealloc(block, size);
  if (moved == nullptr && size != 0 && oldSize != 0) hostcheck::add(block, oldSize);
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
