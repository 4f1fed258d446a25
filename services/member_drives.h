// The member drives of a volume as the snapshot lists them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "controller/index_bounds.h"
#include "controller/physical_drive.h"

namespace dmu {

/// Whether the volume's member drives can be told: one of the controller's own, with drives and a member map.
[[nodiscard]] inline bool hasKnownMembers(const OrvaInfo_Devices& device) {
  return isVolume(device.lunAddress) && device.raidMap != nullptr && device.physicalDisks != 0 && device.external == 0;
}

/// Drives that a change to the device concerns: a volume's members, or the one drive.
[[nodiscard]] inline int driveCount(const OrvaInfo_Devices& device) {
  return isVolume(device.lunAddress) ? device.physicalDisks : 1;
}

/// BMIC drive indexes that follow each other.
struct IndexRange {
  [[nodiscard]] bool overlaps(IndexBounds bounds) const { return bounds.lowest < end && first <= bounds.highest; }

  uint32_t first;
  uint32_t end;  ///< behind the last one
};

/// From a volume's first member to its last, in whole bytes of its member map.
[[nodiscard]] inline IndexRange memberRange(const OrvaInfo& info, const OrvaInfo_Devices& volume) {
  const uint8_t* map = volume.raidMap;
  const uint8_t* end = map + memberMapSize(info);
  const uint8_t* first = std::find_if(map, end, [](uint8_t byte) { return byte != 0; });
  while (end != first && end[-1] == 0) --end;
  return {static_cast<uint32_t>(first - map) * 8, static_cast<uint32_t>(end - map) * 8};
}

/// The masked drives of the snapshot that belong to a volume, in list order.
class ListedMembers {
 public:
  /// @param volume  with known members
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): of the array, as many are read as there are members
  ListedMembers(const OrvaInfo& info, const OrvaInfo_Devices& volume) {
    const IndexRange range = memberRange(info, volume);
    const OrvaInfo_Devices* next = info.devices;
    for (const IndexBounds& bounds : keptIndexBounds(info)) {
      const OrvaInfo_Devices* end = next + kEntriesPerBounds;
      if (range.overlaps(bounds)) addMembers(info, volume, next, end);
      next = end;
    }
    addMembers(info, volume, next, info.devices + std::max(info.deviceCount, 0));
  }

  [[nodiscard]] const OrvaInfo_Devices* const* begin() const { return drives_; }
  [[nodiscard]] const OrvaInfo_Devices* const* end() const { return drives_ + count_; }
  [[nodiscard]] size_t size() const { return count_; }

 private:
  void addMembers(const OrvaInfo& info, const OrvaInfo_Devices& volume, const OrvaInfo_Devices* drive,
                  const OrvaInfo_Devices* end) {
    for (; drive != end; ++drive) {
      if (kindOf(drive->lunAddress) != DeviceKind::maskedDrive) continue;
      if (isMember(info, volume, driveIndex(drive->lunAddress))) drives_[count_++] = drive;
    }
  }

  const OrvaInfo_Devices* drives_[kMaxDevices];
  size_t count_ = 0;
};

}  // namespace dmu
