// The replies of the discovery commands, built from the model as it is now.
#pragma once

#include "simulator/bytes.h"
#include "simulator/controller_model.h"

namespace simulator {

[[nodiscard]] Bytes identifyController(const ControllerModel& controller);

/// The volumes in the topology's order, and the drives likewise; what has vanished is left out.
[[nodiscard]] Bytes reportLogicalLuns(const ControllerModel& controller);
[[nodiscard]] Bytes reportPhysicalLuns(const ControllerModel& controller, bool extended);

[[nodiscard]] Bytes identifyLogicalDevice(const Volume& volume);
[[nodiscard]] Bytes senseConfiguration(const ControllerModel& controller, const Volume& volume);
[[nodiscard]] Bytes identifyPhysicalDevice(const Drive& drive);

}  // namespace simulator
