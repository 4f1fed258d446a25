// Operation 5: where a device's drives sit.
#pragma once

#include <cstdint>
#include <string>

#include "controller/snapshot.h"
#include <dmu/plugin.h>

extern "C" {

/// Needs the plugin lock. See DmuGetDeviceLocation; null arguments give -1 with `error` unchanged.
/// @param error  replaced with "Failed to open controller.", "Device is not found.", "Masked device specified." or
///               "No memory for location!"; unchanged when memory for anything but texts and buffers ran out
int32_t OrvaInfo_GetDeviceLocation(CtrlDevInfo* handle, char** locations, int32_t count, std::string& error);

/// The location texts of a volume's member drives, sorted bytewise. A member that the snapshot does not list is
/// identified afresh, and its text ends in "(Failed)".
///
/// @param locations  the host's array; each slot written receives a 50-byte buffer from malloc, which the host frees
/// @param count      slots; 0 writes the texts into the trace instead, below 0 stores nothing
/// @param error      replaced with "No memory for location!" when it ran out for the list of texts or a slot, else left
///                   as it was
/// @return slots written; 0 for null arguments, a device without known members or nothing to store; -1 when memory ran
///         out, and then no slot holds a buffer
int32_t OrvaInfo_GetPhyLocationForVolume(OrvaInfo* info, OrvaInfo_Devices* volume, char** locations, int32_t count,
                                         std::string& error);
}
