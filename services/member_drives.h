// The member drives of a volume as the snapshot lists them, and the text that says where a drive sits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "controller/physical_drive.h"

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

/// Calls `visit(drive, BMIC drive index)` for each masked drive of the snapshot that belongs to the volume, in list
/// order. The volume must have known members.
template <typename Visit>
void forEachListedMember(const OrvaInfo& info, const OrvaInfo_Devices& volume, Visit visit) {
  for (int32_t i = 0; i < info.deviceCount; ++i) {
    const OrvaInfo_Devices& drive = info.devices[i];
    if (kindOf(drive.lunAddress) != DeviceKind::maskedDrive) continue;
    const uint32_t index = driveIndex(drive.lunAddress);
    if (isMember(info, volume, index)) visit(drive, index);
  }
}

}  // namespace dmu
