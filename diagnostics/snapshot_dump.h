// The dump of a controller snapshot into the trace. It reads the snapshot, has no opinion and changes nothing.
#pragma once

#include <cstdint>

#include "controller/snapshot.h"

extern "C" {

/// Writes the controller's limits and every device. The texts and temperatures of the volumes' member drives are worked
/// out, and members that the snapshot does not list are identified, whether or not the trace is on.
/// @param info  not null
/// @return 0
int32_t OrvaInfo_DumpOrvaInfo(OrvaInfo* info);

/// Writes bytes as hexadecimal, eight to a row. Nothing for null or a length below 1.
void OrvaInfo_DumpArray(const uint8_t* data, int32_t length);
}
