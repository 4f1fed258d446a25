// The two report commands and the walk over their entries.
#include "controller/device_scan.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>

#include "channel/command.h"
#include "channel/command_buffer.h"
#include "channel/management_channel.h"
#include "controller/host_address.h"
#include "controller/index_bounds.h"
#include "controller/logical_drive.h"
#include "controller/physical_drive.h"
#include "plugin/trace.h"

namespace {

constexpr uint8_t kLastListedDeviceType = 4;

uint32_t listLengthOf(const vlexLunReportHeader& header) {
  const uint8_t* bytes = header.listLength;
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

/// Asks for the header of a report alone.
/// @return its list length; nothing when the command failed, or could not be sent for want of memory
std::optional<uint32_t> inquireListLength(Opcode report, uint64_t flags, OrvaInfo* info) {
  const auto header = dmu::makeCommandBuffer<vlexLunReportHeader>();
  if (header == nullptr) return std::nullopt;
  if (dmu::sendToController(report, flags, header.get(), sizeof(*header), info) != 0) return std::nullopt;
  return listLengthOf(*header);
}

/// What the scan can come to read of a report: as much as one command transfers, and from there on entries of zeros,
/// none of which is rejected, until the list is full.
constexpr uint32_t kMostRead = kMaxTransfer + (dmu::kMaxDevices + 1) * sizeof(vlexPhysicalLunExt);

/// No more is zeroed than can be read, so that a length that lies takes address space and nothing else.
/// @param listLength  as the controller announced it; one that no command can ask for counts as no memory
/// @return a buffer for the header and that many bytes of entries; null when memory ran out
template <typename Report>
dmu::CommandBuffer<Report> makeReportBuffer(uint32_t listLength) {
  if (listLength > INT32_MAX - sizeof(vlexLunReportHeader)) return nullptr;
  const auto length = static_cast<uint32_t>(listLength + sizeof(vlexLunReportHeader));
  return dmu::makeCommandBuffer<Report>(length, std::min(length, kMostRead));
}

template <typename Report>
int sendReport(Opcode report, uint64_t flags, const dmu::CommandBuffer<Report>& buffer, uint32_t listLength,
               OrvaInfo* info) {
  const auto length = static_cast<uint32_t>(listLength + sizeof(vlexLunReportHeader));
  return dmu::sendToController(report, flags, buffer.get(), length, info);
}

/// Entry `i` of a report, as its address.
template <typename Entry, typename Report>
vlexCmdLunAddress* entryOf(Report* report, uint32_t i) {
  return &(reinterpret_cast<Entry*>(report + 1) + i)->address;
}

OrvaInfo_Devices& nextFreeEntry(OrvaInfo* info) {
  return info->devices[info->deviceCount];
}

}  // namespace

int OrvaInfo_DeviceScan(OrvaInfo* info) {
  if (info == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  DMU_TRACE(__func__, "To scan logical device.\n");
  dmu::CommandBuffer<vlexLogicalLUNReport> logical;
  if (const std::optional<uint32_t> length = inquireListLength(kReportLogicalLuns, 0, info)) {
    DMU_TRACE(__func__, "Logical list length 0x%x\n", *length);
    logical = makeReportBuffer<vlexLogicalLUNReport>(*length);
    if (logical == nullptr) {
      DMU_TRACE(__func__, "Faied to allocated memory.\n");
      return 0;
    }
    if (sendReport(kReportLogicalLuns, 0, logical, *length, info) == 0) {
      OrvaInfo_UpdateScsiDevListLogical(logical.get(), info, *length);
    } else {
      DMU_TRACE(__func__, "Failed to execute Report Logical Lun.\n");
    }
  }

  DMU_TRACE(__func__, "To scan physical device.\n");
  const std::optional<uint32_t> length = inquireListLength(kReportPhysicalLuns, kExtendedReport, info);
  if (!length) return 0;
  DMU_TRACE(__func__, "Physical list length 0x%x\n", *length);
  const auto physical = makeReportBuffer<vlexPhysicalLUNReportExt>(*length);
  if (physical == nullptr) {
    DMU_TRACE(__func__, "Faied to allocated memory.\n");
    return 0;
  }
  if (sendReport(kReportPhysicalLuns, kExtendedReport, physical, *length, info) == 0) {
    OrvaInfo_UpdateScsiDevListPhysical(physical.get(), info, *length);
  } else {
    DMU_TRACE(__func__, "Failed to execute Reprot Physical LUN.\n");
  }
  return 0;
}

int OrvaInfo_UpdateScsiDevListLogical(vlexLogicalLUNReport* report, OrvaInfo* info, unsigned int firstLength) {
  if (report == nullptr || info == nullptr) return -1;
  if (OrvaInfo_DevListIsFull(info)) return 0;
  uint32_t length = listLengthOf(report->header);
  DMU_TRACE(__func__, "Length : %d, sizeof(vlexLogicalLunList): %u\n", length,
            static_cast<unsigned>(sizeof(vlexLogicalLunList)));
  if (firstLength < length) {
    DMU_TRACE(__func__,
              "Logical LUN report returned length is greater than first inquiry: 0x%x. Use that (0x%x) instead.\n",
              length, firstLength);
    length = firstLength;
  }
  const uint32_t count = length / sizeof(vlexLogicalLunList);
  const uint8_t* header = report->header.listLength;
  DMU_TRACE(__func__, "Logical LUNs detected: %d, %02x %02x %02x %02x \n", count, header[0], header[1], header[2],
            header[3]);
  for (uint32_t i = 0; i < count && !OrvaInfo_DevListIsFull(info); ++i) {
    const char external = i >= info->configuredLogicalDrives ? 1 : 0;
    OrvaInfo_UpdateSCSIDevice(entryOf<vlexLogicalLunList>(report, i), external, 0, &nextFreeEntry(info), info);
    ++info->deviceCount;
  }
  return 0;
}

int OrvaInfo_UpdateScsiDevListPhysical(vlexPhysicalLUNReportExt* report, OrvaInfo* info, unsigned int firstLength) {
  if (report == nullptr || info == nullptr) return -1;
  if (OrvaInfo_DevListIsFull(info)) return 0;
  uint32_t length = listLengthOf(report->header);
  if (firstLength < length) {
    DMU_TRACE(__func__, "Phy LUN report returned length is greater than first report: 0x%x. Use that (0x%x) instead.\n",
              length, firstLength);
    length = firstLength;
  }
  const uint32_t count = length / sizeof(vlexPhysicalLunExt);
  DMU_TRACE(__func__, "Physical LUNs detected: %d\n", count);
  int result = 0;
  for (uint32_t i = 0; i < count && !OrvaInfo_DevListIsFull(info); ++i) {
    result = OrvaInfo_UpdateSCSIDevice(entryOf<vlexPhysicalLunExt>(report, i), 0, report->header.format,
                                       &nextFreeEntry(info), info);
    if (result == 0) {
      ++info->deviceCount;
    } else {
      DMU_TRACE(__func__, "Failed to add physical lun %u\n", i);
      nextFreeEntry(info) = {};
    }
  }
  return result;
}

int OrvaInfo_UpdateSCSIDevice(vlexCmdLunAddress* address, char external, unsigned char format, OrvaInfo_Devices* entry,
                              OrvaInfo* info) {
  if (address == nullptr || entry == nullptr || info == nullptr) return -1;
  dmu::forgetIndexBounds(*info);
  if (dmu::isVolume(*address)) {
    std::copy_n(address->bytes, 4, entry->lunAddress.bytes);
    std::fill_n(entry->lunAddress.bytes + 4, 3, uint8_t{0});
    entry->external = static_cast<uint8_t>(external);
    (void)OrvaInfo_IdentifyLogicalDevice(info, entry);
    (void)OrvaInfo_SenseConfiguration(info, entry);
  } else {
    entry->lunAddress = *address;
    if (format == kExtendedReport) {
      const auto* extended = reinterpret_cast<const vlexPhysicalLunExt*>(address);
      std::memcpy(entry->wwid, extended->wwid, sizeof(entry->wwid));
      if (extended->peripheralDeviceType > kLastListedDeviceType) return -1;
    }
    (void)OrvaInfo_IdentifyPhysicalDevice(info, entry);
  }
  OrvaInfo_SetBTL(entry);
  return 0;
}

bool OrvaInfo_DevListIsFull(OrvaInfo* info) {
  return info == nullptr || info->deviceCount >= dmu::kMaxDevices;
}
