// The file by which the plugin's trace is switched on.
#pragma once

namespace host {

/// The trace is on while this file exists, and is written into it.
inline constexpr const char* kTraceFile = "/tmp/veltrane_plugin_debug";

}  // namespace host
