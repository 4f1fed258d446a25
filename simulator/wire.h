// The wire formats of the driver and its controllers as they are seen from the driver's side: the platform's records,
// the pass-through record, and the replies and data of the twelve commands.
//
// All are packed and little-endian, as the machine is; what is big-endian on the wire has a type of its own. Names are
// this side's own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace simulator::wire {

/// A 32-bit number with its most significant byte first.
struct BigEndian32 {
  uint8_t bytes[4];
  constexpr void set(uint32_t value) {
    for (int i = 3; i >= 0; --i, value >>= 8) bytes[i] = static_cast<uint8_t>(value);
  }
  [[nodiscard]] constexpr uint32_t value() const {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
  }
};
static_assert(BigEndian32{{1, 2, 3, 4}}.value() == 0x01020304);

// ---------------------------------------------------------------------------------------------------------------------
// The driver's management interface.

/// Entry of the callback table. Offsets after the pointer are 4 more on a 64-bit host.
///
///    0 location  4 callback  8 synchronous  9 parameterCount  12 sizes  28 directions  44 id
struct [[gnu::packed]] CallbackEntry {
  uint32_t location;
  const void* callback;
  uint8_t synchronous;
  uint8_t parameterCount;
  uint16_t zero;
  uint32_t sizes[4];
  uint32_t directions[4];  // 0 into the driver, 1 out of it, 2 both
  uint64_t id;
};
inline constexpr size_t kPointer = sizeof(void*);
static_assert(offsetof(CallbackEntry, callback) == 4);
static_assert(offsetof(CallbackEntry, synchronous) == 4 + kPointer);
static_assert(offsetof(CallbackEntry, parameterCount) == 5 + kPointer);
static_assert(offsetof(CallbackEntry, zero) == 6 + kPointer);
static_assert(offsetof(CallbackEntry, sizes) == 8 + kPointer);
static_assert(offsetof(CallbackEntry, directions) == 24 + kPointer);
static_assert(offsetof(CallbackEntry, id) == 40 + kPointer);
static_assert(sizeof(CallbackEntry) == 48 + kPointer);

/// What a caller presents to open a channel: 76 bytes on a 32-bit host, 80 on a 64-bit one.
struct [[gnu::packed]] InterfaceSignature {
  uint32_t version;
  char name[32];
  char vendor[32];
  uint32_t callbackCount;
  const CallbackEntry* callbacks;
};
static_assert(offsetof(InterfaceSignature, name) == 4);
static_assert(offsetof(InterfaceSignature, vendor) == 36);
static_assert(offsetof(InterfaceSignature, callbackCount) == 68);
static_assert(offsetof(InterfaceSignature, callbacks) == 72);
static_assert(sizeof(InterfaceSignature) == 72 + kPointer);

/// The driver's controllers: the position of an entry is the instance number.
struct [[gnu::packed]] InstanceEntry {
  uint32_t id;  // kUnusedInstance: no controller here
  uint8_t reserved[8];
  char name[156];  // HBA name
};
inline constexpr uint32_t kUnusedInstance = 0xFFFFFFFF;
inline constexpr uint32_t kInstances = 10;
static_assert(offsetof(InstanceEntry, name) == 12);
static_assert(sizeof(InstanceEntry) == 168);

struct [[gnu::packed]] InstanceList {
  uint8_t reserved[96];
  InstanceEntry entries[kInstances];
};
static_assert(offsetof(InstanceList, entries) == 96);
static_assert(sizeof(InstanceList) == 1776);

// ---------------------------------------------------------------------------------------------------------------------
// The pass-through record.

/// Address of a device behind a controller; all zero is the controller itself.
///
///    0 word: number of a volume  3 bits 7-6: kind  6 target of a drive  7 bits 5-0: bus of a drive, from 1
struct [[gnu::packed]] LunAddress {
  uint32_t word;
  uint8_t reserved[2];
  uint8_t target;
  uint8_t bus;
};
inline constexpr uint32_t kVolumeKind = 0x40000000;
inline constexpr uint32_t kMaskedKind = 0xC0000000;
inline constexpr uint32_t kVolumeNumberMask = 0x3FFFFFFF;
static_assert(offsetof(LunAddress, target) == 6);
static_assert(offsetof(LunAddress, bus) == 7);
static_assert(sizeof(LunAddress) == 8);

