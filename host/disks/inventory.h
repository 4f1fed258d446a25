// The inventory file: the disks of a real host, in JSON, for a program that cannot ask the host's kernel itself.
// docs/json.md describes it.
#pragma once

#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/json_node.h"

namespace host {

/// Reads an inventory file.
/// @throws Refusal  "FILE: JSON PATH: REASON" for the first mistake
[[nodiscard]] std::vector<HostDisk> readInventory(const std::string& file);

/// One disk, as the file has it.
/// @throws Refusal  as above
[[nodiscard]] HostDisk diskOf(const JsonNode& node);

}  // namespace host
