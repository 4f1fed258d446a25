// The replies of the twelve commands, and what may come back of them.
#include "fuzz/controller.h"

#include <optional>
#include <utility>

namespace fuzz {
namespace {

namespace wire = simulator::wire;
using simulator::Opcode;

constexpr uint32_t kMostSent = 131072;  // of a report whose length lies
constexpr uint32_t kMostWritten = 65535;

/// What the last command that read left in the caller's buffer. There is one controller at a time.
uint8_t sensed[kMostWritten];

constexpr uint16_t kFew[] = {8, 16, 7, 24, 0};
constexpr uint16_t kMany[] = {256, 128, 512, 1088, 65535};

uint16_t someLimit(Input& input, bool isLarge) {
  return isLarge ? input.oneOf(kMany) : input.oneOf(kFew);
}

/// Lays a reply's fields over its first bytes, whatever fits, and lets `fill` set them.
template <typename Layout, typename Reply, typename Fill>
void setFields(Reply reply, Fill fill) {
  Layout fields{};
  std::memset(&fields, reply.size == 0 ? 0 : reply.bytes[0], sizeof(fields));
  fill(fields);
  std::memcpy(reply.bytes, &fields, std::min<size_t>(reply.size, sizeof(fields)));
}

template <typename Reply>
void put(Reply reply, uint32_t offset, const void* bytes, uint32_t size) {
  if (offset < reply.size) std::memcpy(reply.bytes + offset, bytes, std::min(size, reply.size - offset));
}

/// Blink bits alone may change, all in one direction; the duration and the three fields of the structure's size are
/// the writer's.
void requireOnlyBlinkBitsChange(const uint8_t* before, const uint8_t* after, uint32_t size) {
  bool anyOn = false;
  bool anyOff = false;
  for (size_t i = sizeof(wire::BlinkBuffer::duration); i < size; ++i) {
    if (i >= offsetof(wire::BlinkBuffer, maxPhysicalDevices) && i < offsetof(wire::BlinkBuffer, fixedLength)) continue;
    if (before[i] == after[i]) continue;
    const bool isEnable = i >= offsetof(wire::BlinkBuffer, enable) &&
                          (i < offsetof(wire::BlinkBuffer, extendedAt) || i >= sizeof(wire::BlinkBuffer));
    require(isEnable && (before[i] ^ after[i]) == 1, "a blink command changes blink bits alone");
    ((after[i] & 1) != 0 ? anyOn : anyOff) = true;
  }
  require(!(anyOn && anyOff), "a blink command switches all its drives the same way");
}

void requireOneBitChangesAtMost(const uint8_t* before, const uint8_t* after, uint32_t size) {
  int changed = 0;
  for (size_t i = 0; i < size; ++i) changed += __builtin_popcount(before[i] ^ after[i]);
  require(changed <= 1, "a set command changes one bit of what was sensed");
}

}  // namespace

Controller::Controller(Input& input)
    : input_(input),
      isLarge_(input.has(Input::Costly::manyDevices)),
      maxPhysicalDevices_(someLimit(input, isLarge_)),
      maxDrivesPerLogicalUnit_(someLimit(input, isLarge_)),
      maxLogicalDrives_(someLimit(input, isLarge_)),
      hasExtendedBlinkArray_(input.below(2) == 1),
      volumes_(1 + input.below(3)),
      drives_(isLarge_ ? 200 + 8 * input.below(128) : 2 + input.below(7)) {}

int32_t Controller::answer(const wire::PassthruRecord& record, uint32_t& status) {
  const std::optional<simulator::DecodedCommand> command = simulator::decodeCommand(record);
  require(command.has_value(), "every command is one of the twelve");
  auto* const buffer = reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(record.buffer));
  const bool isReport = command->layout->isReport();
  require(isReport || command->length <= kMostWritten, "no command transfers more than its length can say");
  status = 0;
  if (command->layout->toController) {
    require(command->length == sensedSize_, "as much is written as was sensed");
    if (command->layout->opcode == Opcode::blinkDriveTrayLed) {
      requireOnlyBlinkBitsChange(sensed, buffer, sensedSize_);
    } else {
      requireOneBitChangesAtMost(sensed, buffer, sensedSize_);
    }
  }
  uint32_t length = std::min(command->length, kMostSent);
  switch (input_.number<uint8_t>()) {
    case 1:
      if (const auto code = input_.around<int32_t>(0xBAD0014); code != 0) return code;
      break;
    case 2:
      status = input_.around<uint32_t>(0x30);
      break;
    case 3:
      length = std::min<uint32_t>(length, input_.number<uint16_t>());
      break;
    default:
      break;
  }
  if (command->layout->toController) return 0;
  answer(*command, {buffer, length});
  if (!isReport) {
    std::memcpy(sensed, buffer, command->length);
    sensedSize_ = command->length;
  }
  return 0;
}

