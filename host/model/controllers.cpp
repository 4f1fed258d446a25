// Reads the replies of the commands that build a snapshot, in the order in which the plugin sends them: identify
// controller, the volumes' report, what each volume is, the drives' report, what each drive is.
#include "host/model/controllers.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>

namespace host::model {
namespace {

namespace wire = simulator::wire;
using simulator::Opcode;
using Reply = std::span<const uint8_t>;

constexpr size_t kMostDevices = 1088;  // in the plugin's list
constexpr uint8_t kLastDriveType = 4;  // of an extended report's device types; the plugin lists no others

/// The record at the beginning of a reply, or at a place in it; nothing where it is not whole.
template <typename Record>
std::optional<Record> recordAt(Reply reply, size_t place = 0) {
  Record record{};
  if (place + sizeof(record) > reply.size()) return std::nullopt;
  std::memcpy(&record, reply.data() + place, sizeof(record));
  return record;
}

/// A text of at most this many bytes.
template <size_t size>
std::string textOf(const char (&field)[size]) {
  return {field, strnlen(field, size)};
}

/// Without the blanks before it, and without what is no printable character at its end.
template <size_t size>
std::string serialOf(const char (&field)[size]) {
  const auto isPrintable = [](char character) { return character >= 0x20 && character < 0x7F; };
  const auto* first = std::find_if(std::begin(field), std::end(field), [](char character) { return character != ' '; });
  const auto* last = std::end(field);
  while (last != first && (!isPrintable(last[-1]) || last[-1] == ' ')) --last;
  return {first, last};
}

void readLimits(Reply reply, Controller& controller) {
  const auto limits = recordAt<wire::IdentifyController>(reply);
  if (!limits) return;
  controller.ownVolumes = limits->localVolumes == wire::kManyVolumes ? limits->localVolumes16 : limits->localVolumes;
  controller.maxLogicalDrives = limits->maxLogicalDrives;
  controller.maxPhysicalDevices = limits->maxPhysicalDevices;
  controller.maxDrivesPerLogicalUnit = limits->maxDrivesPerLogicalUnit;
  controller.hasExtendedBlinkArray = limits->extendedBlinkArray != 0;
}

/// How many entries of a report arrived.
size_t entriesIn(Reply reply, size_t entrySize) {
  const auto header = recordAt<wire::ReportHeader>(reply);
  if (!header) return 0;
  return std::min<size_t>(header->listLength.value(), reply.size() - sizeof(*header)) / entrySize;
}

void readVolumes(Reply reply, Controller& controller) {
  controller.volumes.clear();
  for (size_t i = 0; i < entriesIn(reply, sizeof(wire::LunAddress)); ++i) {
    const auto address = recordAt<wire::LunAddress>(reply, sizeof(wire::ReportHeader) + i * sizeof(wire::LunAddress));
    Volume volume;
    volume.word = address->word;
    volume.isExternal = i >= controller.ownVolumes;
    controller.volumes.push_back(std::move(volume));
  }
}

void readDrives(Reply reply, Controller& controller) {
  controller.drives.clear();
  controller.otherDevices.clear();
  const auto header = recordAt<wire::ReportHeader>(reply);
  if (header) controller.driveReportFormat = header->format;
  for (size_t i = 0; i < entriesIn(reply, sizeof(wire::ExtendedReportEntry)); ++i) {
    const auto entry =
        recordAt<wire::ExtendedReportEntry>(reply, sizeof(wire::ReportHeader) + i * sizeof(wire::ExtendedReportEntry));
    Drive drive;
    drive.word = entry->address.word;
    drive.place = static_cast<uint32_t>(i);
    drive.deviceType = entry->deviceType;
    std::copy(std::begin(entry->wwid), std::end(entry->wwid), drive.wwid.begin());
    drive.index = ((entry->address.bus & 0x3Fu) - 1) * 256 + entry->address.target;
    drive.isExposed = (entry->address.word & wire::kMaskedKind) == 0;
    drive.isMasked = (entry->address.word & wire::kMaskedKind) == wire::kMaskedKind;
    if (header->format == wire::kExtendedReport && entry->deviceType > kLastDriveType) {
      controller.otherDevices.push_back(std::move(drive));
      continue;
    }
    drive.hasRoom = controller.volumes.size() + controller.drives.size() < kMostDevices;
    controller.drives.push_back(std::move(drive));
  }
}

/// The members of the volume, if the bitmap arrived and the reply fits the controller.
std::optional<std::set<uint32_t>> membersIn(Reply reply, const wire::SenseConfiguration& sense,
                                            const Controller& controller) {
  const size_t size = sense.maxPhysicalDevices / 8u;
  const bool isConsistent = sense.maxPhysicalDevices == controller.maxPhysicalDevices &&
                            sense.maxDrivesPerLogicalUnit == controller.maxDrivesPerLogicalUnit;
  if (!isConsistent || sense.membersAt + size >= reply.size()) return std::nullopt;
  std::set<uint32_t> members;
  for (uint32_t index = 0; index < size * 8; ++index) {
    if ((reply[sense.membersAt + index / 8] >> index % 8 & 1) != 0) members.insert(index);
  }
  return members;
}

/// Calls `fill` for each volume that a command means: it carries the low 16 bits of the number alone.
template <typename Fill>
void forVolumes(Controller& controller, uint32_t argument, Fill fill) {
  for (Volume& volume : controller.volumes) {
    if ((volume.number() & 0xFFFF) == argument) fill(volume);
  }
}

void readVolume(Reply reply, uint32_t argument, Controller& controller) {
  const auto identity = recordAt<wire::IdentifyLogicalDevice>(reply);
  if (!identity) return;
  forVolumes(controller, argument, [&](Volume& volume) {
    volume.isIdentified = true;
    volume.label = textOf(identity->label);
    volume.externalBoxId = identity->externalBoxId;
    volume.logicalDriveId = identity->logicalDriveId;
    std::copy(std::begin(identity->uniqueVolumeId), std::end(identity->uniqueVolumeId), volume.uniqueId.begin());
  });
}

void readMembers(Reply reply, uint32_t argument, Controller& controller) {
  const auto sense = recordAt<wire::SenseConfiguration>(reply);
  if (!sense) return;
  forVolumes(controller, argument, [&](Volume& volume) {
    volume.memberCount = sense->memberDrives;
    volume.faultTolerance = sense->faultTolerance;
    volume.members = membersIn(reply, *sense, controller);
    volume.membersAt = sense->membersAt;
    volume.maxPhysicalDevices = sense->maxPhysicalDevices;
    volume.maxDrivesPerLogicalUnit = sense->maxDrivesPerLogicalUnit;
  });
}

/// A drive that the report does not have is a missing member, asked for by its index.
void readDrive(Reply reply, uint32_t argument, Controller& controller) {
  const auto identity = recordAt<wire::IdentifyPhysicalDevice>(reply);
  if (!identity) return;
  const DriveIdentity read{serialOf(identity->serial),
                           {textOf(identity->connectorName), identity->box, identity->bay},
                           identity->currentTemperature,
                           identity->maximumTemperature};
  bool isKnown = false;
  for (Drive& drive : controller.drives) {
    if ((drive.index & 0xFFFF) != argument) continue;
    drive.identity = read;
    isKnown = true;
  }
  if (!isKnown) controller.drives.push_back({.index = argument, .isListed = false, .hasRoom = false, .identity = read});
}

void readCaches(Reply reply, Controller& controller) {
  const auto caches = recordAt<wire::CacheConfiguration>(reply);
  if (!caches) return;
  controller.volumesCacheOff.emplace();
  for (uint32_t number = 0; number < caches->maxLogicalDrives; ++number) {
    const size_t byte = caches->cacheOffAt + number / 8u;
    if (byte < reply.size() && (reply[byte] >> number % 8 & 1) != 0) controller.volumesCacheOff->insert(number);
  }
}

void readParameters(Reply reply, Controller& controller) {
  const auto parameters = recordAt<wire::ControllerParameters>(reply);
  if (parameters) controller.driveCacheOn = (parameters->driveConfigFlags & 1) != 0;
}

}  // namespace

size_t listedDevices(const InterceptedCommand& command) {
  const bool areVolumes = command.command && command.command->layout->opcode == Opcode::reportLogicalLuns;
  return entriesIn(command.data, areVolumes ? sizeof(wire::LunAddress) : sizeof(wire::ExtendedReportEntry));
}

void Controllers::see(const InterceptedCommand& command) {
  if (!command.command || command.command->layout->toController) return;
  const Opcode opcode = command.command->layout->opcode;
  if (opcode == Opcode::identifyController) controllers_.erase(command.hba);
  if (!command.succeeded()) return takeFailure(command);
  Controller& controller = controllers_[command.hba];
  controller.hba = command.hba;
  const uint32_t argument = command.command->argument;
  switch (opcode) {
    case Opcode::identifyController:
      return readLimits(command.data, controller);
    case Opcode::reportLogicalLuns:
      return readVolumes(command.data, controller);
    case Opcode::identifyLogicalDevice:
      return readVolume(command.data, argument, controller);
    case Opcode::senseConfiguration:
      return readMembers(command.data, argument, controller);
    case Opcode::reportPhysicalLuns:
      return readDrives(command.data, controller);
    case Opcode::identifyPhysicalDevice:
      return readDrive(command.data, argument, controller);
    case Opcode::senseCacheConfiguration:
      return readCaches(command.data, controller);
    case Opcode::senseControllerParameters:
      return readParameters(command.data, controller);
    default:
      return;
  }
}

/// Without a report nothing says what is missing; a missing member that does not answer any more is not known any more.
void Controllers::takeFailure(const InterceptedCommand& command) {
  const auto found = controllers_.find(command.hba);
  if (found == controllers_.end()) return;
  Controller& controller = found->second;
  if (command.command->layout->isReport()) controller.hasFailedReport = true;
  if (command.command->layout->opcode != Opcode::identifyPhysicalDevice) return;
  std::erase_if(controller.drives,
                [&](const Drive& drive) { return !drive.isListed && drive.index == command.command->argument; });
}

const Controller* Controllers::find(const std::string& hba) const {
  const auto found = controllers_.find(hba);
  return found == controllers_.end() ? nullptr : &found->second;
}

const Volume* Controllers::volumeOf(const HostDisk& disk) const {
  const Controller* controller = find(disk.hba);
  return controller == nullptr ? nullptr : controller->volumeOf(disk);
}

}  // namespace host::model
