// Looks a disk up in the model of its controller, as the plugin does: a volume by its address, a physical disk by its
// serial number.
#include "host/disks/disk_drives.h"

#include <algorithm>
#include <map>
#include <set>

#include "host/output/degrees.h"
#include "host/output/json_values.h"
#include "host/output/text.h"

namespace host {
namespace {

constexpr int kCloseToMaximum = 5;  // degrees

struct FoundDisk {
  const model::Controller* controller = nullptr;
  const model::Volume* volume = nullptr;
  const model::Drive* drive = nullptr;
};

FoundDisk find(Session& session, const DiskRecord& record) {
  FoundDisk found;
  found.controller = session.controllers().find(record.disk.hba);
  if (found.controller == nullptr) return found;
  found.volume = found.controller->volumeOf(record.disk);
  if (found.volume == nullptr) found.drive = found.controller->exposedDrive(record.serial.value_or(""));
  return found;
}

/// As the plugin words it.
std::string locationText(const model::DriveIdentity& identity) {
  return "port:box:bay " + identity.bay.port.substr(0, kPortCharacters) + ":" + std::to_string(identity.bay.box) + ":" +
         std::to_string(identity.bay.bay);
}

DriveTemperature temperatureOf(const model::DriveIdentity& identity) {
  return {identity.currentTemperature, identity.maximumTemperature};
}

model::DriveIdentity identityOf(const model::Drive* drive) {
  return drive == nullptr ? model::DriveIdentity{} : drive->identity.value_or(model::DriveIdentity{});
}

bool hasMembers(const FoundDisk& found) {
  return found.volume != nullptr && !found.volume->isExternal && found.volume->members.has_value();
}

/// A member that the plugin finds in its list of devices.
bool isFoundMember(const model::Drive& drive, const model::Volume& volume) {
  return drive.isMasked && drive.hasRoom && volume.members->contains(drive.index);
}

}  // namespace

DiskDrive describeDrive(uint32_t index, const model::Drive* drive) {
  DiskDrive described;
  described.index = index;
  described.isMissing = drive == nullptr || !drive->isListed;
  if (drive == nullptr || !drive->identity) return described;
  const model::DriveIdentity& identity = *drive->identity;
  if (!identity.serial.empty()) described.serial = identity.serial;
  described.place = placeOf(identity);
  described.place->failed = described.isMissing;
  described.current = degrees(identity.currentTemperature);
  described.maximum = degrees(identity.maximumTemperature);
  return described;
}

std::optional<std::vector<DiskDrive>> drivesOf(Session& session, const DiskRecord& record) {
  const FoundDisk found = find(session, record);
  if (found.drive != nullptr) return std::vector{describeDrive(found.drive->index, found.drive)};
  if (!hasMembers(found)) return std::nullopt;
  std::vector<DiskDrive> drives;
  for (const uint32_t index : *found.volume->members) {
    drives.push_back(describeDrive(index, found.controller->drive(index)));
  }
  const auto textOf = [](const DiskDrive& drive) { return drive.place ? drive.place->text : "~"; };  // the unknown last
  std::stable_sort(drives.begin(), drives.end(),
                   [&](const DiskDrive& one, const DiskDrive& other) { return textOf(one) < textOf(other); });
  return drives;
}

std::optional<std::vector<DriveTemperature>> expectedTemperatures(Session& session, const DiskRecord& record) {
  const FoundDisk found = find(session, record);
  if (found.drive != nullptr) return std::vector{temperatureOf(*found.drive->identity)};
  if (!hasMembers(found)) return std::nullopt;
  std::map<std::string, DriveTemperature> byLocation;
  for (const model::Drive& drive : found.controller->drives) {
    if (!isFoundMember(drive, *found.volume)) continue;
    const model::DriveIdentity identity = identityOf(&drive);
    byLocation[locationText(identity)] = temperatureOf(identity);
  }
  std::vector<DriveTemperature> expected;
  for (const auto& [location, temperature] : byLocation) expected.push_back(temperature);
  return expected;
}

std::optional<std::vector<std::string>> expectedLocations(Session& session, const DiskRecord& record) {
  const FoundDisk found = find(session, record);
  if (found.drive != nullptr) return std::vector{locationText(*found.drive->identity)};
  if (!hasMembers(found)) return std::nullopt;
  std::set<uint32_t> unfound = *found.volume->members;
  std::vector<std::string> texts;
  for (const model::Drive& drive : found.controller->drives) {
    if (!isFoundMember(drive, *found.volume)) continue;
    unfound.erase(drive.index);
    texts.push_back(locationText(identityOf(&drive)));
  }
  if (texts.size() != (found.volume->memberCount.value_or(0) & 0xFF)) {
    for (const uint32_t index : unfound) {
      texts.push_back(locationText(identityOf(found.controller->drive(index))) + "(Failed)");
    }
  }
  std::sort(texts.begin(), texts.end());
  return texts;
}

Place placeOf(const model::DriveIdentity& identity) {
  return {locationText(identity), identity.bay.port, identity.bay.box, identity.bay.bay, false};
}

std::optional<int> marginOf(const DiskDrive& drive) {
  if (!drive.current || !drive.maximum) return std::nullopt;
  return static_cast<int>(*drive.maximum) - static_cast<int>(*drive.current);
}

std::string marginText(const DiskDrive& drive) {
  const auto margin = marginOf(drive);
  if (!margin) return kUnknown;
  return std::to_string(*margin) + (*margin <= kCloseToMaximum ? " !" : "");
}

std::string placeText(const DiskDrive& drive) {
  if (drive.place) return bayText(*drive.place);
  return drive.index ? "drive " + std::to_string(*drive.index) : kUnknown;
}

std::string placesText(const std::vector<DiskDrive>& drives, Which which) {
  std::vector<std::string> places;
  for (const DiskDrive& drive : drives) {
    if (drive.isMissing == (which == Which::missing)) places.push_back(placeText(drive));
  }
  return joined(places);
}

Json toJson(const std::vector<DiskDrive>& drives) {
  Json json = Json::array();
  for (const DiskDrive& drive : drives) {
    json.push_back({{"index", orNull(drive.index)},
                    {"missing", drive.isMissing},
                    {"serial", orNull(drive.serial)},
                    {"location", drive.place ? toJson(*drive.place) : Json(nullptr)},
                    {"current", orNull(drive.current)},
                    {"maximum", orNull(drive.maximum)},
                    {"margin", orNull(marginOf(drive))}});
  }
  return json;
}

}  // namespace host
