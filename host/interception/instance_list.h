// The driver's answer to the query of its controllers.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>

#include "simulator/wire.h"

namespace host {

/// The names of the controllers by their numbers.
/// @param answer  sizeof(simulator::wire::InstanceList) bytes
[[nodiscard]] inline std::map<uint32_t, std::string> instanceNames(const void* answer) {
  namespace wire = simulator::wire;
  wire::InstanceList list{};
  std::memcpy(&list, answer, sizeof(list));
  std::map<uint32_t, std::string> names;
  for (uint32_t number = 0; number < wire::kInstances; ++number) {
    const wire::InstanceEntry& entry = list.entries[number];
    if (entry.id != wire::kUnusedInstance) names[number] = {entry.name, strnlen(entry.name, sizeof(entry.name))};
  }
  return names;
}

}  // namespace host
