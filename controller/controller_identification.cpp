// Identify controller (BMIC 0x11).
#include "controller/controller_identification.h"

#include <cstddef>

#include "channel/command.h"
#include "channel/command_buffer.h"
#include "channel/management_channel.h"
#include "plugin/trace.h"

namespace {

/// Reply of identify controller. Little-endian.
///
///   offset  width  field
///        0  u8     configuredLogicalDrives          0xFF: the count is at offset 154
///      152  u16    maxLogicalDrivesSupported
///      154  u16    configuredLogicalDrives16
///      156  u16    maxPhysDevicesSupported
///      158  u16    maxPhysDrivesPerLogicalUnit
///      162  u16    extendedBlinkArray               nonzero: the controller takes it
struct [[gnu::packed]] vlexIdentifyController {
  uint8_t configuredLogicalDrives;
  uint8_t unread1[151];
  uint16_t maxLogicalDrivesSupported;
  uint16_t configuredLogicalDrives16;
  uint16_t maxPhysDevicesSupported;
  uint16_t maxPhysDrivesPerLogicalUnit;
  uint8_t unread2[2];
  uint16_t extendedBlinkArray;
  uint8_t unread3[348];
};
static_assert(offsetof(vlexIdentifyController, configuredLogicalDrives) == 0);
static_assert(offsetof(vlexIdentifyController, maxLogicalDrivesSupported) == 152);
static_assert(offsetof(vlexIdentifyController, configuredLogicalDrives16) == 154);
static_assert(offsetof(vlexIdentifyController, maxPhysDevicesSupported) == 156);
static_assert(offsetof(vlexIdentifyController, maxPhysDrivesPerLogicalUnit) == 158);
static_assert(offsetof(vlexIdentifyController, extendedBlinkArray) == 162);
static_assert(sizeof(vlexIdentifyController) == 512);

constexpr uint8_t kCountIsIn16Bits = 0xFF;

}  // namespace

int OrvaInfo_GetInfoFromCtrl(OrvaInfo* info) {
  if (info == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  const auto reply = dmu::makeCommandBuffer<vlexIdentifyController>();
  if (reply == nullptr) {
    DMU_TRACE(__func__, "Failed to allocated memory.\n");
    return -1;
  }
  if (const int failed = dmu::sendToController(kIdentifyController, 0, reply.get(), sizeof(*reply), info);
      failed != 0) {
    DMU_TRACE(__func__, "Failed to exec identify controller.\n");
    return failed;
  }
  info->configuredLogicalDrives = reply->configuredLogicalDrives == kCountIsIn16Bits ? reply->configuredLogicalDrives16
                                                                                     : reply->configuredLogicalDrives;
  info->maxPhysDrivesPerLogicalUnit = reply->maxPhysDrivesPerLogicalUnit;
  info->maxPhysDevicesSupported = reply->maxPhysDevicesSupported;
  info->maxLogicalDrivesSupported = reply->maxLogicalDrivesSupported;
  info->ctrlFlags = static_cast<uint8_t>(info->ctrlFlags & ~dmu::kExtendedBlinkArray);
  if (reply->extendedBlinkArray != 0) info->ctrlFlags |= dmu::kExtendedBlinkArray;
  DMU_TRACE(__func__, "Local(configured logical drives)s: 0x%x\n", info->configuredLogicalDrives);
  return 0;
}
