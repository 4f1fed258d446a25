// Operations 2 and 3: the write cache.
#pragma once

#include <string>

#include "controller/snapshot.h"
#include <dmu/plugin.h>

extern "C" {

/// Switches the cache of the handle's volume, or of all drives of the controller for a physical disk. Needs the plugin
/// lock.
///
/// @param mode   1 on, 0 off
/// @param error  replaced with "Failed to open controller." or "Device is not found.", else left as it was
/// @return the volume's number of member drives, or 1 for a disk; -1 with one of the texts, or with none when `handle`
///         is null, the volume is external or the step itself gave -1; else the nonzero result of the failed command,
///         which cannot be told from a number of drives
int OrvaInfo_CacheControl(CtrlDevInfo* handle, int mode, std::string& error);

/// Changes bit 0 of the controller parameter driveConfigFlags and nothing else.
/// @param mode  nonzero sets the bit
/// @return 0; the failed command's result; -1 for a null snapshot, a closed channel or no memory
int OrvaInfo_CtrlParameter(OrvaInfo* info, int mode);

/// Changes the volume's bit in the controller's cache bitmap, where a set bit means no caching, and nothing else.
/// @param set  nonzero sets the bit
/// @return 0; the failed command's result; -1 for a null argument, a closed channel, no memory, an entry that is no
///         volume, a reply whose limit is not the snapshot's or whose bitmaps do not fit even when asked for a second
///         time, or a drive number beyond the bitmap
int OrvaInfo_CacheConfiguration(OrvaInfo* info, OrvaInfo_Devices* entry, int set);
}
