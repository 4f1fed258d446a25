// The diagnostic trace. It is on exactly while its file exists, and its lines are appended to that same file, each
// opened, written and closed by itself, so that the file may be deleted or truncated at any moment.
#pragma once

#include <cstdio>
#include <unistd.h>

extern "C" {

/// The open trace file while a line is being written, else null. Threads outside the plugin lock write lines at the
/// same time, so it names one of their files at most and nobody writes through it.
extern FILE* stream;
}

namespace dmu {

inline constexpr char kTraceFile[] = "/tmp/veltrane_plugin_debug";

/// One existence test of the trace file.
[[nodiscard]] inline bool traceIsOn() {
  return access(kTraceFile, F_OK) == 0;
}

/// Appends one line, or piece of a line. What cannot be opened or written is dropped. Cold: the code that calls it,
/// with its arguments, is kept away from the code that goes on.
[[gnu::cold, gnu::format(printf, 1, 2)]] void writeTrace(const char* format, ...);

}  // namespace dmu

/// Writes "FUNCTION:LINE " and the message, a printf format with its arguments. While the trace is off it costs one
/// existence test, and the arguments are not evaluated.
///
/// `function` is the name of the published function that the line belongs to: __func__ there, the name itself wherever
/// something else traces on its behalf.
#define DMU_TRACE(function, message, ...)                                               \
  do {                                                                                  \
    if (dmu::traceIsOn()) {                                                             \
      dmu::writeTrace("%s:%d " message, function, __LINE__ __VA_OPT__(, ) __VA_ARGS__); \
    }                                                                                   \
  } while (false)
