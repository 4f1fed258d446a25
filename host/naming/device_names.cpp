// Matches names against the host's disks: the device's own name first, then the other ways of naming one.
#include "host/naming/device_names.h"

#include <algorithm>
#include <functional>

#include "host/disks/disk_drives.h"
#include "host/disks/plugin_calls.h"
#include "host/disks/serial_number.h"
#include "host/interception/host_calls.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

namespace host {
namespace {

constexpr size_t kMostDetails = 20;  // reading a serial number takes its time

/// The disks with this name, else those with it in another case. Each disk is asked for its name once: that can mean a
/// request to its node.
std::vector<HostDisk> namedSo(const std::vector<HostDisk>& disks, const std::string& name,
                              const std::function<std::string(const HostDisk&)>& nameOf) {
  std::vector<HostDisk> exact;
  std::vector<HostDisk> inAnyCase;
  Activity activity(disks.size(), "disks");
  for (const HostDisk& disk : disks) {
    activity.advance();
    const std::string own = nameOf(disk);
    if (own == name) exact.push_back(disk);
    if (lowerCase(own) == lowerCase(name)) inAnyCase.push_back(disk);
  }
  return exact.empty() ? inAnyCase : exact;
}

std::vector<Candidate> candidates(const std::vector<HostDisk>& disks) {
  std::vector<Candidate> all;
  for (const HostDisk& disk : disks) {
    Candidate candidate{disk.device, disk.hba + ":" + addressOf(disk)};
    const auto serial = all.size() < kMostDetails ? serialNumberOf(disk).serial : std::nullopt;
    if (serial) candidate.details += "  serial:" + *serial;
    all.push_back(std::move(candidate));
  }
  return all;
}

/// A bay as a name gives it: "[HBA:]PORT:BOX:BAY".
struct NamedBay {
  std::string hba;  ///< empty: any
  Place place;

