// Operation 0: what a device is.
#include <algorithm>

#include "host/check/calls.h"
#include "host/check/expectations.h"

namespace host::check {
namespace {

constexpr uint32_t kRaidLevels[] = {kDmuRaid0, kDmuRaid1,  kDmuRaid4,           kDmuRaid5,
                                    kDmuRaid6, kDmuRaid10, kDmuRaidLevelUnknown};

void expectNumber(const std::string& what, uint32_t expected, uint32_t seen) {
  expect(expected == seen, what + ": expected " + std::to_string(expected) + ", got " + std::to_string(seen));
}

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
  for (const HostDisk& disk : disksToAnswerFor(trial)) {
    const Handle handle = trial.open(disk);
    const InformationCall call(trial.plugin(), handle.get());
    const std::string what = "device information of " + disk.device;
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
}

void describesVolumes(Trial& trial) {
  for (const Subject& subject : trial.subjects(Kind::volume)) {
    const Handle handle = trial.open(subject.disk);
    const InformationCall call(trial.plugin(), handle.get());
    const std::string what = "device information of " + subject.disk.device;
    expectResult(what, 0, call.result);
    expectNumber(what + ": device type", kDmuLogicalVolume, call.information().deviceType);
    expectNumber(what + ": member drives", static_cast<uint32_t>(subject.volume->members.size()),
                 call.information().physicalDisks);
    expectNumber(what + ": RAID level", expectedRaidLevel(*subject.volume), call.information().raidLevel);
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
    const Handle handle = trial.open(disks[i]);
    const InformationCall call(trial.plugin(), handle.get());
    expectResult("device information of a volume", 0, call.result);
    const uint32_t expected = expectedRaidLevel(controller.volumes[i]);
    const std::string drives = std::to_string(controller.volumes[i].members.size()) + " drives";
    expectNumber("RAID level of a volume of " + drives, expected, call.information().raidLevel);
  }
}

void describesExternalVolumes(Trial& trial) {
  for (const Subject& subject : trial.subjects(Kind::externalVolume)) {
    const Handle handle = trial.open(subject.disk);
    const InformationCall call(trial.plugin(), handle.get());
    const std::string what = "device information of " + subject.disk.device;
    expectResult(what, 0, call.result);
    expectNumber(what + ": device type", kDmuLogicalVolume, call.information().deviceType);
    expectNumber(what + ": member drives", 1, call.information().physicalDisks);
    expectNumber(what + ": RAID level", kDmuRaidLevelUnknown, call.information().raidLevel);
  }
}

void describesDisks(Trial& trial) {
  for (const Subject& subject : trial.subjects(Kind::disk)) {
    const Handle handle = trial.open(subject.disk);
    const InformationCall call(trial.plugin(), handle.get());
    const std::string what = "device information of " + subject.disk.device;
    expectResult(what, 0, call.result);
    expectNumber(what + ": device type", kDmuPhysicalDisk, call.information().deviceType);
    expectPaddingUntouched(what, call);
  }
}

constexpr Rule kInformationRules[] = {
    {"info.answers", "every disk has a type and level, and nothing but the fields is written", Needs::anyHost, answers},
    {"info.volume", "a volume has its members and RAID level", Needs::simulatedHost, describesVolumes},
    {"info.raid-levels", "every RAID level has its code", Needs::simulatedHost, raidLevels},
    {"info.external-volume", "an external volume has one member and an unknown level", Needs::simulatedHost,
     describesExternalVolumes},
    {"info.disk", "a physical disk has its type alone", Needs::simulatedHost, describesDisks},
};

}  // namespace

std::span<const Rule> informationRules() {
  return kInformationRules;
}

}  // namespace host::check
