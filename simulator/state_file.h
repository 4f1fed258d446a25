// The state of the simulated hardware in a file: what blinks since when and for how long, controller parameters and
// cache configuration, so that what one process switches is seen by the next.
//
// It is JSON, {"format": "dmu-simulated-host-state", "version": 1, "controllers": {HBA: {...}}}, with buffers as hex
// text and times in tenths of a second.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/controller_model.h"

namespace simulator {

[[nodiscard]] std::string stateText(const std::vector<ControllerModel>& controllers);

/// Gives the controllers the state in `text`; a controller that it does not name keeps its own.
/// @param name  of the file, for messages
/// @return nothing, or why the text is no state of these controllers, which are unchanged then: a line "NAME: JSON
///         POINTER: REASON" for each mistake
[[nodiscard]] std::optional<std::string> restoreState(const std::string& text, const std::string& name,
                                                      std::vector<ControllerModel>& controllers);

}  // namespace simulator
