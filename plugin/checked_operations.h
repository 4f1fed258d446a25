// The six operations of the descriptor: each checks the handle, takes the plugin lock, calls its service and passes
// the service's result on. Their arguments and results are those of the function types in <dmu/plugin.h>.
#pragma once

#include <cstdint>
#include <string>

#include <dmu/plugin.h>

extern "C" {

int32_t VELTRANEPlugin_GetDeviceInfo(CtrlDevInfo* handle, DmuDeviceInfo* deviceInfo, std::string& error);
int32_t VELTRANEPlugin_SetDriveLEDState(CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error);
int32_t VELTRANEPlugin_CacheOn(CtrlDevInfo* handle, std::string& error);
int32_t VELTRANEPlugin_CacheOff(CtrlDevInfo* handle, std::string& error);
int32_t VELTRANEPlugin_GetDeviceTemperature(CtrlDevInfo* handle, DriveTemperature* temperatures, int32_t count,
                                            std::string& error);
int32_t VELTRANEPlugin_GetDeviceLocation(CtrlDevInfo* handle, char** locations, int32_t count, std::string& error);
}