  [[nodiscard]] bool isOn(const std::string& controller) const { return hba.empty() || hba == controller; }
};

/// A port may hold a colon itself: a controller's name is one only if the host has that controller.
NamedBay parseBay(const std::vector<HostDisk>& disks, const std::string& name) {
  std::string rest = name.substr(kBayPrefix.size());
  NamedBay bay;
  for (const HostDisk& disk : disks) {
    if (!lowerCase(rest).starts_with(lowerCase(disk.hba) + ":")) continue;
    bay.hba = disk.hba;
    rest.erase(0, disk.hba.size() + 1);
    break;
  }
  const auto place = parsePlace(rest);
  if (!place) throw Refusal(printable(name) + ": a place is written bay:[HBA:]PORT:BOX:BAY");
  bay.place = *place;
  return bay;
}

/// The physical disks of the host and the volumes, each with the places of its drives.
struct PlacedDisks {
  std::vector<std::pair<HostDisk, std::vector<Place>>> disks;
  std::vector<std::pair<HostDisk, std::vector<Place>>> volumes;
  size_t notAsked = 0;  ///< disks of which the plugin could not tell it
};

PlacedDisks askAllPlaces(Session& session) {
  PlacedDisks placed;
  Activity activity(session.disks().size(), "disks");
  for (const HostDisk& disk : session.disks()) {
    activity.advance();
    const DeviceHandle handle = openHandle(session.plugin(), disk);
    if (handle.get() == nullptr) continue;
    const auto information = deviceInformation(handle);
    auto found = places(handle);
    if (!information.value || !found.value) {
      ++placed.notAsked;
      continue;
    }
    auto& list = information.value->deviceType == kDmuLogicalVolume ? placed.volumes : placed.disks;
    list.emplace_back(disk, *std::move(found.value));
  }
  return placed;
}

std::vector<HostDisk> disksAt(const NamedBay& bay, const std::vector<std::pair<HostDisk, std::vector<Place>>>& placed) {
  std::vector<HostDisk> there;
  for (const auto& [disk, places] : placed) {
    const bool sitsThere =
        std::any_of(places.begin(), places.end(), [&](const Place& other) { return isSamePlace(bay.place, other); });
    if (sitsThere && bay.isOn(disk.hba)) there.push_back(disk);
  }
  return there;
}

/// What the controllers reported of a bay in which no disk sits.
std::string whyEmpty(Session& session, const NamedBay& bay) {
  bool isBoxKnown = false;
  for (const auto& [hba, controller] : session.controllers().all()) {
    if (!bay.isOn(hba)) continue;
    for (const model::Drive& drive : controller.drives) {
      if (!drive.identity || !drive.isListed) continue;
      Place place = placeOf(*drive.identity);
      if (isSamePlace(bay.place, place)) {
        return "the drive in that bay of " + hba + ", serial:" + drive.identity->serial + ", belongs to no disk";
      }
      place.bay = bay.place.bay;
      isBoxKnown = isBoxKnown || isSamePlace(bay.place, place);
    }
  }
  return isBoxKnown ? "that bay is empty" : "no such bay: there is no drive in that box of that port";
}

/// The physical disks in a bay. Other bays are refused: with the volumes of the drive, or what else is there.
std::vector<HostDisk> findByPlace(Session& session, const std::string& name) {
  const NamedBay bay = parseBay(session.disks(), name);
  const PlacedDisks placed = askAllPlaces(session);
  auto found = disksAt(bay, placed.disks);
  if (!found.empty()) return found;
  if (const auto volumes = disksAt(bay, placed.volumes); !volumes.empty()) {
    throw Refusal(printable(name) + ": no such device; the drive in that bay belongs to", candidates(volumes));
  }
  std::vector<Candidate> bays;
  for (const auto& [disk, places] : placed.disks) bays.push_back({disk.device, "bay:" + describe(places)});
  std::string text = printable(name + ": " + whyEmpty(session, bay));
  if (placed.notAsked > 0) text += " (" + counted(placed.notAsked, "disk") + " could not be asked for their place)";
  if (!bays.empty()) text += "; this host has";
  throw Refusal(text, std::move(bays));
}

std::string withoutPath(const std::string& name) {
  return name.starts_with(kNodes) ? name.substr(kNodes.size()) : name;
}

std::string serialOf(const HostDisk& disk) {
  return serialNumberOf(disk).serial.value_or("");
}

std::vector<HostDisk> findByName(Session& session, const std::string& name) {
  const std::vector<HostDisk>& disks = session.disks();
  auto found = namedSo(disks, withoutPath(name), [](const HostDisk& disk) { return disk.device; });
  if (found.empty())
    found = namedSo(disks, name, [](const HostDisk& disk) { return disk.hba + ":" + addressOf(disk); });
  if (!found.empty()) return found;
  if (name.starts_with(kBayPrefix)) return findByPlace(session, name);
  const std::string serial = name.starts_with(kSerialPrefix) ? name.substr(kSerialPrefix.size()) : name;
  return serial.empty() ? found : namedSo(disks, serial, serialOf);
}

HostDisk diskNamed(Session& session, const std::string& name) {
  const auto found = findByName(session, name);
  if (found.empty()) {
    throw Refusal(printable(name) + ": no such device; this host has", candidates(session.disks()));
  }
  if (found.size() > 1) {
    throw Refusal(printable(name) + ": ambiguous; it names " + counted(found.size(), "disk"), candidates(found));
  }
  return found.front();
}

}  // namespace

std::vector<HostDisk> disksNamed(Session& session, const std::vector<std::string>& names) {
  std::vector<HostDisk> disks;
  for (const std::string& name : names) {
    const HostDisk disk = diskNamed(session, name);
    const bool isNew =
        std::none_of(disks.begin(), disks.end(), [&](const HostDisk& other) { return other.device == disk.device; });
    if (isNew) disks.push_back(disk);
  }
  return disks;
}

}  // namespace host
