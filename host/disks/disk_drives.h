// The drives behind a disk, as its controller reported them: a volume's members, or the physical disk itself. The
// plugin tells less of them: no serial numbers, no place of a missing member's neighbours.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/disks/disk_record.h"
#include "host/disks/place.h"
#include "host/session.h"
#include <dmu/plugin.h>

namespace host {

struct DiskDrive {
  std::optional<uint32_t> index;  ///< BMIC drive index
  bool isMissing = false;         ///< the controller does not list it; what is known of it was asked for by its index
  std::optional<std::string> serial;
  std::optional<Place> place;
  std::optional<uint32_t> current;  ///< degrees Celsius
  std::optional<uint32_t> maximum;
};

/// @param drive  of this index; null: the controller told nothing of it
[[nodiscard]] DiskDrive describeDrive(uint32_t index, const model::Drive* drive);

/// @return in the order of the location texts; nothing when the commands that passed do not show it: an external
/// volume, a controller of which
///         no snapshot was read, members that were not told
[[nodiscard]] std::optional<std::vector<DiskDrive>> drivesOf(Session& session, const DiskRecord& record);

/// Of the drives that are there, what the plugin's temperatures must be: in the order of the location texts, one for
/// drives of the same text, none for a member that the host sees as a disk of its own.
/// @return nothing as above
[[nodiscard]] std::optional<std::vector<DriveTemperature>> expectedTemperatures(Session& session,
                                                                                const DiskRecord& record);

/// What the plugin's location texts must be, sorted: members that are no hidden drives of the plugin's list are
/// "(Failed)", if there are fewer of those than members.
/// @return nothing as above
[[nodiscard]] std::optional<std::vector<std::string>> expectedLocations(Session& session, const DiskRecord& record);

/// Where a drive said that it sits, with the text that the plugin makes of it.
[[nodiscard]] Place placeOf(const model::DriveIdentity& identity);

/// Degrees that a drive may still warm up to its maximum; nothing when one of the two is not known.
[[nodiscard]] std::optional<int> marginOf(const DiskDrive& drive);

/// "12", "3 !" from five degrees on, "-" when it is not known.
[[nodiscard]] std::string marginText(const DiskDrive& drive);

/// "1I:1:3"; without a place "drive 5", by its index, and "-" without that.
[[nodiscard]] std::string placeText(const DiskDrive& drive);

/// The places of the drives that are there, or of those that are missing, with ", " between them.
enum class Which { there, missing };
[[nodiscard]] std::string placesText(const std::vector<DiskDrive>& drives, Which which);

[[nodiscard]] Json toJson(const std::vector<DiskDrive>& drives);

}  // namespace host
