// dmu-host temperature: how warm the drives of some disks are.
#include <algorithm>
#include <set>

#include "host/commands/commands.h"
#include "host/disks/device_arguments.h"
#include "host/output/degrees.h"
#include "host/output/text.h"
#include "host/output/text_table.h"

namespace host {
namespace {

/// One drive's temperatures in degrees Celsius, with its place where it is sure that the two belong together.
struct Reading {
  std::optional<uint32_t> current;
  std::optional<uint32_t> maximum;
  std::optional<Place> place;
};

/// The plugin gives temperatures in the order of the location texts, but one for all drives of the same text, and none
/// for a drive that the controller's list misses.
bool belongTogether(size_t readings, const std::vector<Place>& found) {
  std::set<std::string> texts;
  for (const Place& place : found) texts.insert(place.text);
  const bool anyFailed = std::any_of(found.begin(), found.end(), [](const Place& place) { return place.failed; });
  return found.size() == readings && texts.size() == found.size() && !anyFailed;
}

std::optional<std::vector<Reading>> readingsOf(Session& session, OpenedDisk& opened) {
  if (!opened.isKnown()) return std::nullopt;
  const auto answer = temperatures(opened.handle);
  if (!answer.value) {
    session.report().failed(opened.record, "temperature", answer.error);
    return std::nullopt;
  }
  const std::vector<Place> found = askPlaces(session, opened).value_or(std::vector<Place>{});
  const bool withPlaces = belongTogether(answer.value->size(), found);
  std::vector<Reading> readings;
  for (const DriveTemperature& temperature : *answer.value) {
    Reading reading{degrees(temperature.currentTemperature), degrees(temperature.maximumTemperature), std::nullopt};
    if (withPlaces) reading.place = found[readings.size()];
    readings.push_back(std::move(reading));
  }
  return readings;
}

std::vector<std::string> rowOf(const DiskRecord& record, const Reading& reading) {
  return {printable(record.disk.device), reading.place ? describe(*reading.place) : kUnknown,
          orUnknown(reading.current), orUnknown(reading.maximum)};
}

Json toJson(const Reading& reading) {
  return {{"current", orNull(reading.current)},
          {"maximum", orNull(reading.maximum)},
          {"location", reading.place ? toJson(*reading.place) : Json(nullptr)}};
}

class TemperatureCommand final : public Command {
 public:
  TemperatureCommand()
      : Command("temperature", "Show how warm the drives of some disks are, in degrees Celsius",
                {"dmu-host temperature vmhba2:1:1:0", "dmu-host temperature --all --json"}) {}

  std::vector<Option> options() override { return devices_.options(); }

  Outcome run(Session& session) override {
    TextTable table({"DEVICE", "PORT:BOX:BAY", "CURRENT C", "MAXIMUM C"});
    Json devices = Json::array();
    for (OpenedDisk& opened : devices_.open(session)) {
      const auto readings = readingsOf(session, opened);
      Json list = readings ? Json::array() : Json(nullptr);
      for (const Reading& reading : readings.value_or(std::vector<Reading>{})) {
        table.addRow(rowOf(opened.record, reading));
        list.push_back(toJson(reading));
      }
      if (readings && readings->empty()) table.addRow(rowOf(opened.record, {}));
      Json device = toJson(opened.record);
      device["temperatures"] = std::move(list);
      devices.push_back(std::move(device));
    }
    return {table.text(session.terminal()), {{"devices", std::move(devices)}}};
  }

 private:
  DeviceArguments devices_;
};

}  // namespace

std::unique_ptr<Command> makeTemperatureCommand() {
  return std::make_unique<TemperatureCommand>();
}

}  // namespace host
