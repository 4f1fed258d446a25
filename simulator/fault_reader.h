// Reads one fault rule of a topology file.
#pragma once

#include "simulator/json_object.h"
#include "simulator/simulated_host.h"

namespace simulator {

[[nodiscard]] FaultRule readFault(const JsonObject::Element& element, Mistakes& mistakes);

}  // namespace simulator
