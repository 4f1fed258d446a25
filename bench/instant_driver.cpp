// The replies of the instant driver's controllers.
#include "bench/instant_driver.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace bench {
namespace {

using namespace simulator;

constexpr uint8_t kBmicRead = 0x26;
constexpr uint8_t kBmicWrite = 0x27;
constexpr uint32_t kDrivesPerBus = 256;
constexpr uint32_t kDrivesPerBox = 24;
constexpr uint32_t kMaxVolumes = 64;
constexpr uint16_t kMirror = 2;

template <typename Layout>
std::vector<uint8_t> replyOf(const Layout& layout, size_t following = 0) {
  std::vector<uint8_t> reply(sizeof(layout) + following);
  std::memcpy(reply.data(), &layout, sizeof(layout));
  return reply;
}

template <typename Entry>
void append(std::vector<uint8_t>& reply, const Entry& entry) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&entry);
  reply.insert(reply.end(), bytes, bytes + sizeof(entry));
}

template <size_t size>
void putText(char (&field)[size], const std::string& text, char filler) {
  std::fill_n(field, size, filler);
  std::copy_n(text.begin(), std::min(text.size(), size), field);
}

/// A whole number of bytes of a bitmap.
uint16_t maxDrives(Shape shape) {
  return static_cast<uint16_t>((shape.drives() + 7) / 8 * 8);
}

bool hasExtendedBlinkArray(Shape shape) {
  return maxDrives(shape) > wire::kFixedBlinkDrives;
}

wire::IdentifyController identityOf(Shape shape) {
  wire::IdentifyController identity{};
  identity.localVolumes = static_cast<uint8_t>(shape.volumes);
  identity.maxLogicalDrives = kMaxVolumes;
  identity.maxPhysicalDevices = maxDrives(shape);
  identity.maxDrivesPerLogicalUnit = maxDrives(shape);
  identity.extendedBlinkArray = hasExtendedBlinkArray(shape) ? 1 : 0;
  return identity;
}

std::vector<uint8_t> logicalLunsOf(Shape shape) {
  wire::ReportHeader header{};
  header.listLength.set(shape.volumes * sizeof(wire::LunAddress));
  std::vector<uint8_t> reply = replyOf(header);
  for (uint32_t volume = 0; volume < shape.volumes; ++volume) {
    append(reply, wire::LunAddress{.word = wire::kVolumeKind | volume, .reserved = {}, .target = 0, .bus = 0});
  }
  return reply;
}

std::vector<uint8_t> physicalLunsOf(Shape shape) {
  wire::ReportHeader header{};
  header.listLength.set(shape.drives() * sizeof(wire::ExtendedReportEntry));
  header.format = wire::kExtendedReport;
  std::vector<uint8_t> reply = replyOf(header);
  for (uint32_t drive = 0; drive < shape.drives(); ++drive) {
    wire::ExtendedReportEntry entry{};
    entry.address.word = drive < shape.maskedDrives() ? wire::kMaskedKind : 0;
    entry.address.target = static_cast<uint8_t>(drive % kDrivesPerBus);
    entry.address.bus = static_cast<uint8_t>(drive / kDrivesPerBus + 1);
    append(reply, entry);
  }
  return reply;
}

wire::IdentifyPhysicalDevice anyDrive() {
  wire::IdentifyPhysicalDevice reply{};
  reply.currentTemperature = 31;
  reply.maximumTemperature = 60;
  return reply;
}

wire::IdentifyLogicalDevice volumeOf(uint32_t number) {
  wire::IdentifyLogicalDevice reply{};
  reply.logicalDriveId = number;
  putText(reply.label, "volume " + std::to_string(number), '\0');
  reply.uniqueVolumeId[0] = static_cast<uint8_t>(number);
  return reply;
}

std::vector<uint8_t> configurationOf(Shape shape, uint32_t number) {
  const uint32_t mapSize = maxDrives(shape) / 8U;
  wire::SenseConfiguration fixed{};
  fixed.controllerDrives = static_cast<uint16_t>(shape.drives());
  fixed.memberDrives = static_cast<uint16_t>(shape.membersPerVolume());
  fixed.faultTolerance = kMirror;
  fixed.membersAt = sizeof(fixed);
  fixed.sparesAt = static_cast<uint16_t>(sizeof(fixed) + mapSize);
  fixed.totalLength = static_cast<uint32_t>(sizeof(fixed) + 2 * mapSize);
  fixed.maxPhysicalDevices = maxDrives(shape);
  fixed.maxDrivesPerLogicalUnit = maxDrives(shape);
  fixed.fixedLength = sizeof(fixed);
  std::vector<uint8_t> reply = replyOf(fixed, size_t{2} * mapSize);
  for (uint32_t i = 0; i < shape.membersPerVolume(); ++i) {
    const uint32_t member = number * shape.membersPerVolume() + i;
    reply[sizeof(fixed) + member / 8] |= static_cast<uint8_t>(1U << member % 8);
  }
  return reply;
}

