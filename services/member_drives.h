// The member drives of a volume as the snapshot lists them, and the text that says where a drive sits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "controller/snapshot.h"

namespace dmu {

/// Size of a location's text and of the buffer in which the host receives it; the longest text has 37 characters.
inline constexpr size_t kLocationSize = 50;

/// What follows a location text when its drive is not in the snapshot.
inline constexpr std::string_view kNotInSnapshot = "(Failed)";

/// "port:box:bay PORT:BOX:BAY" and `suffix`.
struct LocationText {
  explicit LocationText(const OrvaInfo_Devices& drive, std::string_view suffix = {});

  char text[kLocationSize]{};  ///< terminated
};

/// The order of the texts' bytes.
[[nodiscard]] inline bool operator<(const LocationText& left, const LocationText& right) {
  return std::strcmp(left.text, right.text) < 0;
}

/// Whether the volume's member drives can be told: one of the controller's own, with drives and a member map.
[[nodiscard]] bool hasKnownMembers(const OrvaInfo_Devices& device);

/// Drives that a change to the device concerns: a volume's members, or the one drive.
[[nodiscard]] int driveCount(const OrvaInfo_Devices& device);

/// Calls `visit(drive, BMIC drive index)` for each masked drive of the snapshot that belongs to the volume, in the
/// order of their indexes. The volume must have known members.
template <typename Visit>
void forEachListedMember(const OrvaInfo& info, const OrvaInfo_Devices& volume, Visit visit) {
  const MappedDrive* drive = info.mappedDrives;
  const MappedDrive* const end = drive + info.mappedDriveCount;
  for (uint32_t byte = 0; byte < memberMapSize(info); ++byte) {
    if (volume.raidMap[byte] == 0) continue;  // none of eight indexes: most of the map, where volumes are many
    drive = std::lower_bound(drive, end, byte * 8,
                             [](const MappedDrive& listed, uint32_t index) { return listed.index < index; });
    for (; drive != end && drive->index < (byte + 1) * 8; ++drive) {
      const uint32_t index = drive->index;
      if (testBit(volume.raidMap, index)) visit(info.devices[drive->place], index);
    }
  }
}

}  // namespace dmu
