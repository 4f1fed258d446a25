// Whether the parts of a topology fit together.
#pragma once

#include "json/mistakes.h"
#include "simulator/simulated_host.h"

namespace simulator {

/// Adds every contradiction in a topology whose single values are in range.
void checkTopology(const Topology& topology, input::Mistakes& mistakes);

/// The part of it that concerns the fault rules (fault_checks.cpp).
void checkFaults(const Topology& topology, input::Mistakes& mistakes);

}  // namespace simulator
