// Operation 0: what a device is.
#pragma once

#include <string>

#include <dmu/plugin.h>

extern "C" {

/// Needs the plugin lock. See DmuGetDeviceInfo; null arguments give -1 with `error` unchanged.
/// @param error  replaced with "Failed to open controller.", "Device is not found." or "Masked device specified."
int OrvaInfo_GetDeviceInfo(CtrlDevInfo* handle, DmuDeviceInfo* deviceInfo, std::string& error);
}
