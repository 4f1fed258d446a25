// The host that a recording is of, as far as its calls show it.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/model/controller.h"
#include "host/recording/recording.h"
#include "host/topology/seen_calls.h"

namespace host::topology {

struct RecordedHost {
  std::optional<std::vector<HostDisk>> disks;            ///< the host's list; nothing: the run did not ask for it
  std::vector<std::string> hbas;                         ///< in the order of the driver's list
  std::map<std::string, model::Controller> controllers;  ///< by HBA, those that were read
  std::map<std::string, std::string> serials;            ///< by node, those that answered
  std::map<std::string, size_t> cutSerials;              ///< by node, how much of one arrived that never did whole
  std::set<std::string> changed;                         ///< HBAs and nodes that told something else later
  bool isOemDriver = false;
  SeenCalls calls;
};

/// What changed while it was recorded is taken as it was at first, as a replay does; what failed at first and was told
/// later is taken from there.
[[nodiscard]] RecordedHost hostOf(const recording::RecordedCalls& recorded);

}  // namespace host::topology
