// Read-modify-write of the controller parameters and of the cache configuration.
#include "services/write_cache.h"

#include <cstddef>

#include "channel/command.h"
#include "channel/command_buffer.h"
#include "channel/management_channel.h"
#include "plugin/trace.h"
#include "services/member_drives.h"
#include "services/service_frame.h"

namespace {

/// Controller parameters, as sensed and set. Bytes between the fields go back as they came.
///
///   offset  width  field
///      125  u8     driveConfigFlags   bit 0: write cache of the controller's drives
struct [[gnu::packed]] vlexControllerParameters {
  uint8_t unread1[125];
  uint8_t driveConfigFlags;
  uint8_t unread2[386];
};
static_assert(offsetof(vlexControllerParameters, driveConfigFlags) == 125);
static_assert(sizeof(vlexControllerParameters) == 512);

constexpr uint8_t kDriveCache = 1;

/// Cache configuration, as sensed and set: this fixed part, then four bitmaps with one bit for each logical drive.
/// Little-endian; bytes between the fields go back as they came.
///
///   offset  width  field
///        9  u16    offsetToECDU              bytes from the start of the buffer to the bitmap that is changed
///       11  u16    offsetToECF
///       13  u16    offsetToERCDU
///       16  u32    totalStructLength
///       20  u16    MaxLogicalUnitsSupported  bits of each bitmap
///       22  u16    offsetToEWCDU             the last bitmap
///       24  u32    fixedFieldsLength
struct [[gnu::packed]] vlexCacheConfiguration {
  uint8_t unread1[9];
  uint16_t offsetToECDU;
  uint16_t offsetToECF;
  uint16_t offsetToERCDU;
  uint8_t unread2;
  uint32_t totalStructLength;
  uint16_t MaxLogicalUnitsSupported;
  uint16_t offsetToEWCDU;
  uint32_t fixedFieldsLength;
  uint8_t unread3[239];
};
static_assert(offsetof(vlexCacheConfiguration, offsetToECDU) == 9);
static_assert(offsetof(vlexCacheConfiguration, offsetToECF) == 11);
static_assert(offsetof(vlexCacheConfiguration, offsetToERCDU) == 13);
static_assert(offsetof(vlexCacheConfiguration, totalStructLength) == 16);
static_assert(offsetof(vlexCacheConfiguration, MaxLogicalUnitsSupported) == 20);
static_assert(offsetof(vlexCacheConfiguration, offsetToEWCDU) == 22);
static_assert(offsetof(vlexCacheConfiguration, fixedFieldsLength) == 24);
static_assert(sizeof(vlexCacheConfiguration) == 267);

void traceConfiguration(const char* function, const vlexCacheConfiguration& reply) {
  DMU_TRACE(function, "MaxLogicalUnitsSupported = 0x%x\n", reply.MaxLogicalUnitsSupported);
  DMU_TRACE(function, "fixedFieldsLength = 0x%x\n", reply.fixedFieldsLength);
  DMU_TRACE(function, "totalStructLength = 0x%x\n", reply.totalStructLength);
  DMU_TRACE(function, "Sizeof(vlexCacheConfiguration) = 0x%x\n", static_cast<unsigned>(sizeof(reply)));
  DMU_TRACE(function, "offsetToECDU = 0x%x\n", reply.offsetToECDU);
  DMU_TRACE(function, "offsetToECF =0x%x\n", reply.offsetToECF);
  DMU_TRACE(function, "offsetToERCDU = 0x%x\n", reply.offsetToERCDU);
  DMU_TRACE(function, "offsetToEWCDU =0x%x\n", reply.offsetToEWCDU);
}

/// Changes the drive's bit in the bitmap, all of which lies in the buffer.
/// @return whether the drive has a bit
[[nodiscard]] bool changeBit(vlexCacheConfiguration& configuration, uint32_t driveNumber, bool set) {
  if (driveNumber >= configuration.MaxLogicalUnitsSupported) return false;
  uint8_t* bitmap = reinterpret_cast<uint8_t*>(&configuration) + configuration.offsetToECDU;
  if (set) {
    dmu::setBit(bitmap, driveNumber);
  } else {
    dmu::clearBit(bitmap, driveNumber);
  }
  return true;
}

/// @return 0, or why nothing was changed
[[nodiscard]] int changeDevice(const char* function, OrvaInfo& info, OrvaInfo_Devices& device, int mode) {
  if (!dmu::isVolume(device.lunAddress)) return OrvaInfo_CtrlParameter(&info, mode);
  if (device.external != 0) {
    DMU_TRACE(function, "Physical Location: external.\n");
    return -1;
  }
  return OrvaInfo_CacheConfiguration(&info, &device, mode == 0 ? 1 : 0);
}

}  // namespace

