// Reads a topology from its JSON text (docs/topology.md) and refuses it with every mistake that is in it.
#pragma once

#include <string>

#include "json/mistakes.h"
#include "simulator/simulated_host.h"

namespace simulator {

/// Types, ranges and keys alone; whether the parts fit together is a question for checkTopology.
/// @return the topology; of no use when there are mistakes
[[nodiscard]] Topology readTopology(const std::string& json, input::Mistakes& mistakes);

}  // namespace simulator
