// A file in memory, for what reads files by their names.
#pragma once

#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/input.h"

namespace fuzz {

class MemoryFile {
 public:
  MemoryFile()
      : descriptor_(memfd_create("fuzzed", MFD_CLOEXEC)), name_("/proc/self/fd/" + std::to_string(descriptor_)) {
    require(descriptor_ >= 0, "there is a file in memory");
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(descriptor_); }

  /// Replaces its content.
  void hold(std::string_view text) const {
    const bool isWhole = ftruncate(descriptor_, 0) == 0 &&
                         pwrite(descriptor_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
    require(isWhole, "the file holds the text");
  }

  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  int descriptor_;
  std::string name_;
};

/// The one of a target, for all of its inputs.
inline const MemoryFile& memoryFile() {
  static const MemoryFile file;
  return file;
}

}  // namespace fuzz
