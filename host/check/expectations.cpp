// Answers computed from the topology, and the state of the simulated hardware in words.
#include "host/check/expectations.h"

#include <algorithm>
#include <map>

#include "host/disks/place.h"

namespace host::check {
namespace {

constexpr uint32_t kMirroredStripes = 64;

uint32_t indexOf(const simulator::Drive& drive) {
  return (drive.bus - 1u) * 256 + drive.target;
}

std::string driveName(const std::string& hba, uint32_t index) {
  return hba + " drive " + std::to_string(index);
}

std::string driveCacheName(const std::string& hba) {
  return hba + "'s drives";
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

void expectNames(const std::string& what, std::vector<std::string> expected, std::vector<std::string> seen) {
  std::sort(expected.begin(), expected.end());
  std::sort(seen.begin(), seen.end());
  expectList(what, expected, seen);
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

std::vector<std::string> expectedTemperatures(const Subject& subject) {
  std::map<std::string, std::string> byLocation;
  for (const simulator::Drive& drive : modelDrives(subject)) {
    byLocation[locationOf(drive)] =
        std::to_string(drive.currentTemperature) + "/" + std::to_string(drive.maximumTemperature);
  }
  std::vector<std::string> texts;
  for (const auto& [location, text] : byLocation) texts.push_back(text);
  return texts;
}

std::vector<std::string> drivesOf(const Subject& subject) {
  if (subject.kind == Kind::disk) return {driveName(subject.disk.hba, indexOf(*subject.drive))};
  std::vector<std::string> names;
  for (const uint32_t member : subject.volume->members) names.push_back(driveName(subject.disk.hba, member));
  return names;
}

uint32_t tenthsLeft(const simulator::SimulatedHost& host, const std::string& drive) {
  for (const simulator::ControllerState& controller : host.state()) {
    for (const simulator::DriveState& state : controller.drives) {
      if (driveName(controller.hba, indexOf(state.drive)) == drive) return state.blinkTenthsLeft;
    }
  }
  return 0;
}

std::string cacheOf(const Subject& subject) {
  return subject.kind == Kind::disk ? driveCacheName(subject.disk.hba) : subject.disk.device;
}

std::vector<std::string> cachesOn(const simulator::SimulatedHost& host) {
  std::vector<std::string> names;
  for (const simulator::ControllerState& controller : host.state()) {
    if (controller.driveCacheOn) names.push_back(driveCacheName(controller.hba));
    for (const simulator::VolumeState& volume : controller.volumes) {
      if (volume.volume.cacheOn) names.push_back(volume.volume.device);
    }
  }
  return names;
}

void expectBlinking(const std::string& what, const std::vector<std::string>& drives,
                    const simulator::SimulatedHost& host) {
  std::vector<std::string> blinking;
  for (const simulator::ControllerState& controller : host.state()) {
    for (const simulator::DriveState& drive : controller.drives) {
      if (drive.blinking) blinking.push_back(driveName(controller.hba, indexOf(drive.drive)));
    }
  }
  expectNames(what + ": drives that blink", drives, blinking);
}

void expectCachesOn(const std::string& what, const std::vector<std::string>& caches,
                    const simulator::SimulatedHost& host) {
  expectNames(what + ": caches that are on", caches, cachesOn(host));
}

}  // namespace host::check
