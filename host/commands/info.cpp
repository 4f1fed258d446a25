// dmu-host info: all that is known of some disks.
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/disks/disk_drives.h"
#include "host/naming/device_arguments.h"
#include "host/output/text.h"
#include "host/output/text_table.h"

namespace host {
namespace {

std::string pciText(const simulator::PciIdentity& pci) {
  if (!pci.isPciDevice) return kUnknown;
  char text[128];
  std::snprintf(text, sizeof(text), "%04x:%02x:%02x.%x  vendor %04x:%04x  device %04x:%04x  physical slot %u",
                unsigned{pci.segment}, unsigned{pci.bus}, unsigned{pci.slot}, unsigned{pci.function},
                unsigned{pci.vendorId}, unsigned{pci.subVendorId}, unsigned{pci.deviceId}, unsigned{pci.subDeviceId},
                unsigned{pci.physicalSlot});
  return text;
}

std::string paragraphOf(const DiskRecord& record, const Terminal& terminal) {
  std::string text = terminal.bold(printable(record.disk.device)) + "\n";
  const auto add = [&](const std::string& name, const std::string& value) {
    text += "  " + name + std::string(16 - name.size(), ' ') + value + "\n";
  };
  add("HBA", printable(record.disk.hba));
  add("C:T:L", addressOf(record.disk));
  add("driver", printable(record.disk.driver));
  add("PCI", pciText(record.disk.pci));
  add("serial number", orUnknown(record.serial));
  add("kind", orUnknown(kindName(record)));
  add("RAID level", orUnknown(raidName(record)));
  add("members", orUnknown(record.members));
  add("state", orUnknown(stateName(record)));
  return text;
}

/// The disk's drives, indented.
std::string tableOf(const std::vector<DiskDrive>& drives, const Terminal& terminal) {
  TextTable table({"  PORT:BOX:BAY", "SERIAL", "CURRENT C", "MAXIMUM C", "MARGIN"});
  for (const DiskDrive& drive : drives) {
    table.addRow({"  " + placeText(drive) + (drive.isMissing ? " (missing)" : ""), orUnknown(drive.serial),
                  orUnknown(drive.current), orUnknown(drive.maximum), marginText(drive)});
  }
  return table.text(terminal);
}

class InfoCommand final : public Command {
 public:
  InfoCommand()
      : Command(
            {.name = "info",
             .group = kLooking,
             .summary = "Show all that is known of some disks and their drives",
             .onRealHost = kFindsDisks,
             .examples = {{"One disk, by its name", "dmu-host info naa.6a1b2c0000000201"},
                          {"Two disks, by address and by serial number", "dmu-host info vmhba2:1:1:0 serial:S7P3X0Q8"},
                          {"All disks, for a program", "dmu-host info --all --json"}}}) {}

  std::vector<Option> options() override { return devices_.options(); }

  Outcome run(Session& session) override {
    Outcome outcome;
    Json& devices = outcome.json["devices"] = Json::array();
    for (const OpenedDisk& opened : devices_.open(session)) {
      const auto drives = drivesOf(session, opened.record);
      if (!outcome.text.empty()) outcome.text += "\n";
      outcome.text += paragraphOf(opened.record, session.terminal());
      if (drives) outcome.text += tableOf(*drives, session.terminal());
      Json device = toJson(opened.record);
      device["drives"] = drives ? toJson(*drives) : Json(nullptr);
      devices.push_back(std::move(device));
    }
    return outcome;
  }

 private:
  DeviceArguments devices_;
};

}  // namespace

std::unique_ptr<Command> makeInfoCommand() {
  return std::make_unique<InfoCommand>();
}

}  // namespace host
