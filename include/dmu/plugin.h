// The boundary between a storage-utility daemon (the host) and the plugin: all that a host needs to know.
//
// A host loads the library, looks up DmuPluginInit, calls it, and reaches the plugin through the descriptor from then
// on: it opens a handle for each disk, calls operations on the handle and closes it. Everything here is laid out as a
// 32-bit little-endian host lays it out. The error texts are std::string objects, so host and plugin must be built for
// the same string layout of the C++ library (see README.md, "Old hosts").
//
// Threads: the six operations of all handles run one at a time, in whatever threads they are called; one that waits
// for more than 10 seconds fails. DmuPluginInit, open and close may run at any time. A handle must not be closed while
// an operation on it runs or waits, and no call may run or wait once dlclose or exit begins. A thread that is cancelled
// ends after its call; threads of the asynchronous cancel type may not call, nor may signal handlers. errno stays as it
// was.
//
// Time: an open takes up to the disk's 20 seconds, an operation as long as its controller. What operations tell may be
// 30 seconds old by the wall clock; a step of that clock lengthens or shortens this. While a controller leaves, its
// devices are incomplete or not found. Of one controller 1,088 devices are known, volumes first.
//
// Processes: operations may run the host's module loader and wait for it: its complaints go to the host's standard
// error, its end raises SIGCHLD, and it inherits what the host leaves open. After a fork during an operation the
// child's operations fail, for good. While /tmp/veltrane_plugin_debug exists every call writes to it, whatever it is: a
// FIFO stalls the call, a link leads elsewhere. docs/boundary.md, "Processes, signals, time", tells it all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The one function that a host looks up, and the driver whose disks the plugin serves.
constexpr char kDmuEntryPoint[] = "DmuPluginInit";
constexpr char kDmuDriver[] = "veltrane";

/// A device handle: one disk behind one controller. Its contents belong to the plugin.
struct CtrlDevInfo;

/// What the host knows about a disk; read by VELTRANEPlugin_OpenDevice_v2_0_0, never written or kept.
///
///   offset  width    field
///        0  pointer  devName       name of the disk's node below "/dev/disks/"
///        4  pointer  hba           name of the controller
///        8  u32      channel       where the host sees the disk
///       12  u32      target
///       16  u32      lun
///       20  pointer  driver        name of the driver that presents the disk
///       24  u8       isPciDevice   the controller's PCI identity: traced, not kept
///       26  u16      segment
///       28  u8       busId
///       29  u8       slotId
///       30  u8       functionId
///       32  u16      vendorId
///       34  u16      subVendorId
///       36  u16      deviceId
///       38  u16      subDeviceId
///       40  u8       reserved      not read
///       44  u32      physicalSlot
struct DmuDeviceOpenInfo {
  const char* devName;
  const char* hba;
  uint32_t channel;
  uint32_t target;
  uint32_t lun;
  const char* driver;
  uint8_t isPciDevice;
  uint16_t segment;
  uint8_t busId;
  uint8_t slotId;
  uint8_t functionId;
  uint16_t vendorId;
  uint16_t subVendorId;
  uint16_t deviceId;
  uint16_t subDeviceId;
  uint8_t reserved;
  uint32_t physicalSlot;
};

/// What a device is.
enum DmuDeviceType : uint32_t { kDmuLogicalVolume = 1, kDmuPhysicalDisk = 2 };

/// The RAID level of a volume, as a code.
enum DmuRaidLevel : uint32_t {
  kDmuRaid0 = 0,
  kDmuRaid1 = 1,
  kDmuRaid4 = 4,
  kDmuRaid5 = 5,
  kDmuRaid6 = 6,
  kDmuRaid10 = 64,             ///< mirrored stripes
  kDmuRaidLevelUnknown = 255,  ///< also that of every external volume
};

/// What operation 0 tells about a device. Nothing is written when the operation fails.
///
///   offset  width    field
///        0  u32      deviceType     a DmuDeviceType
///        4  u8       physicalDisks  member drives of the volume; 1 for an external one; not written for a disk
///        5  u8[3]                   not written
///        8  u32      raidLevel      a DmuRaidLevel; not written for a disk
struct DmuDeviceInfo {
  uint32_t deviceType;
  uint8_t physicalDisks;
  uint32_t raidLevel;
};

/// One drive's temperatures as the controller reports them; dmu-host takes them for degrees Celsius, and 0 and
/// 255 for unknown.
struct DriveTemperature {
  uint8_t currentTemperature;
  uint8_t maximumTemperature;
};

