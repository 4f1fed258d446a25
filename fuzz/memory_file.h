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

  /// Whether each line of a refusal begins with the file's name and goes on.
  [[nodiscard]] bool isNamedIn(std::string_view refusal) const {
    while (true) {
      const size_t end = std::min(refusal.find('\n'), refusal.size());
      if (!refusal.starts_with(name_ + ": ") || end < name_.size() + 5) return false;
      if (end == refusal.size()) return true;
      refusal.remove_prefix(end + 1);
    }
  }

 private:
  int descriptor_;
  std::string name_;
};

}  // namespace fuzz
