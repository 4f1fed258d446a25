// Matches names against the host's disks: the device's own name first, then the other ways of naming one.
#include "host/disks/device_names.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "host/disks/plugin_calls.h"
#include "host/disks/serial_number.h"
#include "host/output/text.h"

namespace host {
namespace {

constexpr std::string_view kSerialPrefix = "serial:";
constexpr std::string_view kBayPrefix = "bay:";
constexpr size_t kMostCandidates = 20;

using Match = std::function<bool(const HostDisk&)>;

std::vector<HostDisk> matching(const std::vector<HostDisk>& disks, const Match& match) {
  std::vector<HostDisk> found;
  std::copy_if(disks.begin(), disks.end(), std::back_inserter(found), match);
  return found;
}

/// A disk in all the words that name it.
std::string candidate(const HostDisk& disk) {
  std::string text = disk.device + "  " + disk.hba + ":" + addressOf(disk);
  if (const auto serial = readSerialNumber(disk.device).serial) text += "  serial:" + *serial;
  return text;
}

/// As many texts as people will read.
std::vector<std::string> shortened(std::vector<std::string> texts) {
  if (texts.size() <= kMostCandidates) return texts;
  const size_t more = texts.size() - kMostCandidates;
  texts.resize(kMostCandidates);
  texts.push_back("and " + std::to_string(more) + " more; \"dmu-host list\" shows them");
  return texts;
}

std::vector<std::string> candidates(const std::vector<HostDisk>& disks) {
  std::vector<std::string> texts;
  for (const HostDisk& disk : disks) {
    // Reading a serial number takes its time: only for what will be shown.
    texts.push_back(texts.size() < kMostCandidates ? candidate(disk) : disk.device);
  }
  return shortened(std::move(texts));
}

/// The physical disks of the host and the volumes, each with the places of its drives.
struct PlacedDisks {
  std::vector<std::pair<HostDisk, std::vector<Place>>> disks;
  std::vector<std::pair<HostDisk, std::vector<Place>>> volumes;
  size_t notAsked = 0;  ///< disks of which the plugin could not tell it
};

PlacedDisks askAllPlaces(Session& session) {
  PlacedDisks placed;
  for (const HostDisk& disk : session.disks()) {
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

std::vector<HostDisk> disksAt(const Place& place, const std::vector<std::pair<HostDisk, std::vector<Place>>>& placed) {
  std::vector<HostDisk> there;
  for (const auto& [disk, places] : placed) {
    const bool sitsThere =
        std::any_of(places.begin(), places.end(), [&](const Place& other) { return isSamePlace(place, other); });
    if (sitsThere) there.push_back(disk);
  }
  return there;
}

/// The physical disks in a bay. An empty bay is refused, and one whose drive the host does not see, with its volumes.
std::vector<HostDisk> findByPlace(Session& session, const std::string& name, const Place& place) {
  const PlacedDisks placed = askAllPlaces(session);
  auto found = disksAt(place, placed.disks);
  if (!found.empty()) return found;
  if (const auto volumes = disksAt(place, placed.volumes); !volumes.empty()) {
    throw Refusal(printable(name) + ": no such device; the drive in that bay belongs to", candidates(volumes));
  }
  std::vector<std::string> texts;
  for (const auto& [disk, places] : placed.disks) texts.push_back(disk.device + "  bay:" + describe(places));
  std::string text = printable(name) + ": no such device";
  if (placed.notAsked > 0) text += " (" + counted(placed.notAsked, "disk") + " could not be asked for their place)";
  if (!texts.empty()) text += "; this host has";
  throw Refusal(text, shortened(std::move(texts)));
}

std::vector<HostDisk> findByName(Session& session, const std::string& name) {
  const std::vector<HostDisk>& disks = session.disks();
  auto found = matching(disks, [&](const HostDisk& disk) { return disk.device == name; });
  if (found.empty()) {
    found = matching(disks, [&](const HostDisk& disk) { return disk.hba + ":" + addressOf(disk) == name; });
  }
  if (found.empty() && name.starts_with(kSerialPrefix)) {
    const std::string serial = name.substr(kSerialPrefix.size());
    found = matching(disks, [&](const HostDisk& disk) { return readSerialNumber(disk.device).serial == serial; });
  }
  if (found.empty() && name.starts_with(kBayPrefix)) {
    const auto place = parsePlace(name.substr(kBayPrefix.size()));
    if (!place) throw Refusal(printable(name) + ": a place is written bay:PORT:BOX:BAY");
    found = findByPlace(session, name, *place);
  }
  return found;
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
