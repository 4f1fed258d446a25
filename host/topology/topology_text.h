// A topology as the text of its file.
#pragma once

#include <string>

#include "host/output/json.h"
#include "simulator/simulated_host.h"

namespace host::topology {

/// What is at its default is left out.
[[nodiscard]] Json toJson(const simulator::Topology& topology);

/// Laid out as people write it: a drive, a volume, a rule to a line.
[[nodiscard]] std::string textOf(const Json& topology);

/// Whether a file can hold a text as it is: UTF-8 without control characters.
[[nodiscard]] bool isWritable(const std::string& text);

/// The text, or what a file can hold of it: question marks stand for all that is not printable ASCII.
[[nodiscard]] std::string writable(std::string text);

}  // namespace host::topology
