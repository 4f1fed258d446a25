// Reads a JSON file, or one line of a file, more strictly than the parser alone.
#pragma once

#include <string>

#include "host/output/json.h"

namespace host {

/// @return what the file holds
/// @throws Refusal  "FILE: PLACE: REASON": it cannot be read, or json/json_check.h finds a mistake in it
[[nodiscard]] Json readJsonFile(const std::string& file);

/// @param line   one line of a file, without its end
/// @param place  "FILE: line N", for messages
/// @return what the line holds
/// @throws Refusal  "PLACE: column N: REASON", or with a JSON pointer in place of the column, or with neither
[[nodiscard]] Json readJsonLine(const std::string& line, const std::string& place);

}  // namespace host
