// The right to change a state file, of one process at a time: a lock on a file beside it, which is never removed. The
// lock goes with the process that holds it, however that ends, and not with the programs that it starts.
#pragma once

#include <string>

namespace simulator {

class StateLock {
 public:
  StateLock() = default;
  ~StateLock() { release(); }
  StateLock(const StateLock&) = delete;
  StateLock& operator=(const StateLock&) = delete;

  /// Takes the lock of a state file. Waits as long as another process has it, and says so on standard error after a
  /// second.
  /// @return false, with errno set, when there is no way to have it
  [[nodiscard]] bool take(const std::string& stateFile);
  void release();
  [[nodiscard]] bool isHeld() const { return descriptor_ >= 0; }

  /// The lock file of a state file.
  [[nodiscard]] static std::string fileOf(const std::string& stateFile) { return stateFile + ".lock"; }

 private:
  int descriptor_ = -1;
};

}  // namespace simulator
