// dmu-host list: all disks of the host in one table.
#include <algorithm>

#include "host/commands/commands.h"
#include "host/disks/opened_disk.h"
#include "host/output/text.h"
#include "host/output/text_table.h"

namespace host {
namespace {

std::string tableOf(const std::vector<DiskRecord>& records, const Terminal& terminal) {
  const bool hasNotes =
      std::any_of(records.begin(), records.end(), [](const DiskRecord& record) { return record.note.has_value(); });
  TextTable table({"DEVICE", "HBA", "C:T:L", "KIND", "RAID", "MEMBERS", "STATE", "SERIAL", hasNotes ? "NOTE" : ""});
  for (const DiskRecord& record : records) {
    table.addRow({printable(record.disk.device), printable(record.disk.hba), addressOf(record.disk),
                  orUnknown(kindName(record)), orUnknown(raidName(record)), orUnknown(record.members),
                  orUnknown(stateName(record)), orUnknown(record.serial), record.note ? printable(*record.note) : ""});
  }
  return table.text(terminal);
}

class ListCommand final : public Command {
 public:
  ListCommand()
      : Command({.name = "list",
                 .group = kLooking,
                 .summary = "Show all disks of the host",
                 .onRealHost = kNeedsInventory,
                 .examples = {{"All disks", "dmu-host list"},
                              {"The same for a program", "dmu-host list --json"},
                              {"On a real host", "dmu-host list --inventory disks.json"}}}) {}

  Outcome run(Session& session) override {
    std::vector<DiskRecord> records;
    Json devices = Json::array();
    for (const HostDisk& disk : session.disks()) {
      records.push_back(openDisk(session, disk, Named::no).record);
      devices.push_back(toJson(records.back()));
    }
    return {tableOf(records, session.terminal()), {{"devices", std::move(devices)}}};
  }
};

}  // namespace

std::unique_ptr<Command> makeListCommand() {
  return std::make_unique<ListCommand>();
}

}  // namespace host
