// Whether the loaded driver module is an OEM build.
#pragma once

extern "C" {

/// Runs the host's module loader command for the driver and looks at its output. Nothing is cached.
/// @return 1 when a line of it contains "oem" or "OEM"; else 0, also when the command is missing or fails
int IsOEMDriver();
}
