// Takes the lock by flock.
#include "simulator/state_lock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>

#include "simulator/c_library.h"
#include "simulator/complaint.h"

namespace simulator {
namespace {

constexpr std::chrono::seconds kSilence{1};
constexpr std::chrono::milliseconds kPause{20};

/// flock, whatever signals come.
bool lockNow(int descriptor, int how) {
  int result = 0;
  do {
    result = flock(descriptor, how);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool lockWithinSilence(int descriptor) {
  const auto end = std::chrono::steady_clock::now() + kSilence;
  while (!lockNow(descriptor, LOCK_EX | LOCK_NB)) {
    if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

}  // namespace

bool StateLock::take(const std::string& stateFile) {
  const std::string file = fileOf(stateFile);
  descriptor_ = cLibrary().open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor_ < 0) return false;
  if (lockWithinSilence(descriptor_)) return true;
  if (errno == EWOULDBLOCK) {
    complain(stateFile + ": another process is changing it; waiting for " + file);
    if (lockNow(descriptor_, LOCK_EX)) return true;
  }
  const int error = errno;
  release();
  errno = error;
  return false;
}

void StateLock::release() {
  if (descriptor_ >= 0) cLibrary().close(descriptor_);
  descriptor_ = -1;
}

}  // namespace simulator
