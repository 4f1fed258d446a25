// Reads a JSON file more strictly than the parser alone.
#pragma once

#include <string>

#include "host/json.h"

namespace host {

/// @return what the file holds
/// @throws Refusal  "FILE: PLACE: REASON": it cannot be read, is no JSON, or has a key twice in an object
[[nodiscard]] Json readJsonFile(const std::string& file);

}  // namespace host
