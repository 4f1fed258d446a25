// What a plugin must answer, and what its switching must come to, as the simulated host's model has it.
#pragma once

#include <string>
#include <vector>

#include "host/check/trial.h"

namespace host::check {

/// The RAID level of operation 0 for a local volume.
[[nodiscard]] uint32_t expectedRaidLevel(const simulator::Volume& volume);

/// Texts of operation 5, sorted.
[[nodiscard]] std::vector<std::string> expectedLocations(const Subject& subject);

/// Records of operation 4, as "CURRENT/MAXIMUM", in the order of the location texts; drives with the same text share
/// one.
[[nodiscard]] std::vector<std::string> expectedTemperatures(const Subject& subject);

/// "HBA drive INDEX" of each drive that the subject's locator LED operation switches: its own, or the volume's members.
[[nodiscard]] std::vector<std::string> drivesOf(const Subject& subject);

/// Tenths of a second for which a drive of drivesOf still blinks.
[[nodiscard]] uint32_t tenthsLeft(const simulator::SimulatedHost& host, const std::string& drive);

/// The write cache that the subject's cache operations switch: "DEVICE" for a volume's, "HBA's drives" for a disk's.
[[nodiscard]] std::string cacheOf(const Subject& subject);

/// Every write cache that is on, named as cacheOf names it.
[[nodiscard]] std::vector<std::string> cachesOn(const simulator::SimulatedHost& host);

/// Each fails the rule unless just these drives blink, or just these caches are on.
void expectBlinking(const std::string& what, const std::vector<std::string>& drives,
                    const simulator::SimulatedHost& host);
void expectCachesOn(const std::string& what, const std::vector<std::string>& caches,
                    const simulator::SimulatedHost& host);

}  // namespace host::check
