// The fault rules: which of them a call meets, what they do to it, and how often each was hit.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/bytes.h"
#include "simulator/simulated_host.h"

namespace simulator {

/// A call that rules can match.
struct Call {
  std::string_view name;  ///< one of kFaultCalls, never "any"
  bool isCommand = false;
  bool hasReply = true;
  std::string_view controller;  ///< HBA name; empty when the call concerns none
  std::optional<uint32_t> drive;
  std::optional<uint32_t> volume;
  std::string_view device;  ///< open and ioctl: node name
};

/// All that the rules which a call met do to it.
struct FaultEffect {
  std::optional<uint32_t> error;
  std::optional<uint32_t> driverStatus;
  std::optional<uint32_t> length;
  uint32_t delayMs = 0;
  std::vector<std::pair<uint32_t, Bytes>> bytes;  ///< offset in the reply, and what is put there
  std::vector<FaultRule> vanish;                  ///< rules whose drive or volume is gone from now on
};

/// What arrives of a reply in the caller's buffer: `buffer` keeps its bytes where nothing arrives.
/// @return bytes that arrived
size_t deliver(BytesView reply, const FaultEffect& effect, std::span<uint8_t> buffer);

class Faults {
 public:
  void add(const FaultRule& rule) { rules_.push_back({rule, 0, 0}); }
  void clear() { rules_.clear(); }
  [[nodiscard]] std::vector<FaultReport> report() const;

  /// Counts the call at each rule that matches it. Where several rules give an error, a status or a length, the first
  /// one holds; delays add up.
  [[nodiscard]] FaultEffect meet(const Call& call);

 private:
  struct Entry {
    FaultRule rule;
    uint32_t matches;
    uint32_t hits;
  };
  std::vector<Entry> rules_;
};

/// @param match  number of the match, from 1
[[nodiscard]] inline bool isHit(uint32_t match, uint32_t from, uint32_t count) {
  return match >= from && match - from < count;
}

}  // namespace simulator
