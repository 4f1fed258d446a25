// The topology in which the simulated host is the host of a recording.
#pragma once

#include <string>
#include <vector>

#include "host/topology/recorded_host.h"
#include "simulator/simulated_host.h"

namespace host::topology {

struct RecordedTopology {
  simulator::Topology topology;          ///< the simulated host takes it
  std::vector<std::string> differences;  ///< what it does not tell as it was recorded, and what it tells instead
};

[[nodiscard]] RecordedTopology topologyOf(const RecordedHost& host);

}  // namespace host::topology
