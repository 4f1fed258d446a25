// The lines of a recording: the first one, one for each call, the last one. calls.h spells what a call's line holds.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>

#include "host/output/json.h"
#include "host/recording/calls.h"

namespace host::recording {

/// @param repeats  a replay is to give the last answer to a request again and again
[[nodiscard]] Json firstLine(bool repeats);
[[nodiscard]] Json lastLine();

/// @param channel  number of the management channel that the call went through; 0: through none
[[nodiscard]] Json lineOf(AnyCall call, uint32_t channel);

/// Whether a line begins a recording, of whatever version.
[[nodiscard]] bool beginsRecording(const nlohmann::json& line);

/// Reads the first line: what is wrong with it is a mistake.
/// @return whether the recording repeats
[[nodiscard]] bool readFirstLine(const nlohmann::json& line, Source& source);

[[nodiscard]] bool isLastLine(const nlohmann::json& line);

/// Reads a call's line. Whoever replays it relies on every length and limit, so there must be no mistake.
[[nodiscard]] std::optional<AnyCall> readCall(const nlohmann::json& line, Source& source);

}  // namespace host::recording
