// Parses the JSON text of a file.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "json/mistakes.h"

namespace input {

/// What json/json_check.h finds wrong is the one mistake, and the value is null then.
[[nodiscard]] nlohmann::json parseJson(const std::string& text, Mistakes& mistakes);

}  // namespace input