extern "C" {

/// Opens a handle by the device's address alone. Such a handle finds volumes, not physical disks.
///
/// @param hba     name of the controller; cut to 49 characters; null counts as empty
/// @param driver  must be kDmuDriver
/// @param out     receives the handle, which the host owes to closeDevice; untouched on failure
/// @return 0, or -1: another driver, a null `driver` or `out`, or no memory
using DmuOpenDevice = int32_t (*)(const char* hba, uint32_t channel, uint32_t target, uint32_t lun, const char* driver,
                                  uint8_t isPciDevice, uint16_t segment, uint8_t busId, uint8_t slotId,
                                  uint8_t functionId, uint16_t vendorId, uint16_t subVendorId, uint16_t deviceId,
                                  uint16_t subDeviceId, uint8_t reserved, uint32_t physicalSlot, CtrlDevInfo** out);

/// Opens a handle and reads the disk's serial number, by which physical disks are found. A serial number that cannot be
/// read does not fail the open, but a physical disk is not found by such a handle: open it anew when its node is back.
///
/// @param info  borrowed for the call
/// @param out   as for DmuOpenDevice
/// @return 0, or -1: as for DmuOpenDevice, or a null `info`
using DmuOpenDeviceV2 = int32_t (*)(const DmuDeviceOpenInfo* info, CtrlDevInfo** out);

/// Closes a handle. Null is ignored.
using DmuCloseDevice = void (*)(CtrlDevInfo* handle);

// The six operations. Each returns -1 for failure, with a one-line text in `error` unless the operation's own comment
// says otherwise: "Invalid handle!", "Mutex lock error: " and the system's text, "Failed to open controller." or
// "Device is not found."; a text replaces what `error` held. A result of -1 without a new text can also mean that
// memory ran out, so clear `error` before a call: what it holds afterwards is then this call's.

/// Operation 0: what the device is.
/// @return 0, or -1; a null `deviceInfo` gives -1 with no text
using DmuGetDeviceInfo = int32_t (*)(CtrlDevInfo* handle, DmuDeviceInfo* deviceInfo, std::string& error);

/// Operation 1: switches the locator LED of the disk, or of every member drive of the volume.
/// @param state    on when any of its low 8 bits is set, else off
/// @param seconds  blink time; the controller keeps one, so it holds for every drive that blinks there
/// @return drives switched; 0 when nothing was switched, whatever the reason (no text); -1 with a text
using DmuSetDriveLEDState = int32_t (*)(CtrlDevInfo* handle, uint32_t state, uint16_t seconds, std::string& error);

/// Operations 2 and 3: switch the write cache of the volume on or off; for a physical disk the setting is the whole
/// controller's.
/// @return 1 for a disk, the number of member drives for a volume; -1 or a command's other nonzero result on failure
///         (no text when a command failed or the volume is external). A positive result cannot tell success from a
///         driver status of that value.
using DmuSetCache = int32_t (*)(CtrlDevInfo* handle, std::string& error);

/// Operation 4: temperatures of the disk, or of the volume's member drives in the order of their location texts. Drives
/// with the same text share a record, and those marked "(Failed)" have none: records and texts pair only when both
/// operations give the same number.
/// @param temperatures  the host's array; a disk writes record 0 whatever `count` says
/// @param count         records in the array; a volume with a count below 1 writes nothing
/// @return records written; -1 with a text, or with none when `temperatures` is null
using DmuGetDeviceTemperature = int32_t (*)(CtrlDevInfo* handle, DriveTemperature* temperatures, int32_t count,
                                            std::string& error);

/// Size of the buffer in which the host receives a location, in bytes; the longest text has 37 characters.
constexpr size_t kDmuLocationSize = 50;

/// Operation 5: where the disk, or each member drive of the volume, sits: "port:box:bay PORT:BOX:BAY", sorted as text.
/// @param locations  the host's array; each slot written receives a buffer of kDmuLocationSize bytes, which the host
///                   releases with free; a disk writes slot 0 whatever `count` says
/// @param count      slots in the array; a volume with a count below 1 writes nothing
/// @return slots written; -1 with a text (also "No memory for location!"), or with none when `locations` is null
using DmuGetDeviceLocation = int32_t (*)(CtrlDevInfo* handle, char** locations, int32_t count, std::string& error);

}  // extern "C"

