// The disks of a recorded host in a topology.
#pragma once

#include "host/topology/recorded_topology.h"

namespace host::topology {

/// Gives each disk to the volume or drive that the host sees as it, or else writes it by itself.
void placeDisks(const RecordedHost& host, RecordedTopology& result);

}  // namespace host::topology
