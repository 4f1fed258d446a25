// Reading whole files, within the limits of json/input.h, and replacing them. Both use the C library's own calls, never
// the disk calls of this library.
#pragma once

#include <optional>
#include <string>

namespace simulator {

/// @param mistake  receives why the file cannot be read
/// @return the file's text, or nothing
[[nodiscard]] std::optional<std::string> readFile(const std::string& file, std::string& mistake);

/// Replaces a file by way of a temporary one in the same folder: at any moment it holds the old text or the new one.
/// @return false, with errno set, when that failed; the file is as it was then
[[nodiscard]] bool replaceFile(const std::string& file, const std::string& text);

}  // namespace simulator
