// Finds the disks that words on the command line name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/session.h"

namespace host {

/// What a serial number and a place begin with, so that they name a disk.
inline constexpr std::string_view kSerialPrefix = "serial:";
inline constexpr std::string_view kBayPrefix = "bay:";

/// The disks of the names, in their order; a disk named twice comes once.
///
/// @param names  each whole and in any case: a device name with or without its path, "HBA:CHANNEL:TARGET:LUN", a serial
///               number with or without "serial:", or "bay:[HBA:]PORT:BOX:BAY" for the physical disk that sits there
/// @throws Refusal  for a name that fits no disk or more than one; it lists the candidates
[[nodiscard]] std::vector<HostDisk> disksNamed(Session& session, const std::vector<std::string>& names);

}  // namespace host
