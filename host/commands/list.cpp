// dmu-host list: all disks of the host in one table.
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/disks/opened_disk.h"
#include "host/output/columns.h"
#include "host/output/text.h"
#include "host/waiting/watch.h"

namespace host {
namespace {

const std::vector<Column<DiskRecord>>& listColumns() {
  using Row = const DiskRecord&;
  static const std::vector<Column<DiskRecord>> columns = {
      {"device", "DEVICE", "name of the node below /dev/disks/", Shown::always, 0,
       [](Row row) { return printable(row.disk.device); }},
      {"hba", "HBA", "name of the controller", Shown::always, 0, [](Row row) { return printable(row.disk.hba); }},
      {"address", "C:T:L", "channel, target and LUN", Shown::always, 3, [](Row row) { return addressOf(row.disk); }},
      {"kind", "KIND", "volume or physical disk", Shown::always, 5, [](Row row) { return orUnknown(kindName(row)); }},
      {"raid", "RAID", "RAID level of a volume", Shown::always, 4, [](Row row) { return orUnknown(raidName(row)); }},
      {"members", "MEMBERS", "member drives of a volume", Shown::always, 6,
       [](Row row) { return orUnknown(row.members); }},
      {"missing", "MISSING", "of these, how many the controller no longer lists", Shown::whenAsked, 6,
       [](Row row) { return orUnknown(row.missing); }},
      {"state", "STATE", "ok, or degraded", Shown::always, 1, [](Row row) { return orUnknown(stateName(row)); }},
      {"serial", "SERIAL", "serial number", Shown::always, 2, [](Row row) { return orUnknown(row.serial); }},
      {"driver", "DRIVER", "the driver that presents it", Shown::whenAsked, 7,
       [](Row row) { return printable(row.disk.driver); }},
      {"note", "NOTE", "why nothing more is known", Shown::whenKnown, 8, [](Row row) { return orUnknown(row.note); }}};
  return columns;
}

class ListCommand final : public Command {
 public:
  ListCommand()
      : Command({.name = "list",
                 .group = kLooking,
                 .summary = "Show all disks of the host",
                 .onRealHost = kFindsDisks,
                 .examples = {{"All disks", "dmu-host list"},
                              {"Names and states alone, for a script", "dmu-host list -o device,state --no-legend"},
                              {"Of disks that were written down", "dmu-host list --inventory disks.json"}}}) {}

  std::vector<Option> options() override { return both(choice_.options(namesOf(listColumns())), {watch_.option()}); }

  [[nodiscard]] std::vector<std::pair<std::string, std::string>> columns() const override {
    return helpOf(listColumns());
  }

  [[nodiscard]] int repeatsAfter() const override { return watch_.seconds; }

  Outcome run(Session& session) override {
    const std::vector<DiskRecord> records = recordsOfAllDisks(session);
    Json devices = Json::array();
    for (const DiskRecord& record : records) devices.push_back(toJson(record));
    return {tableOf(records, listColumns(), choice_, session.terminal()), {{"devices", std::move(devices)}}};
  }

 private:
  ColumnChoice choice_;
  WatchChoice watch_;
};

}  // namespace

std::unique_ptr<Command> makeListCommand() {
  return std::make_unique<ListCommand>();
}

}  // namespace host
