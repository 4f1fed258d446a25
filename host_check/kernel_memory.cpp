// Memory goes through a pipe: the kernel refuses to move what is not there. The pipe lives for one question, since a
// host may close what it does not know. The calls go past the C library's wrappers, which sanitizers watch.
#include "host_check/kernel_memory.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace hostcheck {
namespace {

constexpr size_t kPage = 4096;

class Pipe {
 public:
  Pipe() : isOpen_(syscall(SYS_pipe2, ends_, O_CLOEXEC) == 0) {}
  ~Pipe() {
    if (!isOpen_) return;
    syscall(SYS_close, ends_[0]);
    syscall(SYS_close, ends_[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  /// @param size  at most a page, which every pipe takes at once
  [[nodiscard]] Access take(uintptr_t from, size_t size) const { return move(SYS_write, ends_[1], from, size); }
  [[nodiscard]] Access give(uintptr_t to, size_t size) const { return move(SYS_read, ends_[0], to, size); }

 private:
  [[nodiscard]] Access move(long call, int end, uintptr_t address, size_t size) const {
    if (!isOpen_) return Access::unknown;
    const long moved = syscall(call, end, address, size);
    if (moved == static_cast<long>(size)) return Access::done;
    return moved >= 0 || errno == EFAULT ? Access::badAddress : Access::unknown;
  }

  int ends_[2] = {-1, -1};
  bool isOpen_;
};

/// Asks a question about the first byte of the range in every page that it touches.
template <typename Question>
Access askEachPage(uintptr_t address, uint64_t size, Question question) {
  if (size == 0) return Access::done;
  if (size - 1 > UINTPTR_MAX - address) return Access::badAddress;
  const Pipe pipe;
  const uintptr_t last = address + static_cast<uintptr_t>(size - 1);
  for (uintptr_t byte = address;; byte = (byte / kPage + 1) * kPage) {
    if (const Access access = question(pipe, byte); access != Access::done) return access;
    if (byte / kPage == last / kPage) return Access::done;
  }
}

}  // namespace

Access readMemory(uintptr_t address, void* copy, size_t size) {
  const Pipe pipe;
  const Access access = pipe.take(address, size);
  return access == Access::done ? pipe.give(reinterpret_cast<uintptr_t>(copy), size) : access;
}

Access isReadable(uintptr_t address, uint64_t size) {
  return askEachPage(address, size, [](const Pipe& pipe, uintptr_t byte) {
    char copy = 0;
    const Access access = pipe.take(byte, 1);
    return access == Access::done ? pipe.give(reinterpret_cast<uintptr_t>(&copy), 1) : access;
  });
}

Access isWritable(uintptr_t address, uint64_t size) {
  return askEachPage(address, size, [](const Pipe& pipe, uintptr_t byte) {
    const Access access = pipe.take(byte, 1);
    return access == Access::done ? pipe.give(byte, 1) : access;
  });
}

Access readText(const char* text, char* copy, size_t size) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  size_t length = 0;
  while (length < size - 1) {
    const size_t toPageEnd = kPage - (address + length) % kPage;
    const size_t piece = std::min(size - 1 - length, toPageEnd);
    if (const Access access = readMemory(address + length, copy + length, piece); access != Access::done) return access;
    if (std::memchr(copy + length, '\0', piece) != nullptr) return Access::done;
    length += piece;
  }
  copy[length] = '\0';
  return Access::done;
}

}  // namespace hostcheck
