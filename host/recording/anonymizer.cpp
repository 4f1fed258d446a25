// Knows of every kind of call what is looked at.
#include "host/recording/anonymizer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <utility>

#include "host/disks/serial_page.h"
#include "simulator/command_decoder.h"

namespace host::recording {
namespace {

namespace wire = simulator::wire;
using simulator::Opcode;

constexpr uint8_t kBlinks = 1;  // of the byte of a drive, the bit that is looked at

/// Bytes of which all are zero but those that are kept or replaced.
class Kept {
 public:
  Kept(const Bytes& source, const Pseudonyms& pseudonyms)
      : source_(source), pseudonyms_(pseudonyms), bytes_(source.size()) {}

  void keep(size_t offset, size_t size) {
    for (size_t at = offset; at < std::min(offset + size, bytes_.size()); ++at) bytes_[at] = source_[at];
  }

  void keepBits(size_t offset, size_t size, uint8_t bits) {
    for (size_t at = offset; at < std::min(offset + size, bytes_.size()); ++at) {
      bytes_[at] = static_cast<uint8_t>(source_[at] & bits);
    }
  }

  /// Up to a NUL.
  void keepText(size_t offset, size_t size) { keep(offset, textAt(offset, size).size()); }

  void replaceText(size_t offset, size_t size) { put(offset, pseudonyms_.text(textAt(offset, size))); }

  /// The blanks before it stay.
  void replaceSerial(size_t offset, size_t size) {
    const auto [begin, end] = rangeOf(offset, size);
    const std::string serial(begin, end);
    const size_t first = std::min(serial.find_first_not_of(' '), serial.size());
    put(offset, serial.substr(0, first) + pseudonyms_.serial(serial.substr(first)));
  }

  void replaceNumber(size_t offset, size_t size) {
    if (offset + size > bytes_.size()) return;
    keep(offset, size);
    pseudonyms_.number(std::span(bytes_).subspan(offset, size));
  }

  /// A field of the source; 0 where that is too short.
  template <typename Number>
  [[nodiscard]] Number number(size_t offset) const {
    Number number{};
    if (offset + sizeof(number) <= source_.size()) std::memcpy(&number, source_.data() + offset, sizeof(number));
    return number;
  }

  [[nodiscard]] size_t size() const { return source_.size(); }
  [[nodiscard]] Bytes take() { return std::move(bytes_); }

 private:
  [[nodiscard]] std::pair<Bytes::const_iterator, Bytes::const_iterator> rangeOf(size_t offset, size_t size) const {
    return {source_.begin() + static_cast<std::ptrdiff_t>(std::min(offset, source_.size())),
            source_.begin() + static_cast<std::ptrdiff_t>(std::min(offset + size, source_.size()))};
  }

  [[nodiscard]] std::string textAt(size_t offset, size_t size) const {
    const auto [begin, end] = rangeOf(offset, size);
    return {begin, std::find(begin, end, 0)};
  }

  void put(size_t offset, const std::string& text) {
    for (size_t at = 0; at < text.size(); ++at) bytes_[offset + at] = static_cast<uint8_t>(text[at]);
  }

