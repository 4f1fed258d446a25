// The checks of one line of a recording: whoever replays it relies on every key, type and length.
#pragma once

#include "host/json_node.h"

namespace host::recording {

/// The first line.
/// @throws Refusal  it is not the first line of a recording, or of another version's
void checkFirstLine(const JsonNode& line);

/// A line with a call.
/// @throws Refusal  for the first mistake
void checkCall(const JsonNode& line);

}  // namespace host::recording
