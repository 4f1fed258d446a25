// Replacing whole files, by the C library's own calls, never the disk calls of this library.
#pragma once

#include <string>

namespace simulator {

/// Replaces a file by way of a temporary one in the same folder: at any moment it holds the old text or the new one.
/// @return false, with errno set, when that failed; the file is as it was then
[[nodiscard]] bool replaceFile(const std::string& file, const std::string& text);

}  // namespace simulator