std::vector<uint8_t> blinkBufferOf(Shape shape) {
  const uint32_t extended = hasExtendedBlinkArray(shape) ? maxDrives(shape) : 0U;
  wire::BlinkBuffer fixed{};
  fixed.extendedAt = sizeof(fixed);
  fixed.maxPhysicalDevices = maxDrives(shape);
  fixed.totalLength = static_cast<uint32_t>(sizeof(fixed) + extended);
  fixed.fixedLength = sizeof(fixed);
  return replyOf(fixed, extended);
}

std::vector<uint8_t> cacheConfiguration() {
  constexpr uint16_t kBitmap = kMaxVolumes / 8;
  wire::CacheConfiguration fixed{};
  fixed.cacheOffAt = sizeof(fixed);
  fixed.flushAt = sizeof(fixed) + kBitmap;
  fixed.readCacheOffAt = sizeof(fixed) + 2 * kBitmap;
  fixed.writeCacheOffAt = sizeof(fixed) + 3 * kBitmap;
  fixed.totalLength = sizeof(fixed) + wire::kCacheBitmaps * kBitmap;
  fixed.maxLogicalDrives = kMaxVolumes;
  fixed.fixedLength = sizeof(fixed);
  return replyOf(fixed, size_t{wire::kCacheBitmaps} * kBitmap);
}

void* bufferOf(const PassthruRecord& record) {
  return reinterpret_cast<void*>(static_cast<uintptr_t>(record.buffer));
}

void copyReply(const PassthruRecord& record, const std::vector<uint8_t>& reply) {
  std::memcpy(bufferOf(record), reply.data(), std::min<size_t>(record.bufferSize, reply.size()));
}

}  // namespace

InstantController::InstantController(Shape shape)
    : identity_(replyOf(identityOf(shape))),
      logicalLuns_(logicalLunsOf(shape)),
      physicalLuns_(physicalLunsOf(shape)),
      anyDrive_(replyOf(anyDrive())),
      blinkBuffer_(blinkBufferOf(shape)),
      parameters_(replyOf(wire::ControllerParameters{})),
      cacheConfiguration_(cacheConfiguration()) {
  for (uint32_t index = 0; index < shape.drives(); ++index) {
    Drive& drive = drives_.emplace_back();
    putText(drive.serial, serialNumber(index), ' ');
    putText(drive.connector, std::to_string(1 + index % 4) + "I", '\0');
    drive.box = static_cast<uint8_t>(1 + index / kDrivesPerBox);
    drive.bay = static_cast<uint8_t>(1 + index % kDrivesPerBox);
  }
  for (uint32_t number = 0; number < shape.volumes; ++number) {
    volumes_.push_back(replyOf(volumeOf(number)));
    configurations_.push_back(configurationOf(shape, number));
  }
}

void InstantController::answer(const PassthruRecord& record) const {
  const uint8_t* cdb = record.cdb;
  if (cdb[0] == kBmicWrite) return;
  const uint8_t opcode = cdb[0] == kBmicRead ? cdb[6] : cdb[0];
  switch (opcode) {
    case 0x10:
      return copyReply(record, volumes_[cdb[1]]);
    case 0x11:
      return copyReply(record, identity_);
    case 0x15:
      return answerIdentifyDrive(record, cdb[2] | uint32_t{cdb[9]} << 8);
    case 0x17:
      return copyReply(record, blinkBuffer_);
    case 0x50:
      return copyReply(record, configurations_[cdb[1]]);
    case 0x64:
      return copyReply(record, parameters_);
    case 0xC1:
      return copyReply(record, cacheConfiguration_);
    case 0xC2:
      return copyReply(record, logicalLuns_);
    case 0xC3:
      return copyReply(record, physicalLuns_);
    default:
      return;
  }
}

void InstantController::answerIdentifyDrive(const PassthruRecord& record, uint32_t index) const {
  copyReply(record, anyDrive_);
  const Drive& drive = drives_[index];
  auto& reply = *static_cast<wire::IdentifyPhysicalDevice*>(bufferOf(record));
  std::memcpy(reply.serial, drive.serial, sizeof(reply.serial));
  std::memcpy(reply.connectorName, drive.connector, sizeof(reply.connectorName));
  reply.box = drive.box;
  reply.bay = drive.bay;
}

InstantDriver::InstantDriver(const std::vector<Shape>& shapes) {
  for (uint32_t instance = 0; instance < wire::kInstances; ++instance) {
    wire::InstanceEntry& entry = instances_.entries[instance];
    entry.id = instance < shapes.size() ? instance : wire::kUnusedInstance;
    putText(entry.name, instance < shapes.size() ? hbaName(instance) : "", '\0');
  }
  for (const Shape shape : shapes) controllers_.emplace_back(shape);
}

std::string hbaName(uint32_t instance) {
  return "vmhba" + std::to_string(instance);
}

std::string serialNumber(uint32_t drive) {
  char text[16];
  std::snprintf(text, sizeof(text), "BENCH%07u", drive);
  return text;
}

}  // namespace bench
