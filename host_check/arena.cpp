// Memory from the system in pieces, handed out from the front.
#include "host_check/arena.h"

#include <algorithm>
#include <cstring>
#include <sys/mman.h>

namespace hostcheck {
namespace {

constexpr size_t kAlignment = 16;
constexpr size_t kPiece = size_t{64} * 1024;

pthread_mutex_t checkerLock = PTHREAD_MUTEX_INITIALIZER;
char* nextFree = nullptr;
size_t bytesLeft = 0;

}  // namespace

void Guard::lock() {
  pthread_mutex_lock(&checkerLock);
}

void Guard::unlock() {
  pthread_mutex_unlock(&checkerLock);
}

void* keep(size_t size) {
  size = (size + kAlignment - 1) / kAlignment * kAlignment;
  if (size > bytesLeft) {
    const size_t piece = std::max(size, kPiece);
    void* const memory = mmap(nullptr, piece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    nextFree = static_cast<char*>(memory);
    bytesLeft = piece;
  }
  char* const place = nextFree;
  nextFree += size;
  bytesLeft -= size;
  return place;
}

const char* keepText(const char* text) {
  const size_t size = std::strlen(text) + 1;
  void* const place = keep(size);
  return place == nullptr ? "" : static_cast<const char*>(std::memcpy(place, text, size));
}

}  // namespace hostcheck
