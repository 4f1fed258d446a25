// What a plugin must answer, as the simulated host's model has it.
#pragma once

#include <string>
#include <vector>

#include "host/check/trial.h"

namespace host::check {

/// The RAID level of operation 0 for a local volume.
[[nodiscard]] uint32_t expectedRaidLevel(const simulator::Volume& volume);

/// Texts of operation 5, sorted.
[[nodiscard]] std::vector<std::string> expectedLocations(const Subject& subject);

/// Records of operation 4, in the order of the location texts; drives with the same text share one.
[[nodiscard]] std::vector<DriveTemperature> expectedTemperatures(const Subject& subject);

/// Drives that the subject's locator LED operation switches: its own, or the volume's members; by BMIC index.
[[nodiscard]] std::vector<uint32_t> drivesOf(const Subject& subject);

/// "controller HBA drive INDEX" of every drive that blinks now, and "controller HBA", "volume DEVICE" of every write
/// cache that is on.
[[nodiscard]] std::vector<std::string> blinking(const simulator::SimulatedHost& host);
[[nodiscard]] std::vector<std::string> cachesOn(const simulator::SimulatedHost& host);
[[nodiscard]] std::string driveName(const std::string& hba, uint32_t index);
[[nodiscard]] std::string controllerCacheName(const std::string& hba);
[[nodiscard]] std::string volumeCacheName(const simulator::Volume& volume);

/// Fails the rule unless both lists hold the same names.
void expectNames(const std::string& what, std::vector<std::string> expected, std::vector<std::string> seen);

}  // namespace host::check
