// Reads a file whole, within the limits of json/input.h.
#pragma once

#include <optional>
#include <string>

namespace host {

/// @param error  receives why the file cannot be read
/// @return the file's bytes, or nothing
[[nodiscard]] std::optional<std::string> readFile(const std::string& file, std::string& error);

}  // namespace host
