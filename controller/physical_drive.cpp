// Identify physical device (BMIC 0x15) and the serial number in its reply.
#include "controller/physical_drive.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "channel/command.h"
#include "channel/command_buffer.h"
#include "channel/management_channel.h"
#include "plugin/trace.h"

namespace {

/// Reply of identify physical device. The texts are not necessarily terminated.
///
///   offset  width    field
///       52  u8[40]   serialNumber           padded text
///      114  u8       box                    on the port
///      115  u8       bay                    in the box
///     1772  u8[20]   UniqueInquiryResponse  text
///     1792  u8       currentTemperature     as the controller reports it
///     1794  u8       maximumTemperature
///     1798  u8[10]   switchName             text
///     1951  u8[64]   ConnectorName          text
///     2015  u8[16]   deviceIdentifier
///     2543  u8[8]    BoxConnectorName       text
struct [[gnu::packed]] vlexIdentifyPhysicalDevice {
  uint8_t unread1[52];
  uint8_t serialNumber[40];
  uint8_t unread2[22];
  uint8_t box;
  uint8_t bay;
  uint8_t unread3[1656];
  char UniqueInquiryResponse[20];
  uint8_t currentTemperature;
  uint8_t unread4;
  uint8_t maximumTemperature;
  uint8_t unread5[3];
  char switchName[10];
  uint8_t unread6[143];
  char ConnectorName[64];
  uint8_t deviceIdentifier[16];
  uint8_t unread7[512];
  char BoxConnectorName[8];
  uint8_t unread8[9];
};
static_assert(offsetof(vlexIdentifyPhysicalDevice, serialNumber) == 52);
static_assert(offsetof(vlexIdentifyPhysicalDevice, box) == 114);
static_assert(offsetof(vlexIdentifyPhysicalDevice, bay) == 115);
static_assert(offsetof(vlexIdentifyPhysicalDevice, UniqueInquiryResponse) == 1772);
static_assert(offsetof(vlexIdentifyPhysicalDevice, currentTemperature) == 1792);
static_assert(offsetof(vlexIdentifyPhysicalDevice, maximumTemperature) == 1794);
static_assert(offsetof(vlexIdentifyPhysicalDevice, switchName) == 1798);
static_assert(offsetof(vlexIdentifyPhysicalDevice, ConnectorName) == 1951);
static_assert(offsetof(vlexIdentifyPhysicalDevice, deviceIdentifier) == 2015);
static_assert(offsetof(vlexIdentifyPhysicalDevice, BoxConnectorName) == 2543);
static_assert(sizeof(vlexIdentifyPhysicalDevice) == 2560);

bool isPrintable(uint8_t byte) {
  return byte >= 0x20 && byte <= 0x7E;
}

}  // namespace

uint32_t OrvaInfo_GetBMICDeviceIndex(const vlexCmdLunAddress* address) {
  if (address == nullptr || dmu::isVolume(*address)) return dmu::kNoDriveIndex;
  return dmu::driveIndex(*address);
}

int OrvaInfo_IdentifyPhysicalDevice(OrvaInfo* info, OrvaInfo_Devices* entry) {
  if (entry == nullptr) return -1;
  const uint32_t index = OrvaInfo_GetBMICDeviceIndex(&entry->lunAddress);
  return OrvaInfo_IdentifyPhysicalDevieWithBMICInex(info, entry, static_cast<int>(index));
}

int OrvaInfo_IdentifyPhysicalDevieWithBMICInex(OrvaInfo* info, OrvaInfo_Devices* entry, int index) {
  if (info == nullptr || entry == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  const auto reply = dmu::makeCommandBuffer<vlexIdentifyPhysicalDevice>();
  if (reply == nullptr) {
    DMU_TRACE(__func__, "Failed to allocate memory.\n");
    return -1;
  }
  const auto cmdParam = static_cast<uint64_t>(int64_t{index});
  if (const int failed = dmu::sendToController(kIdentifyPhysicalDevice, cmdParam, reply.get(), sizeof(*reply), info);
      failed != 0) {
    return failed;
  }
  entry->box = reply->box;
  entry->bay = reply->bay;
  entry->currentTemperature = reply->currentTemperature;
  entry->maximumTemperature = reply->maximumTemperature;
  (void)OrvaInfo_ParseSerialNo(reply->serialNumber, sizeof(reply->serialNumber), entry);
  std::memcpy(entry->deviceId, reply->deviceIdentifier, sizeof(reply->deviceIdentifier));
  entry->deviceIdLength = sizeof(reply->deviceIdentifier);
  DMU_TRACE(__func__, "BoxConnectorName: %8.8s\n", reply->BoxConnectorName);
  DMU_TRACE(__func__, "ConnectorName: %64.64s\n", reply->ConnectorName);
  std::memcpy(entry->portName, reply->ConnectorName, sizeof(entry->portName));
  DMU_TRACE(__func__, "Switch name: %10.10s\n", reply->switchName);
  DMU_TRACE(__func__, "UniqueInquiryResponse: %20.20s\n", reply->UniqueInquiryResponse);
  return 0;
}

int OrvaInfo_ParseSerialNo(unsigned char* text, unsigned char length, OrvaInfo_Devices* entry) {
  if (text == nullptr || entry == nullptr) return -1;
  const uint8_t* begin = text;
  const uint8_t* end = text + length;
  while (begin != end && *begin == ' ') ++begin;
  while (end != begin && !isPrintable(end[-1])) --end;
  if (begin == end) return -1;
  const auto stored = std::min<size_t>(static_cast<size_t>(end - begin), sizeof(entry->serialNo) - 1);
  std::memcpy(entry->serialNo, begin, stored);
  entry->serialNo[stored] = '\0';
  entry->serialNoLength = static_cast<uint8_t>(stored);
  return 0;
}
