// Operation 4: how warm a device's drives are.
#pragma once

#include <cstdint>
#include <string>

#include "controller/snapshot.h"
#include <dmu/plugin.h>

extern "C" {

/// Needs the plugin lock. See DmuGetDeviceTemperature; null arguments and a masked device give -1 with `error`
/// unchanged.
/// @param error  replaced with "Failed to open controller." or "Device is not found."
int32_t OrvaInfo_GetDeviceTemperature(CtrlDevInfo* handle, DriveTemperature* temperatures, int32_t count,
                                      std::string& error);

/// The temperatures of a volume's member drives that the snapshot lists, in the order of their location texts. Drives
/// with the same text share one record, the last one's.
///
/// @param temperatures  the host's array
/// @param count         records; 0 writes the temperatures into the trace instead, below 0 stores nothing
/// @param error         left as it was
/// @return records written; 0 for a null `info` or `volume` or a device without known members; -1 when `temperatures`
///         is null with a nonzero `count`, or memory ran out
int32_t OrvaInfo_GetPhyDiskTempForVolume(OrvaInfo* info, OrvaInfo_Devices* volume, DriveTemperature* temperatures,
                                         int32_t count, std::string& error);
}
