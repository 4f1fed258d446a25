// Matches names against the host's disks: the device's own name first, then the other ways of naming one.
#include "host/device_names.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "host/operations.h"
#include "host/serial_number.h"
#include "host/text.h"

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

std::vector<std::string> candidates(const std::vector<HostDisk>& disks) {
  std::vector<std::string> texts;
  for (size_t index = 0; index < std::min(disks.size(), kMostCandidates); ++index) {
    texts.push_back(candidate(disks[index]));
  }
  if (disks.size() > kMostCandidates) {
    texts.push_back("and " + std::to_string(disks.size() - kMostCandidates) + " more; \"dmu-host list\" shows them");
  }
  return texts;
}

/// The physical disk in a bay; for a bay whose drive the host does not see, a refusal that names its volumes.
std::vector<HostDisk> findByPlace(Session& session, const std::string& name, const Place& place) {
  std::vector<HostDisk> inBay;
  std::vector<HostDisk> volumes;
  for (const HostDisk& disk : session.disks()) {
    const DeviceHandle handle = openHandle(session.plugin(), disk);
    if (handle.get() == nullptr) continue;
    const auto information = deviceInformation(handle);
    const auto found = places(handle);
    if (!information.value || !found.value) continue;
    const bool sitsThere = std::any_of(found.value->begin(), found.value->end(),
                                       [&](const Place& other) { return isSamePlace(place, other); });
    if (sitsThere) (information.value->deviceType == kVolumeType ? volumes : inBay).push_back(disk);
  }
  if (inBay.empty() && !volumes.empty()) {
    throw Refusal(printable(name) + ": no such device; the drive in that bay belongs to", candidates(volumes));
  }
  return inBay;
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
