// Identify logical device (BMIC 0x10) and sense logical drive configuration (BMIC 0x50).
#include "controller/logical_drive.h"

#include <cstring>

#include "channel/command.h"
#include "channel/command_buffer.h"
#include "channel/management_channel.h"
#include "plugin/trace.h"
#include <dmu/plugin.h>

namespace {

/// Reply of identify logical device. Little-endian.
///
///   offset  width    field
///       23  u8       externalBoxId
///       26  u32      LogicalDriveId
///       30           label           terminated text; its length is not known
///      102  u8[16]   UniqueVolumeId
struct [[gnu::packed]] vlexIdentifyLogicalDevice {
  uint8_t unread1[23];
  uint8_t externalBoxId;
  uint8_t unread2[2];
  uint32_t LogicalDriveId;
  char label[72];
  uint8_t UniqueVolumeId[16];
  uint8_t unread3[394];
};
static_assert(offsetof(vlexIdentifyLogicalDevice, externalBoxId) == 23);
static_assert(offsetof(vlexIdentifyLogicalDevice, LogicalDriveId) == 26);
static_assert(offsetof(vlexIdentifyLogicalDevice, label) == 30);
static_assert(offsetof(vlexIdentifyLogicalDevice, UniqueVolumeId) == 102);
static_assert(sizeof(vlexIdentifyLogicalDevice) == 512);

/// What the label may take up to its terminator: the rest of the reply.
constexpr int kMaxLabel = sizeof(vlexIdentifyLogicalDevice) - offsetof(vlexIdentifyLogicalDevice, label);

void traceIdentity(const char* function, const vlexIdentifyLogicalDevice& reply) {
  const uint8_t* id = reply.UniqueVolumeId;
  DMU_TRACE(function, "LocialDriveLabel: %.*s\n", kMaxLabel, reply.label);
  DMU_TRACE(function, "UniqueVolumeId : %02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x\n", id[0],
            id[1], id[2], id[3], id[4], id[5], id[6], id[7], id[8], id[9], id[10], id[11], id[12], id[13], id[14],
            id[15]);
  DMU_TRACE(function, "LogicalDriveId: 0x%x\n", reply.LogicalDriveId);
}

void traceConfiguration(const char* function, const vlexSenseConfiguration& reply) {
  DMU_TRACE(function, "LogicalUnitPhysicalDriveCount = 0x%x\n", reply.LogicalUnitPhysicalDriveCount);
  DMU_TRACE(function, "ControllerPhysicalDriveCount = 0x%x\n", reply.ControllerPhysicalDriveCount);
  DMU_TRACE(function, "MaxPhysicalDrivesPerLogicalUnit = 0x%x\n", reply.MaxPhysicalDrivesPerLogicalUnit);
  DMU_TRACE(function, "MaxPhysicalDevicesSupported = 0x%x\n", reply.MaxPhysicalDevicesSupported);
  DMU_TRACE(function, "FixedFiledsLength = 0x%x\n", reply.FixedFiledsLength);
  DMU_TRACE(function, "Sizeof(vlexSenseConfiguration) = 0x%x\n", static_cast<unsigned>(sizeof(reply)));
  DMU_TRACE(function, "OffsetToEDABitmap = 0x%x\n", reply.OffsetToEDABitmap);
  DMU_TRACE(function, "OffsetToESABitmap =0x%x\n", reply.OffsetToESABitmap);
  DMU_TRACE(function, "TotalStructureLength = 0x%x\n", reply.TotalStructureLength);
}

bool isConsistent(const vlexSenseConfiguration& reply, const OrvaInfo& info) {
  return reply.MaxPhysicalDrivesPerLogicalUnit == info.maxPhysDrivesPerLogicalUnit &&
         reply.MaxPhysicalDevicesSupported == info.maxPhysDevicesSupported;
}

/// Replaces the entry's member map by the one in the reply, which holds all of it.
void storeMemberMap(const char* function, const vlexSenseConfiguration& reply, const OrvaInfo& info,
                    OrvaInfo_Devices& entry) {
  const uint32_t size = dmu::memberMapSize(info);
  std::free(entry.raidMap);
  entry.raidMap = static_cast<uint8_t*>(std::malloc(size));
  if (entry.raidMap == nullptr) {
    DMU_TRACE(function, "Failed to allocate memory.\n");
    return;
  }
  std::memcpy(entry.raidMap, reinterpret_cast<const uint8_t*>(&reply) + reply.OffsetToEDABitmap, size);
  DMU_TRACE(function, "Raid Map is ready.\n");
}

}  // namespace

