// The record by which the daemon tells a plugin of a disk.
#pragma once

#include "host/disks/host_disk.h"
#include <dmu/plugin.h>

namespace host {

/// @param disk  the record points to its texts
[[nodiscard]] DmuDeviceOpenInfo openRecordOf(const HostDisk& disk);

}  // namespace host
