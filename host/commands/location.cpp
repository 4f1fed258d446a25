// dmu-host location: where the drives of some disks sit.
#include "host/commands/commands.h"
#include "host/disks/device_arguments.h"
#include "host/output/text.h"
#include "host/output/text_table.h"

namespace host {
namespace {

class LocationCommand final : public Command {
 public:
  LocationCommand()
      : Command({.name = "location",
                 .group = kLooking,
                 .summary = "Show where the drives of some disks sit",
                 .onRealHost = kNeedsInventory,
                 .examples = {{"Where the drives of a volume sit", "dmu-host location vmhba2:1:1:0"},
                              {"All drives, for a program", "dmu-host location --all --json"}}}) {}

  std::vector<Option> options() override { return devices_.options(); }

  Outcome run(Session& session) override {
    TextTable table({"DEVICE", "HBA", "PORT:BOX:BAY"});
    Json devices = Json::array();
    for (OpenedDisk& opened : devices_.open(session)) {
      const auto found = askPlaces(session, opened);
      for (const Place& place : found.value_or(std::vector<Place>{})) {
        table.addRow({printable(opened.record.disk.device), printable(opened.record.disk.hba), describe(place)});
      }
      if (found && found->empty())
        table.addRow({printable(opened.record.disk.device), printable(opened.record.disk.hba), kUnknown});
      Json device = toJson(opened.record);
      device["locations"] = found ? toJson(*found) : Json(nullptr);
      devices.push_back(std::move(device));
    }
    return {table.text(session.terminal()), {{"devices", std::move(devices)}}};
  }

 private:
  DeviceArguments devices_;
};

}  // namespace

std::unique_ptr<Command> makeLocationCommand() {
  return std::make_unique<LocationCommand>();
}

}  // namespace host
