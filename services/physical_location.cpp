// Location texts of a disk and of a volume's member drives.
#include "services/physical_location.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "channel/command_buffer.h"
#include "plugin/trace.h"
#include "services/location_text.h"
#include "services/member_drives.h"
#include "services/service_frame.h"

namespace {

constexpr char kNoMemory[] = "No memory for location!";

/// Where the host takes its locations: an array of slots, and the text that says what failed.
struct HostSlots {
  char** locations;
  int32_t count;
  std::string& error;
};

/// @return the buffer that the host frees; null when memory ran out
[[nodiscard]] char* makeHostBuffer(const dmu::DrivePlace& place) {
  auto* buffer = static_cast<char*>(std::malloc(kDmuLocationSize));
  if (buffer == nullptr) return nullptr;
  constexpr size_t kPrefixLength = sizeof(dmu::kLocationPrefix) - 1;
  constexpr size_t kLength = kPrefixLength + sizeof(place.text);
  std::memcpy(buffer, dmu::kLocationPrefix, kPrefixLength);
  std::memcpy(buffer + kPrefixLength, place.text, sizeof(place.text));
  std::memset(buffer + kLength, 0, kDmuLocationSize - kLength);
  return buffer;
}

/// Calls `visit(BMIC drive index)` for each member that is not marked as found.
template <typename Visit>
void forEachMissingMember(const OrvaInfo& info, const OrvaInfo_Devices& volume, const uint8_t* found, Visit visit) {
  for (uint32_t index = 0; index < info.maxPhysDevicesSupported; ++index) {
    if (dmu::isMember(info, volume, index) && !dmu::testBit(found, index)) visit(index);
  }
}

/// Identifies the drive with this index. One that does not answer has an empty port name and zeros.
dmu::DrivePlace identifiedPlace(OrvaInfo& info, uint32_t index) {
  OrvaInfo_Devices drive = {};
  (void)OrvaInfo_IdentifyPhysicalDevieWithBMICInex(&info, &drive, static_cast<int>(index));
  return dmu::DrivePlace(drive, dmu::kNotInSnapshot);
}

/// @return whether memory sufficed for that many places
[[nodiscard]] bool reserve(std::vector<dmu::DrivePlace>& places, size_t count) {
  return dmu::unlessMemoryRunsOut(false, [&] {
    places.reserve(count);
    return true;
  });
}

void releaseHostBuffers(char** locations, int32_t count) {
  for (int32_t k = 0; k < count; ++k) {
    std::free(locations[k]);
    locations[k] = nullptr;
  }
}

/// Puts the texts of the first `count` places into the host's slots.
/// @return whether memory sufficed; if not, no slot holds a buffer
[[nodiscard]] bool storeLocations(const std::vector<dmu::DrivePlace>& places, int32_t count, char** locations) {
  for (int32_t k = 0; k < count; ++k) {
    locations[k] = makeHostBuffer(places[static_cast<size_t>(k)]);
    if (locations[k] == nullptr) {
      releaseHostBuffers(locations, k);
      return false;
    }
  }
  return true;
}

int32_t volumeLocations(const char* function, OrvaInfo& info, const OrvaInfo_Devices& volume, const HostSlots& slots) {
  const uint32_t mapSize = dmu::memberMapSize(info);
  std::unique_ptr<uint8_t, dmu::Free> found(static_cast<uint8_t*>(std::malloc(mapSize)));
  if (found == nullptr) {
    DMU_TRACE(function, "Failed to allocate memory.\n");
    return -1;
  }
  std::memset(found.get(), 0, mapSize);

  const dmu::ListedMembers members(info, volume);
  for (const OrvaInfo_Devices* drive : members) dmu::setBit(found.get(), dmu::driveIndex(drive->lunAddress));
  const int foundCount = static_cast<int>(members.size());
  const bool countDiffers = foundCount != volume.physicalDisks;
  size_t placeCount = members.size();
  if (countDiffers) forEachMissingMember(info, volume, found.get(), [&](uint32_t /*index*/) { ++placeCount; });
  std::vector<dmu::DrivePlace> places;
  if (!reserve(places, placeCount)) {
    slots.error = kNoMemory;
    return -1;
  }

  for (const OrvaInfo_Devices* drive : members) places.emplace_back(*drive);
  DMU_TRACE(function, "Pdisk count: %d\n", foundCount);
  if (countDiffers) {
    DMU_TRACE(function, "disk count = %d, expected = %d\n", foundCount, volume.physicalDisks);
    forEachMissingMember(info, volume, found.get(),
                         [&](uint32_t index) { places.push_back(identifiedPlace(info, index)); });
  }
  found.reset();

  std::sort(places.begin(), places.end());
  if (slots.count == 0) {
    for (const dmu::DrivePlace& place : places) DMU_TRACE(function, "\t%s%s\n", dmu::kLocationPrefix, place.text);
    return 0;
  }
  const int32_t stored = std::min(static_cast<int32_t>(places.size()), std::max(slots.count, 0));
  if (!storeLocations(places, stored, slots.locations)) {
    slots.error = kNoMemory;
    return -1;
  }
  return stored;
}

int32_t diskLocation(const char* function, const OrvaInfo_Devices& disk, const HostSlots& slots) {
  const dmu::DrivePlace place(disk);
  DMU_TRACE(function, "Physical Location: %s%s\n", dmu::kLocationPrefix, place.text);
  slots.locations[0] = makeHostBuffer(place);
  if (slots.locations[0] == nullptr) {
    slots.error = kNoMemory;
    return -1;
  }
  return 1;
}

int32_t deviceLocation(const char* function, OrvaInfo& info, OrvaInfo_Devices& device, const HostSlots& slots) {
  switch (dmu::kindOf(device.lunAddress)) {
    case dmu::DeviceKind::logicalVolume:
      if (device.external != 0) {
        DMU_TRACE(function, "Physical Location: external");
        return 0;
      }
      return OrvaInfo_GetPhyLocationForVolume(&info, &device, slots.locations, slots.count, slots.error);
    case dmu::DeviceKind::exposedDrive:
      return diskLocation(function, device, slots);
    case dmu::DeviceKind::maskedDrive:
    case dmu::DeviceKind::unexpected:
      break;
  }
  slots.error = dmu::kMaskedDevice;
  return -1;
}

}  // namespace

int32_t OrvaInfo_GetDeviceLocation(CtrlDevInfo* handle, char** locations, int32_t count, std::string& error) {
  if (handle == nullptr || locations == nullptr) return -1;
  return dmu::withDevice(*handle, error, [&, function = __func__](OrvaInfo& info, OrvaInfo_Devices& device) {
    return deviceLocation(function, info, device, {locations, count, error});
  });
}

int32_t OrvaInfo_GetPhyLocationForVolume(OrvaInfo* info, OrvaInfo_Devices* volume, char** locations, int32_t count,
                                         std::string& error) {
  if (info == nullptr || volume == nullptr) return 0;
  if (locations == nullptr && count != 0) return 0;
  if (!dmu::hasKnownMembers(*volume)) return 0;
  const auto ask = [&, function = __func__] {
    return volumeLocations(function, *info, *volume, {locations, count, error});
  };
  return dmu::unlessMemoryRunsOut(-1, ask);
}