///    0 address  8 cdbLength  9 typeAttributeDirection  10 timeout  12 cdb  28 errorInfo  76 bufferSize  78 buffer
struct [[gnu::packed]] PassthruRecord {
  LunAddress address;
  uint8_t cdbLength;
  uint8_t typeAttributeDirection;
  uint16_t timeout;
  uint8_t cdb[16];
  uint8_t errorInfo[48];
  uint16_t bufferSize;  // the low 16 bits of the length
  uint64_t buffer;      // address in the caller's process
};
inline constexpr uint8_t kReadDirection = 0xA0;   // type 0, attribute 4, direction 2
inline constexpr uint8_t kWriteDirection = 0x60;  // type 0, attribute 4, direction 1
static_assert(offsetof(PassthruRecord, cdbLength) == 8);
static_assert(offsetof(PassthruRecord, typeAttributeDirection) == 9);
static_assert(offsetof(PassthruRecord, timeout) == 10);
static_assert(offsetof(PassthruRecord, cdb) == 12);
static_assert(offsetof(PassthruRecord, errorInfo) == 28);
static_assert(offsetof(PassthruRecord, bufferSize) == 76);
static_assert(offsetof(PassthruRecord, buffer) == 78);
static_assert(sizeof(PassthruRecord) == 86);

// ---------------------------------------------------------------------------------------------------------------------
// Replies of the commands that read, and data of those that write.

/// Report logical LUNs (entries of 8 bytes) and report physical LUNs (24 bytes each when extended).
struct [[gnu::packed]] ReportHeader {
  BigEndian32 listLength;  // bytes of entries, whatever fits the caller's buffer
  uint8_t format;          // kExtendedReport: the entries carry a WWID and a device type
  uint8_t reserved[3];
};
inline constexpr uint8_t kExtendedReport = 2;
static_assert(offsetof(ReportHeader, format) == 4);
static_assert(sizeof(ReportHeader) == 8);

struct [[gnu::packed]] ExtendedReportEntry {
  LunAddress address;
  uint8_t wwid[8];
  uint8_t deviceType;
  uint8_t reserved[7];
};
static_assert(offsetof(ExtendedReportEntry, wwid) == 8);
static_assert(offsetof(ExtendedReportEntry, deviceType) == 16);
static_assert(sizeof(ExtendedReportEntry) == 24);

struct [[gnu::packed]] IdentifyController {
  uint8_t localVolumes;  // kManyVolumes: see localVolumes16
  uint8_t reserved1[151];
  uint16_t maxLogicalDrives;
  uint16_t localVolumes16;
  uint16_t maxPhysicalDevices;
  uint16_t maxDrivesPerLogicalUnit;
  uint8_t reserved160[2];
  uint16_t extendedBlinkArray;  // not 0: the blink buffer has the extended array
  uint8_t reserved164[348];
};
inline constexpr uint8_t kManyVolumes = 0xFF;
static_assert(offsetof(IdentifyController, maxLogicalDrives) == 152);
static_assert(offsetof(IdentifyController, localVolumes16) == 154);
static_assert(offsetof(IdentifyController, maxPhysicalDevices) == 156);
static_assert(offsetof(IdentifyController, maxDrivesPerLogicalUnit) == 158);
static_assert(offsetof(IdentifyController, extendedBlinkArray) == 162);
static_assert(sizeof(IdentifyController) == 512);

struct [[gnu::packed]] IdentifyLogicalDevice {
  uint8_t reserved0[23];
  uint8_t externalBoxId;
  uint8_t reserved24[2];
  uint32_t logicalDriveId;
  char label[64];
  uint8_t reserved94[8];
  uint8_t uniqueVolumeId[16];
  uint8_t reserved118[394];
};
static_assert(offsetof(IdentifyLogicalDevice, externalBoxId) == 23);
static_assert(offsetof(IdentifyLogicalDevice, logicalDriveId) == 26);
static_assert(offsetof(IdentifyLogicalDevice, label) == 30);
static_assert(offsetof(IdentifyLogicalDevice, uniqueVolumeId) == 102);
static_assert(sizeof(IdentifyLogicalDevice) == 512);

/// Followed by two bitmaps of maxPhysicalDevices / 8 bytes, one bit a drive index: members and spares.
struct [[gnu::packed]] SenseConfiguration {
  uint8_t reserved0[8];
  uint16_t controllerDrives;
  uint16_t memberDrives;
  uint16_t faultTolerance;
  uint8_t reserved14[236];
  uint16_t membersAt;
  uint16_t sparesAt;
  uint8_t reserved254[2];
  uint32_t totalLength;
  uint16_t maxPhysicalDevices;
  uint16_t maxDrivesPerLogicalUnit;
  uint32_t fixedLength;
  uint8_t reserved268[32];
};
static_assert(offsetof(SenseConfiguration, controllerDrives) == 8);
static_assert(offsetof(SenseConfiguration, memberDrives) == 10);
static_assert(offsetof(SenseConfiguration, faultTolerance) == 12);
static_assert(offsetof(SenseConfiguration, membersAt) == 250);
static_assert(offsetof(SenseConfiguration, sparesAt) == 252);
static_assert(offsetof(SenseConfiguration, totalLength) == 256);
static_assert(offsetof(SenseConfiguration, maxPhysicalDevices) == 260);
static_assert(offsetof(SenseConfiguration, maxDrivesPerLogicalUnit) == 262);
static_assert(offsetof(SenseConfiguration, fixedLength) == 264);
static_assert(sizeof(SenseConfiguration) == 300);

