// A controller as the commands that passed between plugin and driver show it: its limits, its volumes and its drives.
// Begin here with anything that the plugin does not tell a host; what the plugin answers stays the answer.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/disks/host_disk.h"

namespace host::model {

/// Where the controller says that a drive sits.
struct Bay {
  std::string port;  ///< the connector's whole name; the plugin cuts it to its first 8 characters
  uint8_t box = 0;
  uint8_t bay = 0;
  bool operator==(const Bay&) const = default;
};

/// What a drive said of itself, by identify physical device.
struct DriveIdentity {
  std::string serial;  ///< without the blanks around it; empty: none
  Bay bay;
  uint8_t currentTemperature = 0;  ///< degrees Celsius; 0 and 255: not known
  uint8_t maximumTemperature = 0;
  bool operator==(const DriveIdentity&) const = default;
};

struct Drive {
  uint32_t index = 0;                     ///< BMIC drive index, the number of a bit in a volume's members
  uint32_t word = 0;                      ///< of the LUN address in the report; its two highest bits are the kind
  uint32_t place = 0;                     ///< in the report, from 0
  uint8_t deviceType = 0;                 ///< peripheral device type
  std::array<uint8_t, 8> wwid{};          ///< by the report
  bool isListed = true;                   ///< the report of physical LUNs has it
  bool isExposed = false;                 ///< the host sees it as a disk of its own
  bool isMasked = false;                  ///< the host does not see it: such drives alone are members to the plugin
  bool hasRoom = true;                    ///< the plugin's list of 1,088 devices, volumes first, has room for it
  std::optional<DriveIdentity> identity;  ///< nothing: the command was not sent or failed
  bool operator==(const Drive&) const = default;
};

struct Volume {
  uint32_t word = 0;          ///< of the LUN address in the report; its low 30 bits are the volume's number
  bool isExternal = false;    ///< beyond the controller's count of its own volumes
  bool isIdentified = false;  ///< what follows up to the unique id was told
  std::string label;
  uint8_t externalBoxId = 0;
  uint32_t logicalDriveId = 0;
  std::array<uint8_t, 16> uniqueId{};
  std::optional<uint16_t> memberCount;        ///< as the controller counts them; nothing: it was not told
  std::optional<uint16_t> faultTolerance;     ///< the controller's code of the RAID level
  std::optional<std::set<uint32_t>> members;  ///< by BMIC drive index; nothing: not told, or not consistent
  /// Of the reply that told it: where the members begin, and the controller's limits once more.
  uint16_t membersAt = 0;
  uint16_t maxPhysicalDevices = 0;
  uint16_t maxDrivesPerLogicalUnit = 0;

  bool operator==(const Volume&) const = default;

  [[nodiscard]] uint32_t number() const;

  /// Whether a host presents it under this address, with an OEM driver or another one.
  [[nodiscard]] bool isAt(const HostDisk& disk) const;
};

struct Controller {
  std::string hba;
  uint16_t ownVolumes = 0;  ///< by the controller's count; those after them in the report are external
  uint16_t maxLogicalDrives = 0;
  uint16_t maxPhysicalDevices = 0;
  uint16_t maxDrivesPerLogicalUnit = 0;
  bool hasExtendedBlinkArray = false;
  bool hasFailedReport = false;  ///< a report of its volumes or drives failed: which ones there are is not known
  std::vector<Volume> volumes;   ///< in the order of the report
  std::vector<Drive> drives;     ///< in the order of the report, then those that were identified without being listed
  std::vector<Drive> otherDevices;   ///< of types that the plugin passes over; in the order of the report
  uint8_t driveReportFormat = 2;     ///< of the report of drives; 2: extended
  std::optional<bool> driveCacheOn;  ///< the drives' write cache, one setting; nothing: not told
  std::optional<std::set<uint32_t>> volumesCacheOff;  ///< by their number; nothing: not told

  bool operator==(const Controller&) const = default;

  /// @return null, as below, when there is none
  [[nodiscard]] const Volume* volumeOf(const HostDisk& disk) const;

  /// The drive that the plugin takes for a physical disk: the first exposed one whose serial number begins with this.
  [[nodiscard]] const Drive* exposedDrive(const std::string& serial) const;

  /// The listed drive of this index, else one that was identified.
  [[nodiscard]] const Drive* drive(uint32_t index) const;

  /// The first volume that a drive is a member of.
  [[nodiscard]] const Volume* volumeWith(const Drive& drive) const;
};

/// Members that the controller no longer lists, in ascending order.
[[nodiscard]] std::vector<uint32_t> missingMembers(const Controller& controller, const Volume& volume);

}  // namespace host::model