void Controller::answer(const simulator::DecodedCommand& command, Reply reply) {
  constexpr std::pair<Opcode, void (Controller::*)(Reply)> kReplies[] = {
      {Opcode::identifyController, &Controller::identifyController},
      {Opcode::identifyLogicalDevice, &Controller::identifyLogicalDevice},
      {Opcode::senseConfiguration, &Controller::senseConfiguration},
      {Opcode::identifyPhysicalDevice, &Controller::identifyPhysicalDevice},
      {Opcode::senseBlinkDriveLed, &Controller::senseBlinkDriveLed},
      {Opcode::senseCacheConfiguration, &Controller::senseCacheConfiguration},
      {Opcode::reportLogicalLuns, &Controller::reportLogicalLuns},
      {Opcode::reportPhysicalLuns, &Controller::reportPhysicalLuns},
  };
  const bool isBitmap = command.layout->opcode == Opcode::senseConfiguration;  // each bit costs a command
  const auto background = input_.number<uint8_t>();
  std::memset(reply.bytes, isBitmap && !isLarge_ ? 0 : background, reply.size);
  driveIndex_ = command.argument;
  for (const auto& [opcode, fill] : kReplies) {
    if (opcode == command.layout->opcode) (this->*fill)(reply);
  }
}

void Controller::identifyController(Reply reply) {
  setFields<wire::IdentifyController>(reply, [this](wire::IdentifyController& fields) {
    fields.localVolumes = input_.around<uint8_t>(volumes_);
    fields.localVolumes16 = input_.around<uint16_t>(volumes_);
    fields.maxLogicalDrives = maxLogicalDrives_;
    fields.maxPhysicalDevices = maxPhysicalDevices_;
    fields.maxDrivesPerLogicalUnit = maxDrivesPerLogicalUnit_;
    fields.extendedBlinkArray = hasExtendedBlinkArray_ ? 1 : 0;
  });
}

void Controller::identifyLogicalDevice(Reply reply) {
  setFields<wire::IdentifyLogicalDevice>(reply, [this](wire::IdentifyLogicalDevice& fields) {
    fields.externalBoxId = input_.number<uint8_t>();
    input_.bytes(fields.label, 8);
  });
}

void Controller::senseConfiguration(Reply reply) {
  const uint32_t mapSize = maxPhysicalDevices_ / 8U;
  const auto atTheEnd = reply.size - mapSize;
  uint16_t mapAt = 0;
  setFields<wire::SenseConfiguration>(reply, [&](wire::SenseConfiguration& fields) {
    fields.memberDrives = input_.around<uint16_t>(3);
    fields.faultTolerance = input_.around<uint16_t>(3);
    mapAt = input_.around<uint16_t>(input_.below(4) == 3 ? atTheEnd : sizeof(fields));
    fields.membersAt = mapAt;
    fields.sparesAt = input_.around<uint16_t>(mapAt + mapSize);
    fields.totalLength = input_.around<uint32_t>(mapAt + 2 * mapSize);
    fields.maxPhysicalDevices = input_.around<uint16_t>(maxPhysicalDevices_);
    fields.maxDrivesPerLogicalUnit = input_.around<uint16_t>(maxDrivesPerLogicalUnit_);
    fields.fixedLength = input_.around<uint32_t>(sizeof(fields));
  });
  uint8_t members[2];
  input_.bytes(members, sizeof(members));
  members[0] ^= 0xE0;  // drives 0, 1 and 2
  put(reply, mapAt, members, sizeof(members));
}

