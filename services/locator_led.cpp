// Reading, marking and writing of the controller's blink buffer.
#include "services/locator_led.h"

#include <iterator>

#include "channel/command.h"
#include "channel/command_buffer.h"
#include "channel/management_channel.h"
#include "controller/physical_drive.h"
#include "diagnostics/snapshot_dump.h"
#include "plugin/trace.h"
#include "services/member_drives.h"
#include "services/service_frame.h"

namespace {

constexpr int kMaxSeconds = 86400;
constexpr uint8_t kBlink = 1;
constexpr uint32_t kFixedArraySize = std::size(vlexBlinkDriveLED{}.BlinkSeekEnable);

bool takesExtendedArray(const OrvaInfo& info) {
  return (info.ctrlFlags & dmu::kExtendedBlinkArray) != 0;
}

uint32_t blinkBufferLength(const OrvaInfo& info, bool extended) {
  return sizeof(vlexBlinkDriveLED) + (extended ? info.maxPhysDevicesSupported : 0U);
}

uint8_t* extendedArrayOf(vlexBlinkDriveLED& buffer) {
  return reinterpret_cast<uint8_t*>(&buffer + 1);
}

void switchBlink(uint8_t& enable, bool on) {
  enable = static_cast<uint8_t>(on ? enable | kBlink : enable & ~kBlink);
}

/// Marks one drive: in the fixed array when it has a place there, and in the extended one where that is in use.
/// @return whether the drive has a place in the array in use
[[nodiscard]] bool markDrive(const OrvaInfo& info, vlexBlinkDriveLED& buffer, uint32_t driveIndex, bool on) {
  const bool extended = takesExtendedArray(info);
  if (driveIndex >= (extended ? info.maxPhysDevicesSupported : kFixedArraySize)) return false;
  if (driveIndex < kFixedArraySize) switchBlink(buffer.BlinkSeekEnable[driveIndex], on);
  if (extended) switchBlink(extendedArrayOf(buffer)[driveIndex], on);
  return true;
}

/// @return whether every drive of the device has a place in the array in use
[[nodiscard]] bool markDevice(const OrvaInfo& info, vlexBlinkDriveLED& buffer, const OrvaInfo_Devices& device,
                              bool on) {
  if (!dmu::isVolume(device.lunAddress)) {
    return markDrive(info, buffer, OrvaInfo_GetBMICDeviceIndex(&device.lunAddress), on);
  }
  for (uint32_t index = 0; index < info.maxPhysDevicesSupported; ++index) {
    if (dmu::isMember(info, device, index) && !markDrive(info, buffer, index, on)) return false;
  }
  return true;
}

}  // namespace

int OrvaInfo_SetDriveLEDState(CtrlDevInfo* handle, unsigned int state, unsigned short seconds, std::string& error) {
  if (handle == nullptr) return -1;
  const auto dump = [handle, function = __func__](OrvaInfo& info) {
    DMU_TRACE(function, "OrvaInfo_SetDriveLEDState: C%d:T%d:L%d SN:%s\n", handle->channel, handle->target, handle->lun,
              handle->serialNumber.c_str());
    OrvaInfo_DumpOrvaInfo(&info);
  };
  return dmu::withDevice(*handle, error, dump, [&](OrvaInfo& info, OrvaInfo_Devices& device) {
    const int failed = OrvaInfo_BlinkDriveTrayLED(seconds, &device, &info, static_cast<char>(state & 0xFF));
    return failed != 0 ? 0 : dmu::driveCount(device);
  });
}

int OrvaInfo_BlinkDriveTrayLED(int seconds, OrvaInfo_Devices* device, OrvaInfo* info, char turnOn) {
  if (!dmu::channelIsOpen(__func__)) return -1;
  if (device == nullptr || info == nullptr || seconds > kMaxSeconds) return -1;
  if (dmu::isVolume(device->lunAddress) && !dmu::hasKnownMembers(*device)) return -1;
  const uint32_t length = blinkBufferLength(*info, takesExtendedArray(*info));
  const auto buffer = dmu::makeCommandBuffer<vlexBlinkDriveLED>(length);
  if (buffer == nullptr) {
    DMU_TRACE(__func__, "Failed to allocate memory.\n");
    return -1;
  }
  if (OrvaInfo_SenseBlinkDriveLED(info, buffer.get(), static_cast<int>(length)) != 0) return -1;
  buffer->BlinkDuration = static_cast<uint32_t>(seconds) * 10;
  if (!takesExtendedArray(*info) && info->maxPhysDevicesSupported > kFixedArraySize) {
    DMU_TRACE(__func__, "MaxPhysDevicesSupported(%d) is larget than fixed field blinking enable array (%u)\n",
              info->maxPhysDevicesSupported, kFixedArraySize);
    return -1;
  }
  if (!markDevice(*info, *buffer, *device, turnOn != 0)) return -1;
  buffer->MaxPhysicalDevicesSupported = info->maxPhysDevicesSupported;
  buffer->TotalStructureLength = length;
  const int status = dmu::sendToController(kBlinkDriveTrayLed, 0, buffer.get(), length, info);
  if (status != 0) DMU_TRACE(__func__, "Failed to blink drive LED.\n");
  return status;
}

int OrvaInfo_SenseBlinkDriveLED(OrvaInfo* info, vlexBlinkDriveLED* buffer, int length) {
  if (!dmu::channelIsOpen(__func__)) return -1;
  if (info == nullptr) return -1;
  dmu::CommandBuffer<vlexBlinkDriveLED> own;
  if (buffer == nullptr) {
    length = static_cast<int>(blinkBufferLength(*info, true));
    own = dmu::makeCommandBuffer<vlexBlinkDriveLED>(static_cast<uint32_t>(length));
    if (own == nullptr) {
      DMU_TRACE(__func__, "Failed to allocate memory.\n");
      return -1;
    }
    buffer = own.get();
  }
  if (static_cast<uint32_t>(length) > kMaxTransfer) return -1;
  const int status = dmu::sendToController(kSenseBlinkDriveLed, 0, buffer, static_cast<uint32_t>(length), info);
  if (status != 0) DMU_TRACE(__func__, "Failed to sense blink drive LED.\n");
  return status;
}

void OrvaInfo_DumpBlkLED(vlexBlinkDriveLED* buffer, int withArray) {
  if (buffer == nullptr) return;
  DMU_TRACE(__func__, "OrvaInfo_DumpBlkLED start:\n");
  DMU_TRACE(__func__, "BlinkDuration:0x%x\n", buffer->BlinkDuration);
  DMU_TRACE(__func__, "BlinkTimeElapsed:0x%x\n", buffer->BlinkTimeElapsed);
  DMU_TRACE(__func__, "BlinkSeekEnable:");
  if (withArray != 0) {
    for (const uint8_t enable : buffer->BlinkSeekEnable) DMU_TRACE(__func__, "%x", enable);
  }
  DMU_TRACE(__func__, "\n");
  DMU_TRACE(__func__, "OffsetToEBSEArray:0x%x\n", buffer->OffsetToEBSEArray);
  DMU_TRACE(__func__, "MaxPhysicalDevicesSupported:0x%x\n", buffer->MaxPhysicalDevicesSupported);
  DMU_TRACE(__func__, "TotalStructureLength:0x%x\n", buffer->TotalStructureLength);
  DMU_TRACE(__func__, "FixedFieldsLength:0x%x\n", buffer->FixedFieldsLength);
}