int OrvaInfo_IdentifyLogicalDevice(OrvaInfo* info, OrvaInfo_Devices* entry) {
  if (info == nullptr || entry == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  const auto reply = dmu::makeCommandBuffer<vlexIdentifyLogicalDevice>();
  if (reply == nullptr) {
    DMU_TRACE(__func__, "Failed to allocate memoyr.\n");
    return -1;
  }
  const uint32_t number = dmu::logicalDriveNumber(entry->lunAddress);
  if (const int failed = dmu::sendToController(kIdentifyLogicalDevice, number, reply.get(), sizeof(*reply), info);
      failed != 0) {
    return failed;
  }
  std::memcpy(entry->uuid, reply->UniqueVolumeId, sizeof(entry->uuid));
  entry->box = reply->externalBoxId;
  entry->logicalDriveId = reply->LogicalDriveId;
  traceIdentity(__func__, *reply);
  return 0;
}

int OrvaInfo_SenseConfiguration(OrvaInfo* info, OrvaInfo_Devices* entry) {
  if (info == nullptr || entry == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  const uint32_t number = dmu::logicalDriveNumber(entry->lunAddress);
  // A reply that does not fit is asked for once more. A bitmap so far off that no command can ask for it is
  // inconsistent.
  uint32_t length = dmu::roundUpTo512(sizeof(vlexSenseConfiguration) + info->maxPhysDevicesSupported / 4);
  for (bool asked = false; length <= kMaxTransfer; asked = true) {
    const auto reply = dmu::makeCommandBuffer<vlexSenseConfiguration>(length);
    if (reply == nullptr) {
      DMU_TRACE(__func__, "Failed to allocate memory.\n");
      return -1;
    }
    if (!dmu::isVolume(entry->lunAddress)) return -1;
    if (const int failed = dmu::sendToController(kSenseLogicalDriveConfiguration, number, reply.get(), length, info);
        failed != 0) {
      return failed;
    }
    traceConfiguration(__func__, *reply);
    entry->physicalDisks = static_cast<uint8_t>(reply->LogicalUnitPhysicalDriveCount);
    entry->raidLevel = static_cast<uint32_t>(OrvaInfo_RAIDLevel(reply.get()));
    if (!isConsistent(*reply, *info)) break;
    if (length > reply->OffsetToEDABitmap + dmu::memberMapSize(*info)) {
      storeMemberMap(__func__, *reply, *info, *entry);
      return 0;
    }
    if (asked) return 0;
    length = reply->OffsetToEDABitmap + reply->MaxPhysicalDevicesSupported / 4U;
  }
  DMU_TRACE(__func__, "Error: inconsistent MaxPhysDrivesPerLogicalUnit or supported.\n");
  return 0;
}

int OrvaInfo_RAIDLevel(vlexSenseConfiguration* reply) {
  switch (reply->faultTolerance) {
    case 0:
      return kDmuRaid0;
    case 1:
      return kDmuRaid4;
    case 2:
      return reply->LogicalUnitPhysicalDriveCount < 3 ? kDmuRaid1 : kDmuRaid10;
    case 3:
    case 4:
      return kDmuRaid5;
    case 5:
      return kDmuRaid6;
    default:
      return kDmuRaidLevelUnknown;
  }
}
