// Controllers for tests, in a few words.
#pragma once

#include <string>
#include <vector>

#include "simulator/simulated_host.h"

namespace model {

/// A controller with room for 256 drives and 64 volumes, and nothing in it.
inline simulator::Controller controller(const std::string& hba = "vmhba1") {
  simulator::Controller c;
  c.hba = hba;
  c.maxPhysDevicesSupported = 256;
  c.maxPhysDrivesPerLogicalUnit = 128;
  c.maxLogicalDrivesSupported = 64;
  return c;
}

/// A drive by its BMIC drive index: bay `index` of box 1 on port "1I", serial "S" and the index, temperatures 30
/// and 60.
inline simulator::Drive drive(uint32_t index, bool exposed = false) {
  simulator::Drive d;
  d.bus = static_cast<uint8_t>(index / 256 + 1);
  d.target = static_cast<uint8_t>(index % 256);
  d.exposed = exposed;
  d.device = exposed ? std::string("disk").append(std::to_string(index)) : "";
  d.serial = std::string("S").append(std::to_string(index));
  d.port = "1I";
  d.box = 1;
  d.bay = static_cast<uint8_t>(index);
  d.currentTemperature = 30;
  d.maximumTemperature = 60;
  return d;
}

/// A local volume on the drives with these indexes.
inline simulator::Volume volume(uint32_t number, const std::vector<uint32_t>& members,
                                simulator::RaidLevel level = simulator::RaidLevel::raid5) {
  simulator::Volume v;
  v.number = number;
  v.device = std::string("volume").append(std::to_string(number));
  v.serial = std::string("V").append(std::to_string(number));
  v.raidLevel = level;
  v.members = members;
  return v;
}

inline simulator::Topology topology(const simulator::Controller& c) {
  return {.controllers = {c}};
}

}  // namespace model
