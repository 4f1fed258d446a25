// Reads a file whole.
#pragma once

#include <optional>
#include <string>

namespace host {

/// @param error  receives the system's text when the file cannot be read
/// @return the file's bytes, or nothing
[[nodiscard]] std::optional<std::string> readFile(const std::string& file, std::string& error);

}  // namespace host
