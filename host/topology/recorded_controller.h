// A controller of a recorded host in a topology.
#pragma once

#include "host/topology/recorded_topology.h"

namespace host::topology {

/// Adds the controller with its drives and volumes, which no disk of the host leads to yet, and the fault rules for
/// what it reports and no topology says.
void writeController(const RecordedHost& host, const model::Controller& controller, RecordedTopology& result);

}  // namespace host::topology
