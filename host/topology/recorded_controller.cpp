// Writes limits, drives and volumes. What the checks of a topology refuse is named, with what stands there instead.
#include "host/topology/recorded_controller.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>

#include "host/model/find_first.h"
#include "host/output/text.h"
#include "host/topology/topology_text.h"
#include "simulator/drive_address.h"
#include "simulator/raid_levels.h"
#include "simulator/wire.h"

namespace host::topology {
namespace {

namespace wire = simulator::wire;
using simulator::FaultAction;
using simulator::FaultRule;

constexpr uint32_t kMostDriveIndex = simulator::driveIndex(simulator::kMostBus, simulator::kMostTarget);

std::vector<uint8_t> littleEndian(std::initializer_list<uint32_t> numbers) {
  std::vector<uint8_t> bytes;
  for (const uint32_t number : numbers) {
    bytes.push_back(static_cast<uint8_t>(number));
    bytes.push_back(static_cast<uint8_t>(number >> 8));
  }
  return bytes;
}

/// A text as the field of a reply holds it.
std::vector<uint8_t> field(const std::string& text, size_t size, char fill) {
  std::vector<uint8_t> bytes(text.begin(), text.end());
  bytes.resize(size, static_cast<uint8_t>(fill));
  return bytes;
}

/// A volume's level by the controller's code; nothing when a topology cannot give it to so many members.
std::optional<simulator::RaidLevel> levelOf(uint16_t code, size_t members, bool isExternal) {
  using simulator::RaidLevel;
  std::optional<RaidLevel> level;
  if (code == 0) level = RaidLevel::raid0;
  if (code == 1) level = RaidLevel::raid4;
  if (code == 2) level = members < 3 ? RaidLevel::raid1 : RaidLevel::raid10;
  if (code == 3) level = RaidLevel::raid5;
  if (code == 5) level = RaidLevel::raid6;
  if (!level || (isExternal && members == 0)) return level;
  const simulator::RaidLevelRule& rule = simulator::ruleOf(*level);
  return members >= rule.leastMembers && members <= rule.mostMembers ? level : std::nullopt;
}

/// One controller.
class ControllerWriter {
 public:
  ControllerWriter(const RecordedHost& host, const model::Controller& model, RecordedTopology& result)
      : host_(host),
        model_(model),
        controller_(result.topology.controllers.emplace_back()),
        faults_(result.topology.faults),
        differences_(result.differences) {}

  void write() {
    controller_.hba = model_.hba;
    controller_.maxLogicalDrivesSupported = model_.maxLogicalDrives;
    controller_.maxPhysDevicesSupported = model_.maxPhysicalDevices;
    controller_.maxPhysDrivesPerLogicalUnit = model_.maxDrivesPerLogicalUnit;
    controller_.extendedBlinkArray = model_.hasExtendedBlinkArray;
    controller_.driveCacheOn = model_.driveCacheOn.value_or(false);
    writeListedDrives();
    for (const model::Volume& volume : model_.volumes) writeVolume(volume);
    if (unidentified_ > 0) {
      differ(counted(unidentified_, "drive") + " never identified: without serial number and place here");
    }
    raiseLimits();
  }

 private:
  void differ(const std::string& text) { differences_.push_back(printable(model_.hba) + ": " + text); }

  FaultRule& setRule(const char* call, size_t offset, std::vector<uint8_t> bytes) {
    FaultRule& rule = faults_.emplace_back();
    rule.call = call;
    rule.controller = model_.hba;
    rule.action = FaultAction::set;
    rule.offset = static_cast<uint32_t>(offset);
    rule.bytes = std::move(bytes);
    return rule;
  }

  [[nodiscard]] const simulator::Drive* written(uint32_t index) const {
    return findFirst(controller_.drives,
                     [&](const simulator::Drive& drive) { return simulator::driveIndex(drive) == index; });
  }

