// Contradictions between the parts of a topology: what is there twice, what points nowhere, and what exceeds a limit
// that the controller itself states.
#include "simulator/topology_checks.h"

#include <map>
#include <set>
#include <string>

#include "json/unique.h"
#include "simulator/drive_address.h"
#include "simulator/raid_levels.h"
#include "simulator/wire.h"

namespace simulator {
namespace {

using input::Mistakes;
using input::Unique;

std::string at(const std::string& path, size_t index) {
  return path + "/" + std::to_string(index);
}

std::string count(size_t number, const char* thing) {
  return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

void checkLimits(const Controller& controller, const std::string& path, Mistakes& mistakes) {
  for (size_t i = 0; i < controller.drives.size(); ++i) {
    const Drive& drive = controller.drives[i];
    const std::string place = at(path + "/drives", i);
    const uint32_t index = driveIndex(drive);
    if (index >= controller.maxPhysDevicesSupported) {
      mistakes.add(place, "drive " + driveName(index) + " has index " + std::to_string(index) +
                              ", which is not below maxPhysDevicesSupported, " +
                              std::to_string(controller.maxPhysDevicesSupported));
    }
    if (!drive.exposed && !drive.device.empty())
      mistakes.add(place + "/device", "a masked drive has no node; set exposed or leave the name out");
  }
  for (size_t i = 0; i < controller.volumes.size(); ++i) {
    const Volume& volume = controller.volumes[i];
    if (!volume.external && volume.number >= controller.maxLogicalDrivesSupported) {
      mistakes.add(at(path + "/volumes", i) + "/number", "local volume " + std::to_string(volume.number) +
                                                             " is not below maxLogicalDrivesSupported, " +
                                                             std::to_string(controller.maxLogicalDrivesSupported));
    }
  }
  if (controller.volumes.size() > controller.maxLogicalDrivesSupported)
    mistakes.add(path + "/volumes", count(controller.volumes.size(), "volume") + ", but maxLogicalDrivesSupported is " +
                                        std::to_string(controller.maxLogicalDrivesSupported));
}

void checkMemberCount(const Volume& volume, const Controller& controller, const std::string& path, Mistakes& mistakes) {
  const size_t members = volume.members.size();
  const RaidLevelRule& rule = ruleOf(volume.raidLevel);
  if (members > controller.maxPhysDrivesPerLogicalUnit)
    mistakes.add(path, count(members, "member") + ", but maxPhysDrivesPerLogicalUnit is " +
                           std::to_string(controller.maxPhysDrivesPerLogicalUnit));
  if (volume.external && members == 0) return;
  if (members < rule.leastMembers)
    mistakes.add(path, std::string(rule.name) + " takes at least " + count(rule.leastMembers, "member") + ", not " +
                           std::to_string(members));
  if (members > rule.mostMembers)
    mistakes.add(path, std::string(rule.name) + " takes " + count(rule.mostMembers, "member") + ", not " +
                           std::to_string(members) + "; more are RAID 10");
}

void checkVolumes(const Controller& controller, const std::string& path, Mistakes& mistakes) {
  Unique numbers("volume number", mistakes);
  std::map<uint32_t, std::string> volumeOf16Bits;
  std::set<uint32_t> drives;
  for (const Drive& drive : controller.drives) drives.insert(driveIndex(drive));
  bool externalBefore = false;
  for (size_t i = 0; i < controller.volumes.size(); ++i) {
    const Volume& volume = controller.volumes[i];
    const std::string place = at(path + "/volumes", i);
    if (externalBefore && !volume.external)
      mistakes.add(place, "a local volume after an external one; a controller lists its local volumes first");
    externalBefore = externalBefore || volume.external;

    numbers.claim(std::to_string(volume.number), place + "/number");
    const auto [other, isNew] = volumeOf16Bits.emplace(volume.number & 0xFFFF, std::to_string(volume.number));
    if (!isNew && other->second != std::to_string(volume.number))
      mistakes.add(place + "/number", "volume " + std::to_string(volume.number) + " has the low 16 bits of volume " +
                                          other->second + ", and commands carry no more than those");

    checkMemberCount(volume, controller, place + "/members", mistakes);
    std::map<uint32_t, std::string> memberAt;  // several volumes may lie on the same drives
    for (size_t m = 0; m < volume.members.size(); ++m) {
      const uint32_t member = volume.members[m];
      const std::string memberPlace = at(place + "/members", m);
      if (!drives.contains(member)) mistakes.add(memberPlace, "no drive " + driveName(member) + " on this controller");
      const auto [first, isFirst] = memberAt.emplace(member, memberPlace);
      if (!isFirst)
        mistakes.add(memberPlace, "drive " + driveName(member) + " is a member before, at " + first->second);
    }
  }
}

/// Drives may share a bay, and have any serial numbers: so do those of real controllers.
void checkAddresses(const Controller& controller, const std::string& path, Mistakes& mistakes) {
  Unique addresses("drive address", mistakes);
  for (size_t i = 0; i < controller.drives.size(); ++i) {
    const Drive& drive = controller.drives[i];
    const std::string place = at(path + "/drives", i);
    addresses.claim(driveName(driveIndex(drive)), place);
  }
}

/// What has to be one of its kind on the whole host.
void checkNames(const Topology& topology, Mistakes& mistakes) {
  Unique hbas("HBA name", mistakes);
  Unique devices("device", mistakes);
  const auto claim = [&](const auto& disks, const std::string& path) {
    for (size_t i = 0; i < disks.size(); ++i)
      if (!disks[i].device.empty()) devices.claim(disks[i].device, at(path, i) + "/device");
  };
  for (size_t c = 0; c < topology.controllers.size(); ++c) {
    const Controller& controller = topology.controllers[c];
    const std::string path = at("/controllers", c);
    hbas.claim(controller.hba, path + "/hba");
    claim(controller.drives, path + "/drives");
    claim(controller.volumes, path + "/volumes");
  }
  claim(topology.foreignDisks, "/foreignDisks");
}

void checkDiskOrder(const Topology& topology, Mistakes& mistakes) {
  std::set<std::string> devices;
  const auto collect = [&](const auto& disks) {
    for (const auto& disk : disks) devices.insert(disk.device);
  };
  for (const Controller& controller : topology.controllers) {
    collect(controller.drives);
    collect(controller.volumes);
  }
  collect(topology.foreignDisks);
  Unique places("device", mistakes);
  for (size_t i = 0; i < topology.diskOrder.size(); ++i) {
    const std::string& device = topology.diskOrder[i];
    places.claim(device, at("/diskOrder", i));
    if (!devices.contains(device)) mistakes.add(at("/diskOrder", i), "no device " + input::cut(device));
  }
}

}  // namespace

void checkTopology(const Topology& topology, Mistakes& mistakes) {
  if (topology.controllers.size() > wire::kInstances)
    mistakes.add("/controllers", count(topology.controllers.size(), "controller") + "; the driver takes at most " +
                                     std::to_string(wire::kInstances));
  checkNames(topology, mistakes);
  checkDiskOrder(topology, mistakes);
  for (size_t i = 0; i < topology.controllers.size(); ++i) {
    const std::string path = at("/controllers", i);
    checkAddresses(topology.controllers[i], path, mistakes);
    checkLimits(topology.controllers[i], path, mistakes);
    checkVolumes(topology.controllers[i], path, mistakes);
  }
  checkFaults(topology, mistakes);
}

}  // namespace simulator