  const Bytes& source_;
  const Pseudonyms& pseudonyms_;
  Bytes bytes_;
};

void keepReport(Kept& kept, bool isOfDrives) {
  using wire::ExtendedReportEntry;
  using wire::LunAddress;
  kept.keep(0, offsetof(wire::ReportHeader, format) + sizeof(wire::ReportHeader::format));
  const size_t announced = kept.number<wire::BigEndian32>(0).value();
  const size_t end = std::min(kept.size(), sizeof(wire::ReportHeader) + announced);
  const size_t entry = isOfDrives ? sizeof(ExtendedReportEntry) : sizeof(LunAddress);
  for (size_t at = sizeof(wire::ReportHeader); at + entry <= end; at += entry) {
    kept.keep(at + offsetof(LunAddress, word), sizeof(LunAddress::word));
    kept.keep(at + offsetof(LunAddress, target), sizeof(LunAddress::target));
    kept.keep(at + offsetof(LunAddress, bus), sizeof(LunAddress::bus));
    if (!isOfDrives) continue;
    kept.replaceNumber(at + offsetof(ExtendedReportEntry, wwid), sizeof(ExtendedReportEntry::wwid));
    kept.keep(at + offsetof(ExtendedReportEntry, deviceType), sizeof(ExtendedReportEntry::deviceType));
  }
}

void keepController(Kept& kept) {
  using wire::IdentifyController;
  kept.keep(offsetof(IdentifyController, localVolumes), sizeof(IdentifyController::localVolumes));
  kept.keep(offsetof(IdentifyController, maxLogicalDrives),
            offsetof(IdentifyController, reserved160) - offsetof(IdentifyController, maxLogicalDrives));
  kept.keep(offsetof(IdentifyController, extendedBlinkArray), sizeof(IdentifyController::extendedBlinkArray));
}

void keepVolume(Kept& kept) {
  using wire::IdentifyLogicalDevice;
  kept.keep(offsetof(IdentifyLogicalDevice, externalBoxId), sizeof(IdentifyLogicalDevice::externalBoxId));
  kept.replaceNumber(offsetof(IdentifyLogicalDevice, logicalDriveId), sizeof(IdentifyLogicalDevice::logicalDriveId));
  kept.replaceText(offsetof(IdentifyLogicalDevice, label), sizeof(IdentifyLogicalDevice::label));
  kept.replaceNumber(offsetof(IdentifyLogicalDevice, uniqueVolumeId), sizeof(IdentifyLogicalDevice::uniqueVolumeId));
}

void keepMembers(Kept& kept) {
  using wire::SenseConfiguration;
  kept.keep(offsetof(SenseConfiguration, controllerDrives),
            offsetof(SenseConfiguration, reserved14) - offsetof(SenseConfiguration, controllerDrives));
  kept.keep(offsetof(SenseConfiguration, membersAt),
            offsetof(SenseConfiguration, reserved254) - offsetof(SenseConfiguration, membersAt));
  kept.keep(offsetof(SenseConfiguration, totalLength),
            offsetof(SenseConfiguration, reserved268) - offsetof(SenseConfiguration, totalLength));
  kept.keep(kept.number<uint16_t>(offsetof(SenseConfiguration, membersAt)),
            kept.number<uint16_t>(offsetof(SenseConfiguration, maxPhysicalDevices)) / 8U);
}

void keepDrive(Kept& kept) {
  using wire::IdentifyPhysicalDevice;
  kept.replaceSerial(offsetof(IdentifyPhysicalDevice, serial), sizeof(IdentifyPhysicalDevice::serial));
  kept.keep(offsetof(IdentifyPhysicalDevice, box), sizeof(IdentifyPhysicalDevice::box));
  kept.keep(offsetof(IdentifyPhysicalDevice, bay), sizeof(IdentifyPhysicalDevice::bay));
  for (const size_t offset :
       {offsetof(IdentifyPhysicalDevice, currentTemperature), offsetof(IdentifyPhysicalDevice, maximumTemperature)}) {
    kept.keep(offset, 1);
  }
  kept.keepText(offsetof(IdentifyPhysicalDevice, connectorName), sizeof(IdentifyPhysicalDevice::connectorName));
  kept.replaceNumber(offsetof(IdentifyPhysicalDevice, deviceId), sizeof(IdentifyPhysicalDevice::deviceId));
}

void keepBlinking(Kept& kept) {
  using wire::BlinkBuffer;
  kept.keep(0, offsetof(BlinkBuffer, enable));
  kept.keepBits(offsetof(BlinkBuffer, enable), sizeof(BlinkBuffer::enable), kBlinks);
  kept.keep(offsetof(BlinkBuffer, extendedAt), sizeof(BlinkBuffer) - offsetof(BlinkBuffer, extendedAt));
  kept.keepBits(sizeof(BlinkBuffer), kept.size(), kBlinks);
}

void keepCaches(Kept& kept) {
  using wire::CacheConfiguration;
  kept.keep(offsetof(CacheConfiguration, cacheOffAt),
            offsetof(CacheConfiguration, reserved15) - offsetof(CacheConfiguration, cacheOffAt));
  kept.keep(offsetof(CacheConfiguration, totalLength),
            offsetof(CacheConfiguration, reserved28) - offsetof(CacheConfiguration, totalLength));
  kept.keep(kept.number<uint16_t>(offsetof(CacheConfiguration, cacheOffAt)),
            (kept.number<uint16_t>(offsetof(CacheConfiguration, maxLogicalDrives)) + 7U) / 8U);
}

/// The data of a command, in either direction.
Bytes anonymous(const std::optional<simulator::DecodedCommand>& command, const Bytes& data,
                const Pseudonyms& pseudonyms) {
  Kept kept(data, pseudonyms);
  if (!command) return kept.take();
  switch (command->layout->opcode) {
    case Opcode::identifyController:
      keepController(kept);
      break;
    case Opcode::reportLogicalLuns:
    case Opcode::reportPhysicalLuns:
      keepReport(kept, command->layout->opcode == Opcode::reportPhysicalLuns);
      break;
    case Opcode::identifyLogicalDevice:
      keepVolume(kept);
      break;
    case Opcode::senseConfiguration:
      keepMembers(kept);
      break;
    case Opcode::identifyPhysicalDevice:
      keepDrive(kept);
      break;
    case Opcode::senseBlinkDriveLed:
    case Opcode::blinkDriveTrayLed:
      keepBlinking(kept);
      break;
    case Opcode::senseControllerParameters:
    case Opcode::setControllerParameters:
      kept.keep(offsetof(wire::ControllerParameters, driveConfigFlags), 1);
      break;
    case Opcode::senseCacheConfiguration:
    case Opcode::setCacheConfiguration:
      keepCaches(kept);
      break;
  }
  return kept.take();
}

/// Blanks, but for the ends of its lines and for what says that the driver is an OEM's.
std::string onlyOemMark(const std::string& output) {
  std::string other(output.size(), ' ');
  for (size_t at = 0; at < output.size(); ++at) {
    if (output[at] == '\n') other[at] = '\n';
    for (const char* mark : {"OEM", "oem"}) {
      if (output.compare(at, std::strlen(mark), mark) == 0) other.replace(at, std::strlen(mark), mark);
    }
  }
  return other;
}

}  // namespace

void Anonymizer::apply(AnyCall& call) const {
  std::visit([&](auto& one) { apply(one); }, call);
}

void Anonymizer::apply(Query& call) const {
  Kept kept(call.answer.instances, pseudonyms_);
  for (size_t number = 0; number < wire::kInstances; ++number) {
    const size_t entry = offsetof(wire::InstanceList, entries) + number * sizeof(wire::InstanceEntry);
    kept.keep(entry + offsetof(wire::InstanceEntry, id), sizeof(wire::InstanceEntry::id));
    kept.replaceText(entry + offsetof(wire::InstanceEntry, name), sizeof(wire::InstanceEntry::name));
  }
  call.answer.instances = kept.take();
}

void Anonymizer::apply(Command& call) const {
  wire::PassthruRecord record{};
  std::memcpy(&record, call.request.record.data(), kRecordSize);
  const auto command = simulator::decodeCommand(record);
  call.request.data = anonymous(command, call.request.data, pseudonyms_);
  call.answer.data = anonymous(command, call.answer.data, pseudonyms_);
  if (call.answer.record.empty()) return;
  const auto errorInfo = call.answer.record.begin() + offsetof(wire::PassthruRecord, errorInfo);
  std::fill_n(errorInfo, sizeof(wire::PassthruRecord::errorInfo), uint8_t{0});
}

void Anonymizer::apply(NodeRequest& call) const {
  call.request.device = pseudonyms_.device(call.request.device);
  std::fill(call.request.data.begin(), call.request.data.end(), uint8_t{0});
  std::fill(call.answer.sense.begin(), call.answer.sense.end(), uint8_t{0});
  Kept kept(call.answer.data, pseudonyms_);
  if (asksForSerialNumber(call.request.cdb)) {
    kept.keep(1, 1);
    if (kept.number<uint8_t>(1) == kSerialNumberPage) {
      kept.keep(2, 2);
      kept.replaceSerial(kSerialPageHeader, size_t{kept.number<uint8_t>(2)} << 8 | kept.number<uint8_t>(3));
    }
  }
  call.answer.data = kept.take();
}

void Anonymizer::apply(Run& call) const {
  call.answer.output = onlyOemMark(call.answer.output);
}

void Anonymizer::apply(Disks& call) const {
  for (HostDisk& disk : call.answer.disks) {
    const bool isNamed = hasNode(disk);
    disk.hba = pseudonyms_.text(disk.hba);
    disk.device = isNamed ? pseudonyms_.device(disk.device) : disk.hba + ":" + addressOf(disk);
    disk.pci = {.isPciDevice = disk.pci.isPciDevice};
  }
}

}  // namespace host::recording
