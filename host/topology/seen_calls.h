// How often calls of one kind were seen, and which of them failed: what fault rules of a topology say.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/simulated_host.h"

namespace host::topology {

// The check takes a constant of the comparisons' own for a null pointer.
// NOLINTBEGIN(modernize-use-nullptr)

/// What a fault rule counts: the calls of this name that concern this.
struct CallKind {
  std::string call;                  ///< as fault rules name it
  std::string hba;                   ///< empty: no command
  std::optional<uint32_t> argument;  ///< of a command about a drive or a volume, 16 bits of its index or number
  std::string device;                ///< of a call to a node
  auto operator<=>(const CallKind&) const = default;
};

/// What a call came back with that did not go well, in the words of a fault rule.
struct Failure {
  simulator::FaultAction action = simulator::FaultAction::error;
  uint32_t value = 0;
  std::vector<uint8_t> bytes;  ///< the reply of which no more arrived
  auto operator<=>(const Failure&) const = default;
};

// NOLINTEND(modernize-use-nullptr)

class SeenCalls {
 public:
  void add(const CallKind& kind, std::optional<Failure> failure) { calls_[kind].push_back(std::move(failure)); }

  [[nodiscard]] bool hasFailed(const CallKind& kind) const;

  /// Whether a command was sent to a controller.
  [[nodiscard]] bool wereSentTo(const std::string& hba) const;

  /// Failures of a kind that follow each other.
  struct Run {
    CallKind kind;
    Failure failure;
    uint32_t from = 1;
    uint32_t count = UINT32_MAX;  ///< those that were the last stay
  };
  [[nodiscard]] std::vector<Run> failures() const;

 private:
  std::map<CallKind, std::vector<std::optional<Failure>>> calls_;
};

}  // namespace host::topology
