// One record per disk: what is known of it and what went wrong with it. Tables and documents are written from it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/output/json.h"

namespace host {

enum class DiskKind { volume, disk };

/// A failed operation on one disk.
struct OperationError {
  std::string operation;
  std::string text;
};

struct DiskRecord {
  HostDisk disk;
  std::optional<std::string> serial;
  std::optional<DiskKind> kind;
  std::optional<uint32_t> raidLevel;  ///< as people write it: 0, 1, 10, 4, 5, 6
  std::optional<uint32_t> members;    ///< member drives of a volume
  std::optional<uint32_t> missing;    ///< of these, drives that the controller does not list; nothing: not known
  std::optional<std::string> note;    ///< why nothing more is known, where that is no failure
  std::vector<OperationError> errors;
};

/// The RAID level as people write it for the plugin's code and member count; nothing when it is unknown.
[[nodiscard]] std::optional<uint32_t> raidLevelOf(uint32_t code, uint32_t members);

/// "volume" or "disk"; nothing when the kind is unknown.
[[nodiscard]] std::optional<std::string> kindName(const DiskRecord& record);

/// "RAID 10"; nothing when the level is unknown.
[[nodiscard]] std::optional<std::string> raidName(const DiskRecord& record);

/// "ok", or "degraded: 1 of 4 missing"; nothing for a disk, or where it is not known.
[[nodiscard]] std::optional<std::string> stateName(const DiskRecord& record);

/// The keys of "pci".
[[nodiscard]] Json toJson(const simulator::PciIdentity& pci);

/// A disk's keys, as an inventory has them.
[[nodiscard]] Json toJson(const HostDisk& disk);

/// The record's keys, those of the disk included, the same for every command; a command adds its own.
[[nodiscard]] Json toJson(const DiskRecord& record);

}  // namespace host
