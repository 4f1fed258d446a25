// Names of disks that can be told without asking a controller, or a plugin, or a real host: for a shell that completes.
#pragma once

#include <string>
#include <vector>

#include "host/session.h"

namespace host {

/// The words by which disks can be named, of the host that these options, or the environment, mean: from the recording,
/// the inventory, or the model of the simulated host. Of a real host, and of a file that is refused, there are none.
[[nodiscard]] std::vector<std::string> knownNames(const GlobalOptions& options);

}  // namespace host
