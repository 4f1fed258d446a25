// Writing a result to a file that others may read at any time: they see the old text or the new one.
#pragma once

#include <string>
#include <sys/types.h>

namespace host {

/// Replaces the text of a file by way of a temporary one in its folder. Links are followed; mode and owner stay, as far
/// as this process may set them. What is no regular file is written to as it is.
/// @throws Refusal  the file cannot be written; a regular one is as it was then
void replaceFile(const std::string& file, const std::string& text);

/// The rights of a file that is made as any other.
[[nodiscard]] mode_t modeOfNewFiles();

/// @return the text that a replacement takes away; empty where no regular file is. One that cannot be read is empty as
///         well, and the reason is said on standard error
[[nodiscard]] std::string textToReplace(const std::string& file);

}  // namespace host
