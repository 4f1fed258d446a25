// dmu-host temperature: how warm the drives of some disks are.
#include <algorithm>
#include <climits>
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/disks/warm_drives.h"
#include "host/naming/device_arguments.h"
#include "host/output/columns.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"
#include "host/waiting/watch.h"

namespace host {
namespace {

/// A line of the table.
struct TemperatureRow {
  HostDisk disk;
  DiskDrive drive;
};

/// Nothing is the largest margin.
bool isCloser(const TemperatureRow& one, const TemperatureRow& other) {
  return marginOf(one.drive).value_or(INT_MAX) < marginOf(other.drive).value_or(INT_MAX);
}

const std::vector<Column<TemperatureRow>>& temperatureColumns() {
  static const std::vector<Column<TemperatureRow>> columns = {
      {"device", "DEVICE", "the disk's name", Shown::always, 0,
       [](const TemperatureRow& row) { return printable(row.disk.device); }},
      {"hba", "HBA", "name of the controller", Shown::always, 2,
       [](const TemperatureRow& row) { return printable(row.disk.hba); }},
      {"address", "C:T:L", "channel, target and LUN of the disk", Shown::whenAsked, 3,
       [](const TemperatureRow& row) { return addressOf(row.disk); }},
      {"place", "PORT:BOX:BAY", "where the drive sits", Shown::always, 0,
       [](const TemperatureRow& row) { return placeText(row.drive) + (row.drive.isMissing ? " (missing)" : ""); }},
      {"serial", "SERIAL", "the drive's serial number", Shown::whenAsked, 2,
       [](const TemperatureRow& row) { return orUnknown(row.drive.serial); }},
      {"current", "CURRENT C", "temperature in degrees Celsius", Shown::always, 0,
       [](const TemperatureRow& row) { return orUnknown(row.drive.current); }},
      {"maximum", "MAXIMUM C", "the drive's maximum", Shown::always, 3,
       [](const TemperatureRow& row) { return orUnknown(row.drive.maximum); }},
      {"margin", "MARGIN", "degrees that are left; ! at five and below", Shown::always, 1,
       [](const TemperatureRow& row) { return marginText(row.drive); }}};
  return columns;
}

class TemperatureCommand final : public Command {
 public:
  TemperatureCommand()
      : Command({.name = "temperature",
                 .group = kLooking,
                 .summary = "Show how warm the drives of some disks are, in degrees Celsius",
                 .onRealHost = kFindsDisks,
                 .examples = {{"How warm the drives of a volume are", "dmu-host temperature vmhba2:1:1:0"},
                              {"Those closest to their maximum", "dmu-host temperature --all --sort margin"}}}) {}

  std::vector<Option> options() override {
    const Option sort{"--sort", "ORDER", "Sort the drives by place, or by margin: those closest to their maximum first",
                      Word{&order_, {"place", "margin"}}};
    return both(both(devices_.options(), {sort, watch_.option()}), choice_.options(namesOf(temperatureColumns())));
  }

  [[nodiscard]] std::vector<std::pair<std::string, std::string>> columns() const override {
    return helpOf(temperatureColumns());
  }

  [[nodiscard]] int repeatsAfter() const override { return watch_.seconds; }

  Outcome run(Session& session) override {
    std::vector<TemperatureRow> rows;
    Json devices = Json::array();
    std::vector<OpenedDisk> all = devices_.open(session);
    Activity activity(all.size(), "temperatures");
    for (OpenedDisk& opened : all) {
      const auto drives = warmDrives(session, opened);
      for (const DiskDrive& drive : drives.value_or(std::vector<DiskDrive>{}))
        rows.push_back({opened.record.disk, drive});
      if (drives && drives->empty()) rows.push_back({opened.record.disk, {}});
      Json device = toJson(opened.record);
      device["temperatures"] = drives ? toJson(*drives) : Json(nullptr);
      devices.push_back(std::move(device));
      activity.advance();
    }
    if (order_ == "margin") std::stable_sort(rows.begin(), rows.end(), isCloser);
    return {tableOf(rows, temperatureColumns(), choice_, session.terminal()), {{"devices", std::move(devices)}}};
  }

 private:
  DeviceArguments devices_;
  std::string order_ = "place";
  ColumnChoice choice_;
  WatchChoice watch_;
};

}  // namespace

std::unique_ptr<Command> makeTemperatureCommand() {
  return std::make_unique<TemperatureCommand>();
}

}  // namespace host