  void writeListedDrives() {
    std::vector<const model::Drive*> listed;
    for (const std::vector<model::Drive>* drives : {&model_.drives, &model_.otherDevices}) {
      for (const model::Drive& drive : *drives) {
        if (drive.isListed) listed.push_back(&drive);
      }
    }
    std::sort(listed.begin(), listed.end(),
              [](const model::Drive* one, const model::Drive* other) { return one->place < other->place; });
    size_t place = 0;
    for (const model::Drive* drive : listed) {
      if (!writeDrive(*drive)) continue;
      const uint32_t kind = drive->word & wire::kMaskedKind;
      if (kind != 0 && kind != wire::kMaskedKind) {
        differ("drive " + simulator::driveName(drive->index) + " is listed as of kind " + hex(kind >> 30) +
               ": masked here, and a fault rule sets the kind");
        setRule("reportPhysicalLuns", sizeof(wire::ReportHeader) + place * sizeof(wire::ExtendedReportEntry),
                littleEndian({drive->word & 0xFFFF, drive->word >> 16}));
      }
      ++place;
    }
    if (model_.driveReportFormat == wire::kExtendedReport) return;
    differ("the report of drives is of format " + std::to_string(model_.driveReportFormat) +
           ": extended here, and a fault rule sets the format");
    setRule("reportPhysicalLuns", offsetof(wire::ReportHeader, format), {model_.driveReportFormat});
  }

  /// @return whether the drive is in the topology now, where it was not before
  bool writeDrive(const model::Drive& drive) {
    const std::string name = "drive " + std::to_string(drive.index);
    if (drive.index > kMostDriveIndex) {
      differ(name + " is at a bus that a topology does not have: left out");
      return false;
    }
    if (written(drive.index) != nullptr) {
      differ(name + " is listed twice: once here");
      return false;
    }
    simulator::Drive& one = controller_.drives.emplace_back();
    one.bus = static_cast<uint8_t>(drive.index / 256 + 1);
    one.target = static_cast<uint8_t>(drive.index % 256);
    one.exposed = drive.isExposed;
    one.listed = drive.isListed;
    one.wwid = drive.wwid;
    one.deviceType = drive.deviceType;
    identify(one, drive);
    return true;
  }

  void identify(simulator::Drive& one, const model::Drive& drive) {
    const model::Drive* known = findFirst(model_.drives, [&](const model::Drive& other) {
      return other.index == drive.index && other.identity.has_value();
    });
    if (known == nullptr) {
      if (!host_.calls.hasFailed({"identifyPhysicalDevice", model_.hba, drive.index, ""})) ++unidentified_;
      return;
    }
    const model::DriveIdentity& identity = *known->identity;
    one.serial = textOf("serial number", identity.serial, drive.index, offsetof(wire::IdentifyPhysicalDevice, serial),
                        sizeof(wire::IdentifyPhysicalDevice::serial), ' ');
    one.port = textOf("port", identity.bay.port, drive.index, offsetof(wire::IdentifyPhysicalDevice, connectorName),
                      sizeof(wire::IdentifyPhysicalDevice::connectorName), '\0');
    one.box = identity.bay.box;
    one.bay = identity.bay.bay;
    one.currentTemperature = identity.currentTemperature;
    one.maximumTemperature = identity.maximumTemperature;
  }

  /// A drive's text, and the rule that puts its bytes into the reply when a topology cannot hold them.
  std::string textOf(const char* what, const std::string& text, uint32_t index, size_t offset, size_t size, char fill) {
    if (isWritable(text)) return text;
    differ(std::string(what) + " of drive " + simulator::driveName(index) + " is " + printable(text) + ": " +
           writable(text) + " here, and a fault rule sets its bytes");
    setRule("identifyPhysicalDevice", offset, field(text, size, fill)).drive = index;
    return writable(text);
  }

  void writeVolume(const model::Volume& volume) {
    const std::string name = "volume " + std::to_string(volume.number());
    const bool isTaken = std::any_of(
        controller_.volumes.begin(), controller_.volumes.end(),
        [&](const simulator::Volume& other) { return (other.number & 0xFFFF) == (volume.number() & 0xFFFF); });
    if (isTaken) return differ(name + " has the low 16 bits of another one: left out");
    // A local one is numbered within the controller's limit, of 16 bits.
    const uint32_t number = volume.isExternal ? volume.number() : volume.number() & 0xFFFF;
    if (!volume.isExternal && number == UINT16_MAX) {
      return differ(name + " is beyond what a topology numbers: left out");
    }
    if (const uint32_t word = wire::kVolumeKind | number; word != volume.word) {
      differ(name + " is listed as " + hex(volume.word) + ": " + std::to_string(number) +
             " here, and a fault rule sets that");
      setRule("reportLogicalLuns", sizeof(wire::ReportHeader) + controller_.volumes.size() * sizeof(wire::LunAddress),
              littleEndian({volume.word & 0xFFFF, volume.word >> 16}));
    }
    simulator::Volume& one = controller_.volumes.emplace_back();
    one.number = number;
    one.external = volume.isExternal;
    one.label = writable(volume.label);
    one.externalBoxId = volume.externalBoxId;
    one.logicalDriveId = volume.logicalDriveId;
    one.uniqueId = volume.uniqueId;
    one.cacheOn = !model_.volumesCacheOff || !model_.volumesCacheOff->contains(one.number);
    if (one.label != volume.label) {
      differ("label of " + name + " is " + printable(volume.label) + ": " + one.label +
             " here, and a fault rule sets its bytes");
      setRule("identifyLogicalDevice", offsetof(wire::IdentifyLogicalDevice, label),
              field(volume.label, sizeof(wire::IdentifyLogicalDevice::label), '\0'))
          .volume = one.number;
    }
    writeMembers(volume, one);
  }

