// Matching fault rules to calls.
#include "simulator/faults.h"

#include <algorithm>

namespace simulator {
namespace {

bool sameOrAny(std::string_view wanted, std::string_view actual) {
  return wanted.empty() || wanted == actual;
}
bool sameOrAny(std::optional<uint32_t> wanted, std::optional<uint32_t> actual) {
  return !wanted || wanted == actual;
}

bool matches(const FaultRule& rule, const Call& call) {
  if (rule.call != call.name && !(rule.call == "any" && call.isCommand)) return false;
  if (!sameOrAny(rule.controller, call.controller) || !sameOrAny(rule.device, call.device)) return false;
  const bool changesReply = rule.action == FaultAction::length || rule.action == FaultAction::set;
  if (changesReply && !call.hasReply) return false;
  // The drive and the volume of a vanish rule are what goes, not what the call has to be about.
  return rule.action == FaultAction::vanish ||
         (sameOrAny(rule.drive, call.drive) && sameOrAny(rule.volume, call.volume));
}

void keepFirst(std::optional<uint32_t>& slot, uint32_t value) {
  if (!slot) slot = value;
}

void apply(const FaultRule& rule, FaultEffect& effect) {
  switch (rule.action) {
    case FaultAction::error:
      return keepFirst(effect.error, rule.value);
    case FaultAction::driverStatus:
      return keepFirst(effect.driverStatus, rule.value);
    case FaultAction::length:
      return keepFirst(effect.length, rule.value);
    case FaultAction::set:
      effect.bytes.emplace_back(rule.offset, rule.bytes);
      return;
    case FaultAction::delay:
      effect.delayMs += rule.value;
      return;
    case FaultAction::vanish:
      effect.vanish.push_back(rule);
      return;
    case FaultAction::missing:
      return;
  }
}

}  // namespace

size_t deliver(BytesView reply, const FaultEffect& effect, std::span<uint8_t> buffer) {
  const size_t limit = std::min<size_t>(buffer.size(), effect.length.value_or(UINT32_MAX));
  const size_t arrived = std::min(reply.size(), limit);
  std::copy_n(reply.begin(), arrived, buffer.begin());
  for (const auto& [offset, bytes] : effect.bytes)
    for (size_t i = 0; i < bytes.size() && offset + i < limit; ++i) buffer[offset + i] = bytes[i];
  return arrived;
}

std::vector<FaultReport> Faults::report() const {
  std::vector<FaultReport> reports;
  for (const Entry& entry : rules_) reports.push_back({entry.rule, entry.hits});
  return reports;
}

FaultEffect Faults::meet(const Call& call) {
  FaultEffect effect;
  for (Entry& entry : rules_) {
    if (!matches(entry.rule, call)) continue;
    if (!isHit(++entry.matches, entry.rule.from, entry.rule.count)) continue;
    ++entry.hits;
    apply(entry.rule, effect);
  }
  return effect;
}

}  // namespace simulator
