// The record that the driver's pass-through callback takes: one command to one device of a controller.
#pragma once

#include <cstddef>
#include <cstdint>

#include "channel/management_channel.h"
#include "controller/lun_address.h"

/// Packed, little-endian. The driver reads all of it and writes `errorInfo`.
///
///   offset  width   field
///        0  u8[8]   lunAddress    the target; the controller itself for every command of the plugin
///        8  u8      cdbLength     10 or 12
///        9  u8      typeAttrDir   bits 0-2 type, 3-5 attribute, 6-7 direction
///       10  u16     timeout       in the driver's own unit
///       12  u8[16]  cdb           the rest zero
///       28  u8[48]  errorInfo     the driver's; not read
///       76  u16     bufferSize    transfer length in bytes, its low 16 bits
///       78  u64     buffer        address of the caller's data buffer
struct [[gnu::packed]] pqi_ioctl_passthruCmd_struct {
  vlexCmdLunAddress lunAddress;
  uint8_t cdbLength;
  uint8_t typeAttrDir;
  uint16_t timeout;
  uint8_t cdb[16];
  uint8_t errorInfo[48];
  uint16_t bufferSize;
  uint64_t buffer;
};
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, lunAddress) == 0);
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, cdbLength) == 8);
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, typeAttrDir) == 9);
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, timeout) == 10);
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, cdb) == 12);
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, errorInfo) == 28);
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, bufferSize) == 76);
static_assert(offsetof(pqi_ioctl_passthruCmd_struct, buffer) == 78);
static_assert(sizeof(pqi_ioctl_passthruCmd_struct) == kPassthruRecordSize);

/// Values of `typeAttrDir`: a command of simple attribute (4), with data from or to the controller.
inline constexpr uint8_t kFromController = 2 << 6 | 4 << 3;
inline constexpr uint8_t kToController = 1 << 6 | 4 << 3;
static_assert(kFromController == 0xA0 && kToController == 0x60);