struct [[gnu::packed]] IdentifyPhysicalDevice {
  uint8_t reserved0[52];
  char serial[40];  // filled up with blanks
  uint8_t reserved92[22];
  uint8_t box;
  uint8_t bay;
  uint8_t reserved116[1656];
  char uniqueInquiryResponse[20];
  uint8_t currentTemperature;
  uint8_t reserved1793;
  uint8_t maximumTemperature;
  uint8_t reserved1795[3];
  char switchName[10];
  uint8_t reserved1808[143];
  char connectorName[64];
  uint8_t deviceId[16];
  uint8_t reserved2031[512];
  char boxConnectorName[8];
  uint8_t reserved2551[9];
};
static_assert(offsetof(IdentifyPhysicalDevice, serial) == 52);
static_assert(offsetof(IdentifyPhysicalDevice, box) == 114);
static_assert(offsetof(IdentifyPhysicalDevice, bay) == 115);
static_assert(offsetof(IdentifyPhysicalDevice, uniqueInquiryResponse) == 1772);
static_assert(offsetof(IdentifyPhysicalDevice, currentTemperature) == 1792);
static_assert(offsetof(IdentifyPhysicalDevice, maximumTemperature) == 1794);
static_assert(offsetof(IdentifyPhysicalDevice, switchName) == 1798);
static_assert(offsetof(IdentifyPhysicalDevice, connectorName) == 1951);
static_assert(offsetof(IdentifyPhysicalDevice, deviceId) == 2015);
static_assert(offsetof(IdentifyPhysicalDevice, boxConnectorName) == 2543);
static_assert(sizeof(IdentifyPhysicalDevice) == 2560);

/// Followed, on controllers that take it, by the extended array: maxPhysicalDevices bytes, one a drive index.
struct [[gnu::packed]] BlinkBuffer {
  uint32_t duration;    // tenths of a second, one for the whole controller
  uint32_t elapsed;     // tenths of a second
  uint8_t enable[256];  // one byte a drive index; bit 0: blink
  uint16_t extendedAt;
  uint16_t maxPhysicalDevices;
  uint32_t totalLength;
  uint32_t fixedLength;
};
inline constexpr uint32_t kFixedBlinkDrives = 256;
static_assert(offsetof(BlinkBuffer, elapsed) == 4);
static_assert(offsetof(BlinkBuffer, enable) == 8);
static_assert(offsetof(BlinkBuffer, extendedAt) == 264);
static_assert(offsetof(BlinkBuffer, maxPhysicalDevices) == 266);
static_assert(offsetof(BlinkBuffer, totalLength) == 268);
static_assert(offsetof(BlinkBuffer, fixedLength) == 272);
static_assert(sizeof(BlinkBuffer) == 276);

struct [[gnu::packed]] ControllerParameters {
  uint8_t reserved0[125];
  uint8_t driveConfigFlags;  // bit 0: the drives' write caches are on
  uint8_t reserved126[386];
};
static_assert(offsetof(ControllerParameters, driveConfigFlags) == 125);
static_assert(sizeof(ControllerParameters) == 512);

/// Followed by four bitmaps, one bit a logical drive; a bit of the first one switches the drive's cache off.
struct [[gnu::packed]] CacheConfiguration {
  uint8_t reserved0[9];
  uint16_t cacheOffAt;
  uint16_t flushAt;
  uint16_t readCacheOffAt;
  uint8_t reserved15;
  uint32_t totalLength;
  uint16_t maxLogicalDrives;
  uint16_t writeCacheOffAt;
  uint32_t fixedLength;
  uint8_t reserved28[239];
};
inline constexpr uint32_t kCacheBitmaps = 4;
static_assert(offsetof(CacheConfiguration, cacheOffAt) == 9);
static_assert(offsetof(CacheConfiguration, flushAt) == 11);
static_assert(offsetof(CacheConfiguration, readCacheOffAt) == 13);
static_assert(offsetof(CacheConfiguration, totalLength) == 16);
static_assert(offsetof(CacheConfiguration, maxLogicalDrives) == 20);
static_assert(offsetof(CacheConfiguration, writeCacheOffAt) == 22);
static_assert(offsetof(CacheConfiguration, fixedLength) == 24);
static_assert(sizeof(CacheConfiguration) == 267);

}  // namespace simulator::wire
