// Standard output, and whether what was written arrived.
#pragma once

#include <string>

namespace host {

/// Sees to it that a reader who goes away ends nothing, and that no file is opened in the place of a standard stream
/// that is closed. To be called before anything is opened.
void prepareStandardStreams();

/// Writes the text to standard output.
void print(const std::string& text);

/// Passes on what was written. A failure is remembered.
void flushOutput();

/// Passes on what was written.
/// @return whether all of it arrived so far
[[nodiscard]] bool outputArrives();

/// @return nothing when all that was written arrived, or its reader has closed the pipe on purpose; else why not
[[nodiscard]] std::string whyOutputIsMissing();

}  // namespace host
