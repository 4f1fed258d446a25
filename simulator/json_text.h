// Parses the JSON text of a topology or a state.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "simulator/mistakes.h"

namespace simulator {

/// What json/json_check.h finds wrong is the one mistake, and the value is null then.
[[nodiscard]] nlohmann::json parseJson(const std::string& text, Mistakes& mistakes);

}  // namespace simulator
