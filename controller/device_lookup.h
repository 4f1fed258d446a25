// The snapshot entry that a handle stands for.
#pragma once

#include "controller/snapshot.h"

struct CtrlDevInfo;

extern "C" {

/// Finds a volume by channel, target and LUN, or an exposed drive whose serial number begins with the handle's. A
/// handle without a serial number finds nothing from the first exposed drive of the list on.
/// @return the first entry that matches, valid as long as the snapshot; null when none does or an argument is null
OrvaInfo_Devices* OrvaInfo_LookForDev(OrvaInfo* info, CtrlDevInfo* handle);
}
