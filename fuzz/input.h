// The bytes of one fuzzing run, read from the front as decisions. When they are used up all decisions are 0, which
// stands for what a well-behaved controller would do: short inputs get as far as long ones.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace fuzz {

class Input {
 public:
  /// @param data  borrowed
  Input(const uint8_t* data, size_t size)
      : data_(data),
        left_(size),
        checksum_(static_cast<uint32_t>(std::hash<std::string_view>()({reinterpret_cast<const char*>(data), size}))) {}

  /// What is costly. Many devices happen in one input of 4,096, the others in one of 64.
  enum class Costly { manyDevices, trace, filledMemory, manyOperations, writing };

  /// Whether it happens in this one: decided by a checksum of all bytes, so that what a fuzzer makes of a costly input
  /// is cheap again.
  [[nodiscard]] bool has(Costly what) const {
    if (what == Costly::manyDevices) return checksum_ % 4096 == 0;
    return std::rotr(checksum_, 6 + 6 * static_cast<int>(what)) % 64 == 0;
  }

  /// Copies the next bytes; those beyond the end are zeros.
  void bytes(void* to, size_t size) {
    const size_t there = std::min(size, left_);
    std::memset(to, 0, size);
    if (there > 0) std::memcpy(to, data_, there);
    data_ += there;
    left_ -= there;
  }

  template <typename Number>
  [[nodiscard]] Number number() {
    Number value{};
    bytes(&value, sizeof(value));
    return value;
  }

  /// A number below `end`.
  [[nodiscard]] uint32_t below(uint32_t end) { return number<uint8_t>() % end; }

  template <typename Value, size_t size>
  [[nodiscard]] Value oneOf(const Value (&values)[size]) {
    return values[below(size)];
  }

  /// Mostly `good`, else a number beside it, at the ends of the field's range, or any.
  template <typename Number>
  [[nodiscard]] Number around(uint32_t good) {
    switch (number<uint8_t>()) {
      case 1:
        return static_cast<Number>(good - 1);
      case 2:
        return static_cast<Number>(good + 1);
      case 3:
        return 0;
      case 4:
        return static_cast<Number>(-1);
      case 5:
        return number<Number>();
      default:
        return static_cast<Number>(good);
    }
  }

  [[nodiscard]] bool isUsedUp() const { return left_ == 0; }

 private:
  const uint8_t* data_;
  size_t left_;
  uint32_t checksum_;
};

/// Ends the run with what does not hold.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

/// Whether a refusal of a file says what and why: each of its lines begins with the file's name and goes on.
[[nodiscard]] inline bool isRefusalOf(std::string_view name, std::string_view refusal) {
  const std::string beginning = std::string(name) + ": ";
  while (true) {
    const size_t end = std::min(refusal.find('\n'), refusal.size());
    if (!refusal.starts_with(beginning) || end < beginning.size() + 3) return false;
    if (end == refusal.size()) return true;
    refusal.remove_prefix(end + 1);
  }
}

}  // namespace fuzz
