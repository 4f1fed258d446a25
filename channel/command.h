// Commands to a controller: how each is laid out, and the one way to send it.
#pragma once

#include <cstdint>

#include "channel/passthrough_record.h"
#include "controller/snapshot.h"

/// The commands that the plugin sends. All but the two reports are BMIC commands.
enum Opcode : uint8_t {
  kIdentifyLogicalDevice = 0x10,
  kIdentifyController = 0x11,
  kIdentifyPhysicalDevice = 0x15,
  kBlinkDriveTrayLed = 0x16,
  kSenseBlinkDriveLed = 0x17,
  kSenseLogicalDriveConfiguration = 0x50,
  kSetControllerParameters = 0x63,
  kSenseControllerParameters = 0x64,
  kSetCacheConfiguration = 0xC0,
  kSenseCacheConfiguration = 0xC1,
  kReportLogicalLuns = 0xC2,
  kReportPhysicalLuns = 0xC3,
};

/// What one command can transfer: its record carries the length in 16 bits.
inline constexpr uint32_t kMaxTransfer = 65535;

extern "C" {

/// The address of the controller itself: eight zero bytes.
extern const vlexCmdLunAddress controllerAddress;

/// Lays out a command.
///
/// @param opcode    one of Opcode; any other gets the common part alone
/// @param reserved  0
/// @param cmdParam  logical drive number, BMIC drive index or report flags, by opcode
/// @param buffer    data buffer of `length` bytes, borrowed until the command has ended
/// @param record    zero-filled
/// @return 0
int32_t OrvaInfo_FillCmd(uint8_t opcode, uint16_t reserved, uint64_t cmdParam, void* buffer, int32_t length,
                         const vlexCmdLunAddress* address, pqi_ioctl_passthruCmd_struct* record);

/// Sends a command and returns when the driver has finished it. The arguments are those of OrvaInfo_FillCmd.
///
/// @param ctrl  snapshot whose `slot` names the controller
/// @return 0 when the driver reports success; -1 when the command was not sent (a null argument, no open channel);
///         else the management call's code or the driver's status, and the buffer holds nothing of use
int32_t OrvaInfo_ExeCmd(uint8_t opcode, uint16_t reserved, uint64_t cmdParam, void* buffer, int32_t length,
                        const vlexCmdLunAddress* address, OrvaInfo* ctrl);
}

namespace dmu {

/// Sends a command to the controller itself, as every caller does.
[[nodiscard]] inline int32_t sendToController(Opcode opcode, uint64_t cmdParam, void* buffer, uint32_t length,
                                              OrvaInfo* info) {
  return OrvaInfo_ExeCmd(opcode, 0, cmdParam, buffer, static_cast<int32_t>(length), &controllerAddress, info);
}

}  // namespace dmu
