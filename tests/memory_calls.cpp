// The memory of the process: what the plugin allocates and gives back.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <mutex>
#include <new>

#include "tests/interception.h"

namespace {

/// Whatever the machine has: lengths that lie ask for more.
constexpr size_t kLargestBlock = size_t{1} << 30;

/// The blocks that the plugin holds; those of a leak that fills the list are only counted. It must not allocate.
class Blocks {
 public:
  void add(const void* block) {
    const std::lock_guard guard(busy_);
    if (count_ == std::size(blocks_)) {
      ++unlisted_;
    } else {
      blocks_[count_++] = block;
    }
  }
  /// @return whether it was there
  bool remove(const void* block) {
    if (count_ == 0) return false;
    const std::lock_guard guard(busy_);
    const void** end = blocks_ + count_;
    const void** found = std::find(blocks_, end, block);
    if (found == end) return false;
    *found = end[-1];
    --count_;
    return true;
  }
  void clear() { count_ = unlisted_ = 0; }
  [[nodiscard]] size_t count() const { return count_ + unlisted_; }

 private:
  std::mutex busy_;
  std::atomic<size_t> count_ = 0;
  std::atomic<size_t> unlisted_ = 0;
  const void* blocks_[4096];
};
Blocks blocks;
}  // namespace

size_t interception::blocksOfPlugin() {
  return blocks.count();
}

void interception::forgetBlocks() {
  blocks.clear();
}

extern "C" {

// The functions behind the ones below: the sanitizers' where there are any.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier): their names are the libraries'
void* __libc_malloc(size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
[[gnu::weak]] void* __interceptor_malloc(size_t size);
[[gnu::weak]] void* __interceptor_memalign(size_t alignment, size_t size);
[[gnu::weak]] void __interceptor_free(void* block);
[[gnu::weak]] void __asan_poison_memory_region(const volatile void* block, size_t size);
[[gnu::weak]] void __asan_unpoison_memory_region(const volatile void* block, size_t size);
// NOLINTEND(clang-diagnostic-reserved-identifier)

}  // extern "C"

namespace {

/// Blocks of the size SteeredCalls::keptSize that were given back and wait, poisoned, for the next who wants one. For
/// one thread.
class KeptBlocks {
 public:
  template <typename Allocate>
  void* take(Allocate allocate) {
    for (Block& block : blocks_) {
      if (block.isTaken) continue;
      if (block.address == nullptr) block.address = allocate();
      if (block.address == nullptr) return nullptr;
      if (__asan_unpoison_memory_region != nullptr) __asan_unpoison_memory_region(block.address, hostCalls.keptSize);
      block.isTaken = true;
      return block.address;
    }
    return nullptr;
  }
  /// @return whether it was one of them
  bool giveBack(const void* address) {
    for (Block& block : blocks_) {
      if (!block.isTaken || block.address != address) continue;
      if (__asan_poison_memory_region != nullptr) __asan_poison_memory_region(block.address, hostCalls.keptSize);
      block.isTaken = false;
      return true;
    }
    return false;
  }

 private:
  struct Block {
    void* address;
    bool isTaken;
  };
  Block blocks_[12] = {};
};
KeptBlocks keptBlocks;
}  // namespace

static void* allocate(size_t size) {
  return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

/// An allocation of the plugin, or of anybody.
template <typename Allocate>
static void* allocateFor(const void* caller, const char* name, size_t size, Allocate allocate) {
  if (!interception::fromPlugin(caller)) return allocate();
  if (interception::fails(name, size) || size > kLargestBlock) return nullptr;
  void* block = size == hostCalls.keptSize && size != 0 ? keptBlocks.take(allocate) : allocate();
  if (block == nullptr) return nullptr;
  const size_t room = size == 0 ? 0 : malloc_usable_size(block);  // a sanitizer's empty block has room for a byte
  std::memset(block, 0xA5, std::min(room, hostCalls.filled));     // never zeros by chance, nor behind it
  blocks.add(block);
  return block;
}

static void release(void* block) {
  if (block == nullptr) return;
  if (blocks.remove(block) && keptBlocks.giveBack(block)) return;
  __interceptor_free != nullptr ? __interceptor_free(block) : __libc_free(block);
}

extern "C" {

void* malloc(size_t size) noexcept {
  interception::noteStack(__builtin_return_address(0), __builtin_frame_address(0));
  return allocateFor(__builtin_return_address(0), "malloc", size, [&] { return allocate(size); });
}

void* memalign(size_t alignment, size_t size) noexcept {
  interception::noteStack(__builtin_return_address(0), __builtin_frame_address(0));
  return allocateFor(__builtin_return_address(0), "memalign", size, [&] {
    if (hostCalls.recording) hostCalls.alignment = alignment;
    return __interceptor_memalign != nullptr ? __interceptor_memalign(alignment, size)
                                             : __libc_memalign(alignment, size);
  });
}

void free(void* block) noexcept {
  release(block);
}
}  // extern "C"

[[gnu::noinline]] void* operator new(size_t size) {
  void* block = allocateFor(__builtin_return_address(0), "new", size, [&] { return allocate(size); });
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return allocateFor(__builtin_return_address(0), "new", size, [&] { return allocate(size); });
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
  release(block);
}
[[gnu::noinline]] void operator delete(void* block, size_t) noexcept {
  release(block);
}