int OrvaInfo_CacheControl(CtrlDevInfo* handle, int mode, std::string& error) {
  if (handle == nullptr) return -1;
  return dmu::withDevice(*handle, error, [&, function = __func__](OrvaInfo& info, OrvaInfo_Devices& device) {
    const int failed = changeDevice(function, info, device, mode);
    return failed != 0 ? failed : dmu::driveCount(device);
  });
}

int OrvaInfo_CtrlParameter(OrvaInfo* info, int mode) {
  if (info == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  const auto parameters = dmu::makeCommandBuffer<vlexControllerParameters>();
  if (parameters == nullptr) {
    DMU_TRACE(__func__, "Failed to allocate memory.\n");
    return -1;
  }
  constexpr uint32_t kLength = sizeof(vlexControllerParameters);
  if (const int failed = dmu::sendToController(kSenseControllerParameters, 0, parameters.get(), kLength, info);
      failed != 0) {
    return failed;
  }
  uint8_t& flags = parameters->driveConfigFlags;
  DMU_TRACE(__func__, "driveConfigFlags = 0x%x\n", flags);
  flags = static_cast<uint8_t>(mode != 0 ? flags | kDriveCache : flags & ~kDriveCache);
  return dmu::sendToController(kSetControllerParameters, 0, parameters.get(), kLength, info);
}

int OrvaInfo_CacheConfiguration(OrvaInfo* info, OrvaInfo_Devices* entry, int set) {
  if (info == nullptr || entry == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  if (!dmu::isVolume(entry->lunAddress)) return -1;
  // A reply that does not fit is asked for once more, when a command can ask for it at all.
  uint32_t length = dmu::roundUpTo512(sizeof(vlexCacheConfiguration) + info->maxLogicalDrivesSupported / 2);
  for (bool asked = false; length >= sizeof(vlexCacheConfiguration) && length <= kMaxTransfer; asked = true) {
    const auto configuration = dmu::makeCommandBuffer<vlexCacheConfiguration>(length);
    if (configuration == nullptr) {
      DMU_TRACE(__func__, "Failed to allocate memory.\n");
      return -1;
    }
    if (const int failed = dmu::sendToController(kSenseCacheConfiguration, 0, configuration.get(), length, info);
        failed != 0) {
      return failed;
    }
    traceConfiguration(__func__, *configuration);
    const uint16_t maxUnits = configuration->MaxLogicalUnitsSupported;
    if (maxUnits != info->maxLogicalDrivesSupported) {
      DMU_TRACE(__func__,
                "Error: inconsistent maxLogicalDrivesSupported or supported: Controller 0x%x, Cache config 0x%x.\n",
                info->maxLogicalDrivesSupported, maxUnits);
      return -1;
    }
    if (length > configuration->offsetToECDU + maxUnits / 2U) {
      if (!changeBit(*configuration, dmu::logicalDriveNumber(entry->lunAddress), set != 0)) return -1;
      return dmu::sendToController(kSetCacheConfiguration, 0, configuration.get(), length, info);
    }
    if (asked) return -1;
    length = dmu::roundUpTo512(configuration->offsetToEWCDU + maxUnits / 8U);
  }
  return -1;
}
