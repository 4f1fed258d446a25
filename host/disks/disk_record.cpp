// How a disk's record is worded.
#include "host/disks/disk_record.h"

#include "host/output/json_values.h"
#include "host/output/text.h"
#include <dmu/plugin.h>

namespace host {

std::optional<uint32_t> raidLevelOf(uint32_t code, uint32_t members) {
  if (members == 0) return std::nullopt;
  switch (code) {
    case kDmuRaid0:
    case kDmuRaid1:
    case kDmuRaid4:
    case kDmuRaid5:
    case kDmuRaid6:
      return code;
    case kDmuRaid10:
      return 10;
    default:
      return std::nullopt;
  }
}

std::optional<std::string> kindName(const DiskRecord& record) {
  if (!record.kind) return std::nullopt;
  return *record.kind == DiskKind::volume ? "volume" : "disk";
}

std::optional<std::string> raidName(const DiskRecord& record) {
  if (!record.raidLevel) return std::nullopt;
  return "RAID " + std::to_string(*record.raidLevel);
}

std::optional<std::string> stateName(const DiskRecord& record) {
  if (!record.missing) return std::nullopt;
  if (*record.missing == 0) return "ok";
  return "degraded: " + std::to_string(*record.missing) + " of " + orUnknown(record.members) + " missing";
}

Json toJson(const simulator::PciIdentity& pci) {
  return {{"isPciDevice", pci.isPciDevice},
          {"segment", pci.segment},
          {"bus", pci.bus},
          {"slot", pci.slot},
          {"function", pci.function},
          {"vendorId", pci.vendorId},
          {"subVendorId", pci.subVendorId},
          {"deviceId", pci.deviceId},
          {"subDeviceId", pci.subDeviceId},
          {"physicalSlot", pci.physicalSlot}};
}

Json toJson(const HostDisk& disk) {
  return {{"device", disk.device}, {"hba", disk.hba},       {"channel", disk.channel}, {"target", disk.target},
          {"lun", disk.lun},       {"driver", disk.driver}, {"pci", toJson(disk.pci)}};
}

Json toJson(const DiskRecord& record) {
  Json errors = Json::array();
  for (const OperationError& error : record.errors) {
    errors.push_back({{"operation", error.operation}, {"text", error.text}});
  }
  Json json = toJson(record.disk);
  json.update({{"serial", orNull(record.serial)},
               {"kind", orNull(kindName(record))},
               {"raidLevel", orNull(record.raidLevel)},
               {"members", orNull(record.members)},
               {"missing", orNull(record.missing)},
               {"state", orNull(stateName(record))},
               {"note", orNull(record.note)},
               {"errors", std::move(errors)}});
  return json;
}

}  // namespace host
