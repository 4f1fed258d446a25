// A disk with its record and the plugin's handle for it.
#pragma once

#include "host/disks/plugin_calls.h"
#include "host/session.h"

namespace host {

/// Whether the user asked for just this disk. Another driver's disk is then a failure, else a note.
enum class Named { no, yes };

struct OpenedDisk {
  DiskRecord record;
  DeviceHandle handle;  ///< holds null when the plugin does not serve the disk
  Named named = Named::no;

  /// The plugin knows the disk, so that further operations make sense.
  [[nodiscard]] bool isKnown() const { return record.kind.has_value(); }
};

/// Opens a handle as the daemon does, reads the serial number and asks the plugin what the disk is. What fails is
/// reported and stands in the record.
[[nodiscard]] OpenedDisk openDisk(Session& session, const HostDisk& disk, Named named);

/// The records of all disks of the host, each opened as if nobody had named it.
[[nodiscard]] std::vector<DiskRecord> recordsOfAllDisks(Session& session);

/// Where the disk's drives sit.
/// @return nothing for a disk that is not known, or when the operation failed, which is reported
[[nodiscard]] std::optional<std::vector<Place>> askPlaces(Session& session, OpenedDisk& opened);

}  // namespace host
