// The first line of a recording.
#pragma once

namespace host::recording {

inline constexpr const char* kFormat = "dmu-host-recording";

/// Rises when a line changes its meaning.
inline constexpr int kVersion = 1;

}  // namespace host::recording
