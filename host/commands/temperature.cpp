// dmu-host temperature: how warm the drives of some disks are.
#include <algorithm>
#include <climits>
#include <set>

#include "host/commands/commands.h"
#include "host/disks/device_arguments.h"
#include "host/disks/disk_drives.h"
#include "host/output/columns.h"
#include "host/output/degrees.h"
#include "host/output/text.h"

namespace host {
namespace {

/// The plugin gives temperatures in the order of the location texts, but one for all drives of the same text, and none
/// for a drive that the controller's list misses.
bool belongTogether(size_t readings, const std::vector<Place>& found) {
  std::set<std::string> texts;
  for (const Place& place : found) texts.insert(place.text);
  const bool anyFailed = std::any_of(found.begin(), found.end(), [](const Place& place) { return place.failed; });
  return found.size() == readings && texts.size() == found.size() && !anyFailed;
}

/// The plugin's answer alone, for a controller whose commands do not show its drives.
std::vector<DiskDrive> answeredDrives(const std::vector<DriveTemperature>& answer, const std::vector<Place>& found) {
  const bool withPlaces = belongTogether(answer.size(), found);
  std::vector<DiskDrive> drives;
  for (const DriveTemperature& temperature : answer) {
    DiskDrive drive;
    drive.current = degrees(temperature.currentTemperature);
    drive.maximum = degrees(temperature.maximumTemperature);
    if (withPlaces) drive.place = found[drives.size()];
    drives.push_back(std::move(drive));
  }
  return drives;
}

std::string textOf(const std::vector<DriveTemperature>& temperatures) {
  std::string text;
  for (const DriveTemperature& temperature : temperatures) {
    text += (text.empty() ? "" : ", ") + std::to_string(temperature.currentTemperature) + "/" +
            std::to_string(temperature.maximumTemperature);
  }
  return text.empty() ? "none" : text;
}

/// The disk's drives with their temperatures: the controller's account of them, as long as the plugin's answer is what
/// follows from it; else that answer.
std::optional<std::vector<DiskDrive>> warmDrives(Session& session, OpenedDisk& opened) {
  if (!opened.isKnown()) return std::nullopt;
  const auto answer = temperatures(opened.handle);
  if (!answer.value) {
    session.report().failed(opened.record, "temperature", answer.error);
    return std::nullopt;
  }
  const std::vector<Place> found = askPlaces(session, opened).value_or(std::vector<Place>{});
  const auto expected = expectedTemperatures(session, opened.record);
  if (!expected) return answeredDrives(*answer.value, found);
  if (textOf(*expected) == textOf(*answer.value)) return drivesOf(session, opened.record);
  session.report().failed(
      opened.record, "temperature",
      "the plugin answers with " + textOf(*answer.value) + ", the controller reported " + textOf(*expected));
  return answeredDrives(*answer.value, found);
}

/// A line of the table.
struct Row {
  HostDisk disk;
  DiskDrive drive;
};

/// Nothing is the largest margin.
bool isCloser(const Row& one, const Row& other) {
  return marginOf(one.drive).value_or(INT_MAX) < marginOf(other.drive).value_or(INT_MAX);
}

const std::vector<Column<Row>>& temperatureColumns() {
  static const std::vector<Column<Row>> columns = {
      {"device", "DEVICE", "the disk's name", Shown::always, 0,
       [](const Row& row) { return printable(row.disk.device); }},
      {"hba", "HBA", "name of the controller", Shown::always, 2,
       [](const Row& row) { return printable(row.disk.hba); }},
      {"address", "C:T:L", "channel, target and LUN of the disk", Shown::whenAsked, 3,
       [](const Row& row) { return addressOf(row.disk); }},
      {"place", "PORT:BOX:BAY", "where the drive sits", Shown::always, 0,
       [](const Row& row) { return placeText(row.drive) + (row.drive.isMissing ? " (missing)" : ""); }},
      {"serial", "SERIAL", "the drive's serial number", Shown::whenAsked, 2,
       [](const Row& row) { return orUnknown(row.drive.serial); }},
      {"current", "CURRENT C", "temperature in degrees Celsius", Shown::always, 0,
       [](const Row& row) { return orUnknown(row.drive.current); }},
      {"maximum", "MAXIMUM C", "the drive's maximum", Shown::always, 3,
       [](const Row& row) { return orUnknown(row.drive.maximum); }},
      {"margin", "MARGIN", "degrees that are left; ! at five and below", Shown::always, 1,
       [](const Row& row) { return marginText(row.drive); }}};
  return columns;
}

class TemperatureCommand final : public Command {
 public:
  TemperatureCommand()
      : Command({.name = "temperature",
                 .group = kLooking,
                 .summary = "Show how warm the drives of some disks are, in degrees Celsius",
                 .onRealHost = kNeedsInventory,
                 .examples = {{"How warm the drives of a volume are", "dmu-host temperature vmhba2:1:1:0"},
                              {"Those closest to their maximum", "dmu-host temperature --all --sort margin"}}}) {}

  std::vector<Option> options() override {
    const Option sort{"--sort", "ORDER", "Sort the drives by place, or by margin: those closest to their maximum first",
                      Word{&order_, {"place", "margin"}}};
    return both(both(devices_.options(), {sort}), choice_.options(namesOf(temperatureColumns())));
  }

  [[nodiscard]] std::vector<std::pair<std::string, std::string>> columns() const override {
    return helpOf(temperatureColumns());
  }

  Outcome run(Session& session) override {
    std::vector<Row> rows;
    Json devices = Json::array();
    for (OpenedDisk& opened : devices_.open(session)) {
      const auto drives = warmDrives(session, opened);
      for (const DiskDrive& drive : drives.value_or(std::vector<DiskDrive>{}))
        rows.push_back({opened.record.disk, drive});
      if (drives && drives->empty()) rows.push_back({opened.record.disk, {}});
      Json device = toJson(opened.record);
      device["temperatures"] = drives ? toJson(*drives) : Json(nullptr);
      devices.push_back(std::move(device));
    }
    if (order_ == "margin") std::stable_sort(rows.begin(), rows.end(), isCloser);
    return {tableOf(rows, temperatureColumns(), choice_, session.terminal()), {{"devices", std::move(devices)}}};
  }

 private:
  DeviceArguments devices_;
  std::string order_ = "place";
  ColumnChoice choice_;
};

}  // namespace

std::unique_ptr<Command> makeTemperatureCommand() {
  return std::make_unique<TemperatureCommand>();
}

}  // namespace host
