// Controllers for tests, in a few words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/simulated_host.h"

namespace model {

/// A controller with room for 256 drives and 64 volumes, and nothing in it.
inline simulator::Controller controller(const std::string& hba = "vmhba1") {
  return {
      .hba = hba, .maxPhysDevicesSupported = 256, .maxPhysDrivesPerLogicalUnit = 128, .maxLogicalDrivesSupported = 64};
}

/// A drive by its BMIC drive index: bay `index` of box 1 on port "1I", serial "S" and the index, temperatures 30
/// and 60.
inline simulator::Drive drive(uint32_t index, bool exposed = false) {
  const std::string number = std::to_string(index);
  return {.bus = static_cast<uint8_t>(index / 256 + 1),
          .target = static_cast<uint8_t>(index % 256),
          .exposed = exposed,
          .device = exposed ? std::string("disk").append(number) : "",
          .serial = std::string("S").append(number),
          .port = "1I",
          .box = 1,
          .bay = static_cast<uint8_t>(index),
          .currentTemperature = 30,
          .maximumTemperature = 60};
}

/// A local volume on the drives with these indexes.
inline simulator::Volume volume(uint32_t number, const std::vector<uint32_t>& members,
                                simulator::RaidLevel level = simulator::RaidLevel::raid5) {
  const std::string text = std::to_string(number);
  return {.number = number,
          .device = std::string("volume").append(text),
          .serial = std::string("V").append(text),
          .raidLevel = level,
          .members = members};
}

inline simulator::Topology topology(const simulator::Controller& c) {
  return {.controllers = {c}};
}

/// The fault that puts bytes into the replies of a command, from its call number `from` on for `count` calls.
inline simulator::FaultRule put(const char* call, uint32_t offset, const std::vector<uint8_t>& bytes, uint32_t from = 1,
                                uint32_t count = UINT32_MAX) {
  return {.call = call,
          .from = from,
          .count = count,
          .action = simulator::FaultAction::set,
          .offset = offset,
          .bytes = bytes};
}

}  // namespace model