void Controller::identifyPhysicalDevice(Reply reply) {
  setFields<wire::IdentifyPhysicalDevice>(reply, [&](wire::IdentifyPhysicalDevice& fields) {
    std::memset(fields.serial, ' ', sizeof(fields.serial));
    fields.serial[0] = 'S';
    fields.serial[1] = static_cast<char>('0' + driveIndex_ % 10);
    if (input_.below(8) == 7) input_.bytes(fields.serial, 8);
    fields.box = input_.number<uint8_t>();
    fields.bay = input_.around<uint8_t>(driveIndex_);
    fields.currentTemperature = input_.number<uint8_t>();
    fields.maximumTemperature = input_.number<uint8_t>();
    if (input_.below(4) == 3) input_.bytes(fields.connectorName, 10);
  });
}

void Controller::senseBlinkDriveLed(Reply reply) {
  setFields<wire::BlinkBuffer>(reply, [this](wire::BlinkBuffer& fields) {
    fields.duration = input_.number<uint32_t>();
    input_.bytes(fields.enable, 8);
    fields.extendedAt = input_.around<uint16_t>(sizeof(fields));
    fields.maxPhysicalDevices = input_.around<uint16_t>(maxPhysicalDevices_);
    fields.totalLength = input_.around<uint32_t>(sizeof(fields) + maxPhysicalDevices_);
    fields.fixedLength = input_.around<uint32_t>(sizeof(fields));
  });
}

void Controller::senseCacheConfiguration(Reply reply) {
  const auto atTheEnd = reply.size - maxLogicalDrives_ / 2U;
  setFields<wire::CacheConfiguration>(reply, [&](wire::CacheConfiguration& fields) {
    fields.cacheOffAt = input_.around<uint16_t>(input_.below(4) == 3 ? atTheEnd : sizeof(fields));
    fields.writeCacheOffAt = input_.around<uint16_t>(sizeof(fields) + 3U * (maxLogicalDrives_ / 8U));
    fields.totalLength = input_.number<uint32_t>();
    fields.maxLogicalDrives = input_.around<uint16_t>(maxLogicalDrives_);
    fields.fixedLength = input_.around<uint32_t>(sizeof(fields));
  });
}

uint32_t Controller::listLength(uint32_t good) {
  constexpr uint32_t kShort = 384;
  return isLarge_ ? input_.around<uint32_t>(good) : input_.around<uint16_t>(good) % kShort;
}

void Controller::reportLogicalLuns(Reply reply) {
  wire::ReportHeader header{};
  header.listLength.set(listLength(volumes_ * sizeof(wire::LunAddress)));
  put(reply, 0, &header, sizeof(header));
  for (uint32_t i = 0; i < volumes_ && reply.size > sizeof(header); ++i) {
    const wire::LunAddress address{
        .word = input_.around<uint32_t>(wire::kVolumeKind | i), .reserved = {}, .target = 0, .bus = 0};
    put(reply, sizeof(header) + i * sizeof(address), &address, sizeof(address));
  }
}

void Controller::reportPhysicalLuns(Reply reply) {
  constexpr uint32_t kKinds[] = {wire::kMaskedKind, 0, wire::kMaskedKind, wire::kVolumeKind, 0x80000000};
  wire::ReportHeader header{};
  header.listLength.set(listLength(drives_ * sizeof(wire::ExtendedReportEntry)));
  header.format = input_.around<uint8_t>(wire::kExtendedReport);
  put(reply, 0, &header, sizeof(header));
  for (uint32_t i = 0; i < drives_ && reply.size > sizeof(header); ++i) {
    wire::ExtendedReportEntry entry{};
    entry.address.word = input_.oneOf(kKinds);
    entry.address.target = input_.around<uint8_t>(i);
    entry.address.bus = input_.around<uint8_t>(i / 256 + 1);
    entry.deviceType = input_.around<uint8_t>(4);
    put(reply, sizeof(header) + i * sizeof(entry), &entry, sizeof(entry));
  }
}

}  // namespace fuzz
