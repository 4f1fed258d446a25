// How warm the drives of a disk are, by the plugin.
#pragma once

#include <optional>
#include <vector>

#include "host/disks/disk_drives.h"
#include "host/disks/opened_disk.h"

namespace host {

/// The disk's drives with their temperatures: the controller's account of them, as long as the plugin's answer is what
/// follows from it; else that answer, and the difference is reported.
/// @return nothing for a disk that is not known, or when the operation failed, which is reported
[[nodiscard]] std::optional<std::vector<DiskDrive>> warmDrives(Session& session, OpenedDisk& opened);

}  // namespace host
