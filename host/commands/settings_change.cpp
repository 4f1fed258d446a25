// Compares what was written to a controller with what was read before.
#include "host/commands/settings_change.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <nlohmann/json.hpp>

#include "host/interception/command_log.h"

namespace host {
namespace {

using simulator::Opcode;
using simulator::wire::BlinkBuffer;

bool is(const InterceptedCommand& command, Opcode opcode) {
  return command.command && command.command->layout->opcode == opcode;
}

bool writes(const InterceptedCommand& command) {
  return command.command && command.command->layout->toController;
}

/// The last command that fits, or null.
template <typename Fits>
const InterceptedCommand* lastOf(std::span<const InterceptedCommand> sent, Fits fits) {
  const auto found = std::find_if(sent.rbegin(), sent.rend(), fits);
  return found == sent.rend() ? nullptr : &*found;
}

/// The command that reads what another one writes; for a command that writes nothing, itself.
Opcode senseFor(const InterceptedCommand& write) {
  switch (write.command->layout->opcode) {
    case Opcode::blinkDriveTrayLed:
      return Opcode::senseBlinkDriveLed;
    case Opcode::setControllerParameters:
      return Opcode::senseControllerParameters;
    case Opcode::setCacheConfiguration:
      return Opcode::senseCacheConfiguration;
    default:
      return write.command->layout->opcode;
  }
}

std::optional<BlinkBuffer> blinkBufferOf(const std::vector<uint8_t>& data) {
  BlinkBuffer buffer{};
  if (data.size() < sizeof(buffer)) return std::nullopt;
  std::memcpy(&buffer, data.data(), sizeof(buffer));
  return buffer;
}

/// The drives whose bit is set in either array of a blink buffer.
std::set<uint32_t> markedDrives(const std::vector<uint8_t>& data) {
  std::set<uint32_t> drives;
  const auto buffer = blinkBufferOf(data);
  if (!buffer) return drives;
  for (uint32_t drive = 0; drive < simulator::wire::kFixedBlinkDrives; ++drive) {
    if ((buffer->enable[drive] & 1) != 0) drives.insert(drive);
  }
  for (size_t place = sizeof(BlinkBuffer); place < data.size(); ++place) {
    if ((data[place] & 1) != 0) drives.insert(static_cast<uint32_t>(place - sizeof(BlinkBuffer)));
  }
  return drives;
}

std::vector<FieldChange> blinkChanges(const std::vector<uint8_t>& before, const std::vector<uint8_t>& after) {
  std::vector<FieldChange> changes;
  const auto old = blinkBufferOf(before);
  const auto wanted = blinkBufferOf(after);
  if (!old || !wanted) return changes;
  if (old->duration != wanted->duration) {
    changes.push_back({"blink time in tenths of a second", old->duration, wanted->duration});
  }
  const std::set<uint32_t> marked = markedDrives(before);
  const std::set<uint32_t> nowMarked = markedDrives(after);
  std::set<uint32_t> either = marked;
  either.insert(nowMarked.begin(), nowMarked.end());
  for (const uint32_t drive : either) {
    if (marked.contains(drive) == nowMarked.contains(drive)) continue;
    changes.push_back({"drive " + std::to_string(drive) + " blinks", marked.contains(drive) ? 1U : 0U,
                       nowMarked.contains(drive) ? 1U : 0U});
  }
  return changes;
}

/// What a bit of the controller parameters or of the cache configuration is.
std::string bitName(Opcode opcode, const std::vector<uint8_t>& data, size_t byte, unsigned bit) {
  if (opcode == Opcode::setControllerParameters &&
      byte == offsetof(simulator::wire::ControllerParameters, driveConfigFlags) && bit == 0) {
    return "drives' write cache on";
  }
  simulator::wire::CacheConfiguration cache{};
  if (opcode == Opcode::setCacheConfiguration && data.size() >= sizeof(cache)) {
    std::memcpy(&cache, data.data(), sizeof(cache));
    const size_t place = (byte - cache.cacheOffAt) * 8 + bit;
    const bool isInBitmap = byte >= cache.cacheOffAt && place < cache.maxLogicalDrives;
    if (isInBitmap) return "cache of volume " + std::to_string(place) + " off";
  }
  return "byte " + std::to_string(byte) + " bit " + std::to_string(bit);
}

std::vector<FieldChange> bitChanges(Opcode opcode, const std::vector<uint8_t>& before,
                                    const std::vector<uint8_t>& after) {
  std::vector<FieldChange> changes;
  for (size_t byte = 0; byte < std::min(before.size(), after.size()); ++byte) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      const uint32_t old = before[byte] >> bit & 1U;
      const uint32_t wanted = after[byte] >> bit & 1U;
      if (old != wanted) changes.push_back({bitName(opcode, after, byte, bit), old, wanted});
    }
  }
  return changes;
}

}  // namespace

std::string whyNothingChanged(std::span<const InterceptedCommand> sent) {
  if (const InterceptedCommand* write = lastOf(sent, writes)) {
    return write->succeeded() ? "" : nameOf(*write) + ": " + resultText(*write);
  }
  if (sent.empty()) return "the plugin sent no command";
  const InterceptedCommand& last = sent.back();
  if (!last.succeeded()) return nameOf(last) + ": " + resultText(last) + "; nothing was changed";
  return "the plugin sent no command that changes anything; its last was " + nameOf(last);
}

std::optional<SettingsChange> lastChange(std::span<const InterceptedCommand> sent) {
  const InterceptedCommand* write = lastOf(sent, writes);
  if (write == nullptr) return std::nullopt;
  const Opcode senseOpcode = senseFor(*write);
  const InterceptedCommand* sense =
      lastOf(sent, [&](const InterceptedCommand& command) { return is(command, senseOpcode); });
  if (sense == nullptr) return std::nullopt;
  const Opcode opcode = write->command->layout->opcode;
  return SettingsChange{nameOf(*write), opcode == Opcode::blinkDriveTrayLed
                                            ? blinkChanges(sense->data, write->data)
                                            : bitChanges(opcode, sense->data, write->data)};
}

Json toJson(const SettingsChange& change) {
  Json fields = Json::array();
  for (const FieldChange& field : change.fields) {
    fields.push_back({{"field", field.field}, {"before", field.before}, {"after", field.after}});
  }
  return {{"command", change.command}, {"changes", std::move(fields)}};
}

std::optional<std::set<uint32_t>> drivesBlinking(std::span<const InterceptedCommand> sent) {
  const InterceptedCommand* write =
      lastOf(sent, [](const InterceptedCommand& command) { return is(command, Opcode::blinkDriveTrayLed); });
  if (write == nullptr) return std::nullopt;
  return markedDrives(write->data);
}

}  // namespace host
