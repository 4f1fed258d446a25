// Opening and closing of device handles.
#pragma once

#include <cstdint>

#include <dmu/plugin.h>

extern "C" {

/// See DmuOpenDevice, DmuOpenDeviceV2 and DmuCloseDevice. They take no lock and touch no state but the handle.
int32_t VELTRANEPlugin_OpenDevice(const char* hba, uint32_t channel, uint32_t target, uint32_t lun, const char* driver,
                                  uint8_t isPciDevice, uint16_t segment, uint8_t busId, uint8_t slotId,
                                  uint8_t functionId, uint16_t vendorId, uint16_t subVendorId, uint16_t deviceId,
                                  uint16_t subDeviceId, uint8_t reserved, uint32_t physicalSlot, CtrlDevInfo** out);
int32_t VELTRANEPlugin_OpenDevice_v2_0_0(const DmuDeviceOpenInfo* info, CtrlDevInfo** out);
void VELTRANEPlugin_CloseDevice(CtrlDevInfo* handle);
}
