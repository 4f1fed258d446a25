// Reading and replacing whole files. Both use the C library's own calls, never the disk calls of this library.
#pragma once

#include <optional>
#include <string>

namespace simulator {

/// @return the file's text; nothing, with errno set, when it cannot be read
[[nodiscard]] std::optional<std::string> readFile(const std::string& file);

/// Replaces a file by way of a temporary one in the same folder: at any moment it holds the old text or the new one.
/// @return false, with errno set, when that failed; the file is as it was then
[[nodiscard]] bool replaceFile(const std::string& file, const std::string& text);

}  // namespace simulator
