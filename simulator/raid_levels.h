// RAID levels as people write them, and how many members each takes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/simulated_host.h"

namespace simulator {

struct RaidLevelRule {
  RaidLevel level;
  const char* name;
  size_t leastMembers;
  size_t mostMembers;
};

/// A controller tells RAID 1 and RAID 10 apart by the members alone: two are a mirror, more are RAID 10.
inline constexpr RaidLevelRule kRaidLevels[] = {
    {RaidLevel::raid0, "RAID 0", 0, SIZE_MAX},   {RaidLevel::raid1, "RAID 1", 2, 2},
    {RaidLevel::raid10, "RAID 10", 4, SIZE_MAX}, {RaidLevel::raid4, "RAID 4", 3, SIZE_MAX},
    {RaidLevel::raid5, "RAID 5", 3, SIZE_MAX},   {RaidLevel::raid6, "RAID 6", 4, SIZE_MAX},
};

[[nodiscard]] inline const RaidLevelRule& ruleOf(RaidLevel level) {
  for (const RaidLevelRule& rule : kRaidLevels)
    if (rule.level == level) return rule;
  return kRaidLevels[0];
}

[[nodiscard]] inline std::optional<RaidLevel> parseRaidLevel(std::string_view name) {
  for (const RaidLevelRule& rule : kRaidLevels)
    if (name == rule.name) return rule.level;
  return std::nullopt;
}

/// "RAID 0", "RAID 1", ... in quotes, separated by commas
[[nodiscard]] inline std::string raidLevelNames() {
  std::string names;
  for (const RaidLevelRule& rule : kRaidLevels) names += std::string(names.empty() ? "" : ", ") + '"' + rule.name + '"';
  return names;
}

}  // namespace simulator