  void writeMembers(const model::Volume& volume, simulator::Volume& one) {
    const std::string name = "volume " + std::to_string(one.number);
    for (const uint32_t index : volume.members.value_or(std::set<uint32_t>{})) {
      if (written(index) == nullptr) {
        const model::Drive* drive = model_.drive(index);
        model::Drive missing = drive == nullptr ? model::Drive() : *drive;
        missing.index = index;
        missing.isListed = false;
        if (!writeDrive(missing)) continue;
      }
      one.members.push_back(index);
    }
    if (!volume.memberCount) {
      if (!host_.calls.hasFailed({"senseConfiguration", model_.hba, one.number & 0xFFFF, ""})) {
        differ("members of " + name + " were never told: it has none here");
      }
      return;
    }
    const auto set = [&](size_t offset, std::vector<uint8_t> bytes) {
      setRule("senseConfiguration", offset, std::move(bytes)).volume = one.number;
    };
    if (!volume.members) {
      differ(name +
             " has limits that are not its controller's, or members beyond its reply: none here, and fault rules "
             "set what it says");
      set(offsetof(wire::SenseConfiguration, membersAt), littleEndian({volume.membersAt}));
      set(offsetof(wire::SenseConfiguration, maxPhysicalDevices),
          littleEndian({volume.maxPhysicalDevices, volume.maxDrivesPerLogicalUnit}));
    }
    if (*volume.memberCount != one.members.size()) {
      differ(name + " counts " + counted(*volume.memberCount, "member") + " and names " +
             std::to_string(one.members.size()) + ": these here, and a fault rule sets the count");
      set(offsetof(wire::SenseConfiguration, memberDrives), littleEndian({*volume.memberCount}));
    }
    const uint16_t code = volume.faultTolerance.value_or(0);
    if (const auto level = levelOf(code, one.members.size(), one.external)) {
      one.raidLevel = *level;
    } else {
      differ(name + " has RAID code " + std::to_string(code) + " with " + counted(one.members.size(), "member") +
             ": RAID 0 here, and a fault rule sets the code");
      set(offsetof(wire::SenseConfiguration, faultTolerance), littleEndian({code}));
    }
  }

  /// To what is there, all the same.
  void raiseLimits() {
    uint32_t devices = 0;
    for (const simulator::Drive& drive : controller_.drives) {
      devices = std::max(devices, simulator::driveIndex(drive) + 1);
    }
    size_t members = 0;
    auto volumes = static_cast<uint32_t>(controller_.volumes.size());
    for (const simulator::Volume& volume : controller_.volumes) {
      members = std::max(members, volume.members.size());
      if (!volume.external) volumes = std::max(volumes, volume.number + 1);
    }
    raise("maxPhysDevicesSupported", controller_.maxPhysDevicesSupported, devices);
    raise("maxPhysDrivesPerLogicalUnit", controller_.maxPhysDrivesPerLogicalUnit, members);
    raise("maxLogicalDrivesSupported", controller_.maxLogicalDrivesSupported, volumes);
  }

  void raise(const char* name, uint16_t& limit, size_t least) {
    if (limit >= least) return;
    differ(std::string(name) + " is " + std::to_string(limit) + ", and there is more: " + std::to_string(least) +
           " here");
    limit = static_cast<uint16_t>(least);
  }

  const RecordedHost& host_;
  const model::Controller& model_;
  simulator::Controller& controller_;
  std::vector<FaultRule>& faults_;
  std::vector<std::string>& differences_;
  size_t unidentified_ = 0;
};

}  // namespace

void writeController(const RecordedHost& host, const model::Controller& controller, RecordedTopology& result) {
  ControllerWriter(host, controller, result).write();
}

}  // namespace host::topology
