// Reads one fault rule of a topology file.
#pragma once

#include "json/json_object.h"
#include "simulator/simulated_host.h"

namespace simulator {

[[nodiscard]] FaultRule readFault(const input::JsonObject::Element& element, input::Mistakes& mistakes);

}  // namespace simulator