/// The plugin's descriptor: 13 fields, each as wide as a pointer, and room that stays zero. Owned by the plugin.
///
///   offset  field
///        0  version             "1.0.0"
///        4  name                "dmu-veltrane-plugin"
///        8  openDevice
///       12  closeDevice
///       16  operationCount      6
///       20  getDeviceInfo       operation 0; the other five follow in order
///       44  unused              null
///       48  openDeviceV2
///       52  reserved            16 null pointers, for hosts that know a longer descriptor
struct DmuPluginDescriptor {
  const char* version;
  const char* name;
  DmuOpenDevice openDevice;
  DmuCloseDevice closeDevice;
  uintptr_t operationCount;
  DmuGetDeviceInfo getDeviceInfo;
  DmuSetDriveLEDState setDriveLEDState;
  DmuSetCache cacheOn;
  DmuSetCache cacheOff;
  DmuGetDeviceTemperature getDeviceTemperature;
  DmuGetDeviceLocation getDeviceLocation;
  void* unused;
  DmuOpenDeviceV2 openDeviceV2;
  void* reserved[16];
};

extern "C" {

/// The one function that a host looks up. Every call returns the same descriptor with the same contents.
DmuPluginDescriptor* DmuPluginInit();
using DmuPluginInitFunction = DmuPluginDescriptor* (*)();

}  // extern "C"

#define DMU_OFFSET(record, field, offset) \
  static_assert(offsetof(record, field) == (offset), "offset of " #field " in " #record)
#define DMU_SIZE(record, size) static_assert(sizeof(record) == (size), "size of " #record)

DMU_OFFSET(DriveTemperature, currentTemperature, 0);
DMU_OFFSET(DriveTemperature, maximumTemperature, 1);
DMU_SIZE(DriveTemperature, 2);
DMU_OFFSET(DmuDeviceInfo, deviceType, 0);
DMU_OFFSET(DmuDeviceInfo, physicalDisks, 4);
DMU_OFFSET(DmuDeviceInfo, raidLevel, 8);
DMU_SIZE(DmuDeviceInfo, 12);

#ifdef __i386__
DMU_OFFSET(DmuDeviceOpenInfo, devName, 0);
DMU_OFFSET(DmuDeviceOpenInfo, hba, 4);
DMU_OFFSET(DmuDeviceOpenInfo, channel, 8);
DMU_OFFSET(DmuDeviceOpenInfo, target, 12);
DMU_OFFSET(DmuDeviceOpenInfo, lun, 16);
DMU_OFFSET(DmuDeviceOpenInfo, driver, 20);
DMU_OFFSET(DmuDeviceOpenInfo, isPciDevice, 24);
DMU_OFFSET(DmuDeviceOpenInfo, segment, 26);
DMU_OFFSET(DmuDeviceOpenInfo, busId, 28);
DMU_OFFSET(DmuDeviceOpenInfo, slotId, 29);
DMU_OFFSET(DmuDeviceOpenInfo, functionId, 30);
DMU_OFFSET(DmuDeviceOpenInfo, vendorId, 32);
DMU_OFFSET(DmuDeviceOpenInfo, subVendorId, 34);
DMU_OFFSET(DmuDeviceOpenInfo, deviceId, 36);
DMU_OFFSET(DmuDeviceOpenInfo, subDeviceId, 38);
DMU_OFFSET(DmuDeviceOpenInfo, reserved, 40);
DMU_OFFSET(DmuDeviceOpenInfo, physicalSlot, 44);
DMU_SIZE(DmuDeviceOpenInfo, 48);

DMU_OFFSET(DmuPluginDescriptor, version, 0);
DMU_OFFSET(DmuPluginDescriptor, name, 4);
DMU_OFFSET(DmuPluginDescriptor, openDevice, 8);
DMU_OFFSET(DmuPluginDescriptor, closeDevice, 12);
DMU_OFFSET(DmuPluginDescriptor, operationCount, 16);
DMU_OFFSET(DmuPluginDescriptor, getDeviceInfo, 20);
DMU_OFFSET(DmuPluginDescriptor, setDriveLEDState, 24);
DMU_OFFSET(DmuPluginDescriptor, cacheOn, 28);
DMU_OFFSET(DmuPluginDescriptor, cacheOff, 32);
DMU_OFFSET(DmuPluginDescriptor, getDeviceTemperature, 36);
DMU_OFFSET(DmuPluginDescriptor, getDeviceLocation, 40);
DMU_OFFSET(DmuPluginDescriptor, unused, 44);
DMU_OFFSET(DmuPluginDescriptor, openDeviceV2, 48);
DMU_OFFSET(DmuPluginDescriptor, reserved, 52);
#endif

#undef DMU_OFFSET
#undef DMU_SIZE
