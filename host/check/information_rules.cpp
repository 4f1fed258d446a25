// Operation 0: what a device is.
#include <algorithm>

#include "host/check/expectations.h"

namespace host::check {
namespace {

constexpr uint32_t kRaidLevels[] = {kDmuRaid0, kDmuRaid1,  kDmuRaid4,           kDmuRaid5,
                                    kDmuRaid6, kDmuRaid10, kDmuRaidLevelUnknown};

/// Only the fields may be written; of a disk only the type.
void expectPaddingUntouched(const std::string& what, const InformationCall& call) {
  const bool isDisk = call.information().deviceType == kDmuPhysicalDisk;
  const bool fields = isDisk ? call.isUntouched(4, 12) : call.isUntouched(5, 8);
  expect(fields, what + ": it wrote to bytes of the record that it must leave alone");
  expect(call.isUntouched(sizeof(DmuDeviceInfo)), what + ": it wrote beyond the record");
}

/// On a real host all disks must be answered for; a simulated one can have more than a plugin lists.
std::vector<HostDisk> disksToAnswerFor(Trial& trial) {
  if (!trial.isSimulated()) return trial.servedDisks();
  std::vector<HostDisk> disks;
  for (const Subject& subject : trial.subjects()) disks.push_back(subject.disk);
  return disks;
}

void answers(Trial& trial) {
  std::string unreachable;
  for (const HostDisk& disk : disksToAnswerFor(trial)) {
    const uint32_t before = trial.commands().unreached;
    const InformationCall call(trial.open(disk));
    const std::string what = "device information of " + disk.device;
    const CommandCounts commands = trial.commands();
    if (call.result != 0 && commands.unreached > before) {
      unreachable = what + ": the controller cannot be reached: " + commands.lastUnreached;
      continue;
    }
    expectResult(what, 0, call.result);
    const uint32_t type = call.information().deviceType;
    expect(type == kDmuLogicalVolume || type == kDmuPhysicalDisk,
           what + ": expected device type 1 or 2, got " + std::to_string(type));
    expectPaddingUntouched(what, call);
    if (type == kDmuPhysicalDisk) continue;
    const uint32_t level = call.information().raidLevel;
    expect(std::find(std::begin(kRaidLevels), std::end(kRaidLevels), level) != std::end(kRaidLevels),
           what + ": expected RAID level 0, 1, 4, 5, 6, 64 or 255, got " + std::to_string(level));
  }
  if (!unreachable.empty()) throw Skipped{unreachable};
}

void expectVolume(const OpenSubject& subject, uint32_t members, uint32_t raidLevel) {
  const std::string what = subject.of("device information");
  const InformationCall call = informationOf(subject);
  expectNumber(what + ": device type", kDmuLogicalVolume, call.information().deviceType);
  expectNumber(what + ": member drives", members, call.information().physicalDisks);
  expectNumber(what + ": RAID level", raidLevel, call.information().raidLevel);
}

void describesVolumes(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach(Kind::volume)) {
    expectVolume(subject, static_cast<uint32_t>(subject.volume->members.size()), expectedRaidLevel(*subject.volume));
  }
}

void describesExternalVolumes(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach(Kind::externalVolume)) {
    expectVolume(subject, 1, kDmuRaidLevelUnknown);
  }
}

void describesDisks(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach(Kind::disk)) {
    const std::string what = subject.of("device information");
    const InformationCall call = informationOf(subject);
    expectNumber(what + ": device type", kDmuPhysicalDisk, call.information().deviceType);
    expectPaddingUntouched(what, call);
  }
}

/// A host of its own, with a volume of every level.
void raidLevels(Trial& trial) {
  using enum simulator::RaidLevel;
  simulator::Controller controller;
  controller.hba = "vmhba1";
  controller.maxPhysDevicesSupported = 64;
  controller.maxPhysDrivesPerLogicalUnit = 16;
  controller.maxLogicalDrivesSupported = 16;
  for (uint8_t target = 0; target < 4; ++target) {
    simulator::Drive drive;
    drive.target = target;
    controller.drives.push_back(drive);
  }
  for (const simulator::RaidLevel level : {raid0, raid1, raid10, raid4, raid5, raid6}) {
    simulator::Volume volume;
    volume.number = static_cast<uint32_t>(controller.volumes.size());
    volume.device = "volume" + std::to_string(volume.number);
    volume.raidLevel = level;
    volume.members = level == raid1 ? std::vector<uint32_t>{0, 1} : std::vector<uint32_t>{0, 1, 2, 3};
    controller.volumes.push_back(volume);
  }
  simulator::Topology topology;
  topology.controllers = {controller};
  trial.simulatedHost().load(topology);
  const std::vector<HostDisk> disks = trial.simulatedHost().disks();
  for (size_t i = 0; i < disks.size(); ++i) {
    const InformationCall call(trial.open(disks[i]));
    expectResult("device information of a volume", 0, call.result);
    const uint32_t expected = expectedRaidLevel(controller.volumes[i]);
    const std::string drives = std::to_string(controller.volumes[i].members.size()) + " drives";
    expectNumber("RAID level of a volume of " + drives, expected, call.information().raidLevel);
  }
}

}  // namespace

std::vector<Rule> informationRules() {
  return {
      {"info.answers", "every disk has a type and level, and nothing but the fields is written", answers},
      {"info.volume", "a volume has its members and RAID level", describesVolumes, Needs::simulatedHost},
      {"info.raid-levels", "every RAID level has its code", raidLevels, Needs::simulatedHost},
      {"info.external-volume", "an external volume has one member and an unknown level", describesExternalVolumes,
       Needs::simulatedHost},
      {"info.disk", "a physical disk has its type alone", describesDisks, Needs::simulatedHost},
  };
}

}  // namespace host::check
