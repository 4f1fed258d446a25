// The inventory file: the disks of a real host, in JSON, for a program that cannot ask the host's kernel itself.
// docs/json.md describes it.
#pragma once

#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "json/json_object.h"

namespace host {

/// Reads an inventory file, or the document that `list --json` writes.
/// @throws Refusal  "FILE: JSON POINTER: REASON", a line for each mistake
[[nodiscard]] std::vector<HostDisk> readInventory(const std::string& file);

/// What becomes of keys that an inventory does not have.
enum class OtherKeys { refused, ignored };

/// Reads one disk, as the file has it.
/// @return the disk; of no use when there are mistakes
[[nodiscard]] HostDisk diskOf(const input::JsonObject::Element& element, input::Mistakes& mistakes,
                              OtherKeys others = OtherKeys::refused);

}  // namespace host
