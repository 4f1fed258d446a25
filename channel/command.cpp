// The layouts of the twelve commands, and their execution through the driver's pass-through callback.
#include "channel/command.h"

#include "plugin/trace.h"

namespace {

/// CDB byte 0. The BMIC command number of a read or write stands in byte 6; the reports are commands of their own.
enum class Family : uint8_t { bmicRead = 0x26, bmicWrite = 0x27, report };

/// Where `cmdParam` goes.
enum class Argument {
  none,
  logicalDrive,   ///< bits 0-7 in byte 1, bits 8-15 in byte 9
  physicalDrive,  ///< bits 0-7 in byte 2, bits 8-15 in byte 9
  reportFlags,    ///< bits 0-7 in byte 1
};

/// How the transfer length is written, big-endian.
enum class Length {
  inBytes,     ///< 16 bits in bytes 7 and 8
  inUnits256,  ///< 16 bits in bytes 7 and 8, in units of 256 bytes
  in32Bits,    ///< bytes 6 to 9
};

struct CommandLayout {
  Opcode opcode;
  Family family;
  Argument argument;
  Length length;
};

constexpr CommandLayout kLayouts[] = {
    {kIdentifyLogicalDevice, Family::bmicRead, Argument::logicalDrive, Length::inBytes},
    {kSenseLogicalDriveConfiguration, Family::bmicRead, Argument::logicalDrive, Length::inBytes},
    {kIdentifyController, Family::bmicRead, Argument::none, Length::inBytes},
    {kIdentifyPhysicalDevice, Family::bmicRead, Argument::physicalDrive, Length::inBytes},
    {kBlinkDriveTrayLed, Family::bmicWrite, Argument::none, Length::inBytes},
    {kSenseBlinkDriveLed, Family::bmicRead, Argument::none, Length::inBytes},
    {kSetControllerParameters, Family::bmicWrite, Argument::none, Length::inUnits256},
    {kSenseControllerParameters, Family::bmicRead, Argument::none, Length::inUnits256},
    {kSetCacheConfiguration, Family::bmicWrite, Argument::none, Length::inUnits256},
    {kSenseCacheConfiguration, Family::bmicRead, Argument::none, Length::inUnits256},
    {kReportLogicalLuns, Family::report, Argument::reportFlags, Length::in32Bits},
    {kReportPhysicalLuns, Family::report, Argument::reportFlags, Length::in32Bits},
};

constexpr uint8_t kBmicCdbLength = 10;
constexpr uint8_t kReportCdbLength = 12;
constexpr uint16_t kReportTimeout = 1000;

const CommandLayout* layoutOf(uint8_t opcode) {
  for (const CommandLayout& layout : kLayouts) {
    if (layout.opcode == opcode) return &layout;
  }
  return nullptr;
}

/// Byte `n` of a number, counted from its least significant one.
uint8_t byteOf(uint64_t number, unsigned n) {
  return static_cast<uint8_t>(number >> (8 * n));
}

void fillFamily(const CommandLayout& layout, pqi_ioctl_passthruCmd_struct& record) {
  if (layout.family == Family::report) {
    record.cdbLength = kReportCdbLength;
    record.timeout = kReportTimeout;
    return;
  }
  record.cdb[0] = static_cast<uint8_t>(layout.family);
  record.cdb[6] = layout.opcode;
  record.cdbLength = kBmicCdbLength;
  if (layout.family == Family::bmicWrite) record.typeAttrDir = kToController;
}

void fillArgument(Argument argument, uint64_t cmdParam, uint8_t (&cdb)[16]) {
  switch (argument) {
    case Argument::none:
      return;
    case Argument::logicalDrive:
      cdb[1] = byteOf(cmdParam, 0);
      cdb[9] = byteOf(cmdParam, 1);
      return;
    case Argument::physicalDrive:
      cdb[2] = byteOf(cmdParam, 0);
      cdb[9] = byteOf(cmdParam, 1);
      return;
    case Argument::reportFlags:
      cdb[1] = byteOf(cmdParam, 0);
      return;
  }
}

void fillLength(Length kind, uint32_t length, uint8_t (&cdb)[16]) {
  switch (kind) {
    case Length::inBytes:
      cdb[7] = byteOf(length, 1);
      cdb[8] = byteOf(length, 0);
      return;
    case Length::inUnits256:
      cdb[7] = byteOf(length, 2);
      cdb[8] = byteOf(length, 1);
      return;
    case Length::in32Bits:
      for (unsigned n = 0; n < 4; ++n) cdb[6 + n] = byteOf(length, 3 - n);
      return;
  }
}

}  // namespace

const vlexCmdLunAddress controllerAddress = {};

int32_t OrvaInfo_FillCmd(uint8_t opcode, uint16_t /*reserved*/, uint64_t cmdParam, void* buffer, int32_t length,
                         const vlexCmdLunAddress* address, pqi_ioctl_passthruCmd_struct* record) {
  record->lunAddress = *address;
  record->cdb[0] = opcode;
  record->typeAttrDir = kFromController;
  if (const CommandLayout* layout = layoutOf(opcode)) {
    fillFamily(*layout, *record);
    fillArgument(layout->argument, cmdParam, record->cdb);
    fillLength(layout->length, static_cast<uint32_t>(length), record->cdb);
  }
  record->bufferSize = static_cast<uint16_t>(length);
  record->buffer = reinterpret_cast<uintptr_t>(buffer);
  return 0;
}

int32_t OrvaInfo_ExeCmd(uint8_t opcode, uint16_t reserved, uint64_t cmdParam, void* buffer, int32_t length,
                        const vlexCmdLunAddress* address, OrvaInfo* ctrl) {
  if (address == nullptr || ctrl == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  pqi_ioctl_passthruCmd_struct record = {};
  OrvaInfo_FillCmd(opcode, reserved, cmdParam, buffer, length, address, &record);
  uint32_t instance = ctrl->slot;
  uint32_t status = 0;
  const int32_t code = vmk_MgmtUserCallbackInvokeInt(mgmtHandle, 0, kPassthru, 3, &instance, &record, &status);
  if (code != 0) {
    DMU_TRACE(__func__, "Failed to invoke callback, 0x%x.\n", static_cast<uint32_t>(code));
    return code;
  }
  if (status != 0) {
    DMU_TRACE(__func__, "Failed to execute command, error returned from driver, 0x%x.\n", status);
    return static_cast<int32_t>(status);
  }
  return 0;
}
