// Holds the plugin's temperatures against what the controller reported.
#include "host/disks/warm_drives.h"

#include <algorithm>
#include <set>

#include "host/output/degrees.h"

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

}  // namespace

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

}  // namespace host
