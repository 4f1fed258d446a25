// The device scan: turns the controller's two LUN reports into the snapshot's list of devices.
#pragma once

#include <cstddef>
#include <cstdint>

#include "controller/snapshot.h"

/// Format of a physical report whose entries carry WWID and device type; also the flags that ask for it.
inline constexpr uint8_t kExtendedReport = 2;

/// Header of both LUN reports; the entries follow it.
///
///   offset  width  field
///        0  u8[4]  listLength  big-endian: bytes of the entries
///        4  u8     format      physical report: kExtendedReport or another
///        5  u8[3]              reserved
struct vlexLunReportHeader {
  uint8_t listLength[4];
  uint8_t format;
  uint8_t reserved[3];
};
static_assert(offsetof(vlexLunReportHeader, listLength) == 0);
static_assert(offsetof(vlexLunReportHeader, format) == 4);
static_assert(sizeof(vlexLunReportHeader) == 8);

/// One entry of the logical report.
struct vlexLogicalLunList {
  vlexCmdLunAddress address;
};
static_assert(sizeof(vlexLogicalLunList) == 8);

/// Reply of report logical LUNs; vlexLogicalLunList entries follow.
struct vlexLogicalLUNReport {
  vlexLunReportHeader header;
};

/// One entry of the physical report.
///
///   offset  width  field
///        0  u8[8]  address
///        8  u8[8]  wwid
///       16  u8     peripheralDeviceType
///       17  u8[7]                        not read
struct vlexPhysicalLunExt {
  vlexCmdLunAddress address;
  uint8_t wwid[8];
  uint8_t peripheralDeviceType;
  uint8_t unread[7];
};
static_assert(offsetof(vlexPhysicalLunExt, address) == 0);
static_assert(offsetof(vlexPhysicalLunExt, wwid) == 8);
static_assert(offsetof(vlexPhysicalLunExt, peripheralDeviceType) == 16);
static_assert(sizeof(vlexPhysicalLunExt) == 24);

/// Reply of report physical LUNs, extended; vlexPhysicalLunExt entries follow.
struct vlexPhysicalLUNReportExt {
  vlexLunReportHeader header;
};

extern "C" {

/// Appends the controller's devices to the snapshot, whose limits must be known and whose list is empty.
/// @return 0 when the scan ran, also when a report failed or memory ran out: the devices found so far stay;
///         -1 for a null snapshot or a closed channel
int OrvaInfo_DeviceScan(OrvaInfo* info);

/// Appends the entries of a report.
/// @param report       the second reply, of 8 + `firstLength` bytes
/// @param firstLength  list length of the first inquiry, in bytes; no entry beyond it is read
/// @return 0; -1 for a null argument
int OrvaInfo_UpdateScsiDevListLogical(vlexLogicalLUNReport* report, OrvaInfo* info, unsigned int firstLength);

/// @return the result of the last OrvaInfo_UpdateSCSIDevice; 0 when nothing was added; -1 for a null argument
int OrvaInfo_UpdateScsiDevListPhysical(vlexPhysicalLUNReportExt* report, OrvaInfo* info, unsigned int firstLength);

/// Fills one entry of the list from a report entry, identification and host address included.
/// @param address   the report entry; of 24 bytes when it is a drive's in an extended report, else of 8
/// @param external  1 for a volume that is not the controller's own
/// @param format    the report's format
/// @param entry     zero-filled
/// @return 0 when the entry counts; -1 when it is rejected (a device type above 4) or an argument is null
int OrvaInfo_UpdateSCSIDevice(vlexCmdLunAddress* address, char external, unsigned char format, OrvaInfo_Devices* entry,
                              OrvaInfo* info);

/// @return whether no further device fits; true for null
bool OrvaInfo_DevListIsFull(OrvaInfo* info);
}
