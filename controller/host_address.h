// Where the host sees a device.
#pragma once

#include "controller/snapshot.h"

extern "C" {

/// Sets the entry's channel, target and LUN as the driver numbers them for the host; leaves a masked drive's alone.
/// Asks IsOEMDriver for each of the controller's own volumes. Null is ignored.
void OrvaInfo_SetBTL(OrvaInfo_Devices* entry);
}
