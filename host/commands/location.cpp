// dmu-host location: where the drives of some disks sit.
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/naming/device_arguments.h"
#include "host/output/columns.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

namespace host {
namespace {

/// A drive of a disk; without a place where the disk has none.
struct LocationRow {
  DiskRecord record;
  std::optional<Place> place;
};

const std::vector<Column<LocationRow>>& locationColumns() {
  using Row = const LocationRow&;
  static const std::vector<Column<LocationRow>> columns = {
      {"device", "DEVICE", "the disk's name", Shown::always, 0,
       [](Row row) { return printable(row.record.disk.device); }},
      {"hba", "HBA", "name of the controller", Shown::always, 1,
       [](Row row) { return printable(row.record.disk.hba); }},
      {"address", "C:T:L", "channel, target and LUN of the disk", Shown::whenAsked, 2,
       [](Row row) { return addressOf(row.record.disk); }},
      {"serial", "SERIAL", "the disk's serial number", Shown::whenAsked, 2,
       [](Row row) { return orUnknown(row.record.serial); }},
      {"place", "PORT:BOX:BAY", "where the drive sits", Shown::always, 0,
       [](Row row) { return row.place ? describe(*row.place) : std::string(kUnknown); }}};
  return columns;
}

class LocationCommand final : public Command {
 public:
  LocationCommand()
      : Command({.name = "location",
                 .group = kLooking,
                 .summary = "Show where the drives of some disks sit",
                 .onRealHost = kFindsDisks,
                 .examples = {{"Where the drives of a volume sit", "dmu-host location vmhba2:1:1:0"},
                              {"All drives, for a program", "dmu-host location --all --json"}}}) {}

  std::vector<Option> options() override {
    return both(devices_.options(), choice_.options(namesOf(locationColumns())));
  }

  [[nodiscard]] std::vector<std::pair<std::string, std::string>> columns() const override {
    return helpOf(locationColumns());
  }

  Outcome run(Session& session) override {
    std::vector<LocationRow> rows;
    Json devices = Json::array();
    std::vector<OpenedDisk> all = devices_.open(session);
    Activity activity(all.size(), "locations");
    for (OpenedDisk& opened : all) {
      const auto found = askPlaces(session, opened);
      for (const Place& place : found.value_or(std::vector<Place>{})) {
        rows.push_back({opened.record, place});
      }
      if (found && found->empty()) rows.push_back({opened.record, {}});
      Json device = toJson(opened.record);
      device["locations"] = found ? toJson(*found) : Json(nullptr);
      devices.push_back(std::move(device));
      activity.advance();
    }
    return {tableOf(rows, locationColumns(), choice_, session.terminal()), {{"devices", std::move(devices)}}};
  }

 private:
  DeviceArguments devices_;
  ColumnChoice choice_;
};

}  // namespace

std::unique_ptr<Command> makeLocationCommand() {
  return std::make_unique<LocationCommand>();
}

}  // namespace host
