// dmu-host info: all that is known of some disks.
#include "host/commands/commands.h"
#include "host/disks/device_arguments.h"
#include "host/output/text.h"

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
  return text;
}

class InfoCommand final : public Command {
 public:
  InfoCommand()
      : Command("info", "Show all that is known of some disks",
                {"dmu-host info naa.6a1b2c0000000201", "dmu-host info vmhba2:1:1:0 serial:S7P3X0Q8",
                 "dmu-host info --all --json"}) {}

  std::vector<Option> options() override { return devices_.options(); }

  Outcome run(Session& session) override {
    Outcome outcome;
    Json& devices = outcome.json["devices"] = Json::array();
    for (const OpenedDisk& opened : devices_.open(session)) {
      outcome.text += paragraphOf(opened.record, session.terminal());
      devices.push_back(toJson(opened.record));
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
