// Compares the C library's account of memory in use.
#include "host/check/memory.h"

#include <cstdlib>
#include <malloc.h>

#include "host/check/rule.h"

namespace host::check {
namespace {

constexpr size_t kTimes = 100;
constexpr size_t kLeastBlock = 16;  // what malloc takes for a block at least

size_t memoryInUse() {
  return mallinfo2().uordblks;
}

/// Not every allocator that can stand in for the C library's keeps this account.
bool allocatorTells() {
  const size_t before = memoryInUse();
  void* volatile block = std::malloc(1 << 12);  // volatile: or it is left out as having no use
  const size_t after = memoryInUse();
  std::free(block);
  return after > before;
}

}  // namespace

void expectNoGrowth(const std::string& calls, const std::function<void()>& call) {
  if (!allocatorTells()) throw Skipped{"this program's allocator does not tell how much memory is in use"};
  for (size_t i = 0; i < kTimes; ++i) call();
  const size_t before = memoryInUse();
  for (size_t i = 0; i < kTimes; ++i) call();
  const size_t after = memoryInUse();
  expect(after < before + kTimes * kLeastBlock, std::to_string(kTimes) + " " + calls +
                                                    ": expected no more memory in use than before, got " +
                                                    std::to_string(after - before) + " bytes more");
}

}  // namespace host::check
