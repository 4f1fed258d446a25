// Answers computed from the topology and the state of the simulated hardware.
#include "host/check/expectations.h"

#include <algorithm>
#include <map>

namespace host::check {
namespace {

constexpr uint32_t kMirroredStripes = 64;
constexpr size_t kPortCharacters = 8;

uint32_t indexOf(const simulator::Drive& drive) {
  return (drive.bus - 1u) * 256 + drive.target;
}

std::string locationOf(const simulator::Drive& drive) {
  return "port:box:bay " + drive.port.substr(0, kPortCharacters) + ":" + std::to_string(drive.box) + ":" +
         std::to_string(drive.bay);
}

/// The drives that a subject stands for, in the controller's order.
std::vector<simulator::Drive> modelDrives(const Subject& subject) {
  if (subject.kind == Kind::disk) return {*subject.drive};
  std::vector<simulator::Drive> drives;
  if (subject.kind == Kind::externalVolume) return drives;
  const auto& members = subject.volume->members;
  for (const simulator::Drive& drive : subject.controller->drives) {
    if (std::find(members.begin(), members.end(), indexOf(drive)) != members.end()) drives.push_back(drive);
  }
  return drives;
}

}  // namespace

uint32_t expectedRaidLevel(const simulator::Volume& volume) {
  using enum simulator::RaidLevel;
  switch (volume.raidLevel) {
    case raid0:
      return 0;
    case raid1:
    case raid10:
      return volume.members.size() < 3 ? 1 : kMirroredStripes;
    case raid4:
      return 4;
    case raid5:
      return 5;
    case raid6:
      return 6;
  }
  return 0;
}

std::vector<std::string> expectedLocations(const Subject& subject) {
  std::vector<std::string> texts;
  for (const simulator::Drive& drive : modelDrives(subject)) texts.push_back(locationOf(drive));
  std::sort(texts.begin(), texts.end());
  return texts;
}

std::vector<DriveTemperature> expectedTemperatures(const Subject& subject) {
  std::map<std::string, DriveTemperature> byLocation;
  for (const simulator::Drive& drive : modelDrives(subject)) {
    byLocation[locationOf(drive)] = {drive.currentTemperature, drive.maximumTemperature};
  }
  std::vector<DriveTemperature> records;
  for (const auto& [location, record] : byLocation) records.push_back(record);
  return records;
}

std::vector<uint32_t> drivesOf(const Subject& subject) {
  return subject.kind == Kind::disk ? std::vector{indexOf(*subject.drive)} : subject.volume->members;
}

std::vector<std::string> blinking(const simulator::SimulatedHost& host) {
  std::vector<std::string> names;
  for (const simulator::ControllerState& controller : host.state()) {
    for (const simulator::DriveState& drive : controller.drives) {
      if (drive.blinking) names.push_back(driveName(controller.hba, indexOf(drive.drive)));
    }
  }
  return names;
}

std::vector<std::string> cachesOn(const simulator::SimulatedHost& host) {
  std::vector<std::string> names;
  for (const simulator::ControllerState& controller : host.state()) {
    if (controller.driveCacheOn) names.push_back(controllerCacheName(controller.hba));
    for (const simulator::VolumeState& volume : controller.volumes) {
      if (volume.volume.cacheOn) names.push_back(volumeCacheName(volume.volume));
    }
  }
  return names;
}

std::string driveName(const std::string& hba, uint32_t index) {
  return hba + " drive " + std::to_string(index);
}

std::string controllerCacheName(const std::string& hba) {
  return hba + "'s drives";
}

std::string volumeCacheName(const simulator::Volume& volume) {
  return volume.device;
}

void expectNames(const std::string& what, std::vector<std::string> expected, std::vector<std::string> seen) {
  std::sort(expected.begin(), expected.end());
  std::sort(seen.begin(), seen.end());
  expectList(what, expected, seen);
}

}  // namespace host::check
