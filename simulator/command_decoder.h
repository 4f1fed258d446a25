// What a pass-through record says: which of the twelve commands, about what, how many bytes and in which direction.
// The driver checks by it and the reference host prints by it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "simulator/wire.h"

namespace simulator {

/// BMIC command numbers, and the SCSI opcodes of the two reports.
enum class Opcode : uint8_t {
  identifyLogicalDevice = 0x10,
  identifyController = 0x11,
  identifyPhysicalDevice = 0x15,
  blinkDriveTrayLed = 0x16,
  senseBlinkDriveLed = 0x17,
  senseConfiguration = 0x50,
  setControllerParameters = 0x63,
  senseControllerParameters = 0x64,
  setCacheConfiguration = 0xC0,
  senseCacheConfiguration = 0xC1,
  reportLogicalLuns = 0xC2,
  reportPhysicalLuns = 0xC3,
};

/// What the command's argument is.
enum class Argument { none, volume, drive, reportFormat };

/// How the CDB carries the transfer length.
enum class LengthField {
  bytes16,    ///< bytes 7 and 8, in bytes
  blocks256,  ///< bytes 7 and 8, in units of 256 bytes
  bytes32     ///< bytes 6 to 9, in bytes
};

/// One of the twelve commands.
struct CommandLayout {
  Opcode opcode;
  const char* name;  ///< as FaultRule::call names it
  bool toController;
  Argument argument;
  LengthField lengthField;

  [[nodiscard]] constexpr bool isReport() const { return lengthField == LengthField::bytes32; }
  [[nodiscard]] constexpr uint8_t cdbLength() const { return isReport() ? 12 : 10; }
  [[nodiscard]] constexpr uint16_t timeout() const { return isReport() ? 1000 : 0; }
  [[nodiscard]] constexpr uint8_t direction() const {
    return toController ? wire::kWriteDirection : wire::kReadDirection;
  }
};

inline constexpr CommandLayout kCommands[] = {
    {Opcode::identifyLogicalDevice, "identifyLogicalDevice", false, Argument::volume, LengthField::bytes16},
    {Opcode::identifyController, "identifyController", false, Argument::none, LengthField::bytes16},
    {Opcode::identifyPhysicalDevice, "identifyPhysicalDevice", false, Argument::drive, LengthField::bytes16},
    {Opcode::blinkDriveTrayLed, "blinkDriveTrayLed", true, Argument::none, LengthField::bytes16},
    {Opcode::senseBlinkDriveLed, "senseBlinkDriveLed", false, Argument::none, LengthField::bytes16},
    {Opcode::senseConfiguration, "senseConfiguration", false, Argument::volume, LengthField::bytes16},
    {Opcode::setControllerParameters, "setControllerParameters", true, Argument::none, LengthField::blocks256},
    {Opcode::senseControllerParameters, "senseControllerParameters", false, Argument::none, LengthField::blocks256},
    {Opcode::setCacheConfiguration, "setCacheConfiguration", true, Argument::none, LengthField::blocks256},
    {Opcode::senseCacheConfiguration, "senseCacheConfiguration", false, Argument::none, LengthField::blocks256},
    {Opcode::reportLogicalLuns, "reportLogicalLuns", false, Argument::reportFormat, LengthField::bytes32},
    {Opcode::reportPhysicalLuns, "reportPhysicalLuns", false, Argument::reportFormat, LengthField::bytes32},
};

inline constexpr uint8_t kBmicRead = 0x26;
inline constexpr uint8_t kBmicWrite = 0x27;

struct DecodedCommand {
  const CommandLayout* layout = nullptr;
  uint32_t argument = 0;  ///< drive index, low 16 bits of the logical drive number, or report format
  uint32_t length = 0;    ///< bytes to transfer
};

/// @return the command in the record's CDB; nothing when it is none of the twelve. Only the fields that the layout
///         names are looked at.
[[nodiscard]] inline std::optional<DecodedCommand> decodeCommand(const wire::PassthruRecord& record) {
  const uint8_t* cdb = record.cdb;
  const auto pair = [](uint8_t high, uint8_t low) { return uint32_t{high} << 8 | low; };
  const bool bmic = cdb[0] == kBmicRead || cdb[0] == kBmicWrite;
  for (const CommandLayout& layout : kCommands) {
    if (layout.isReport() == bmic || cdb[bmic ? 6 : 0] != static_cast<uint8_t>(layout.opcode)) continue;
    DecodedCommand command{&layout, 0, 0};
    switch (layout.argument) {
      case Argument::none:
        break;
      case Argument::volume:
        command.argument = pair(cdb[9], cdb[1]);
        break;
      case Argument::drive:
        command.argument = pair(cdb[9], cdb[2]);
        break;
      case Argument::reportFormat:
        command.argument = cdb[1];
        break;
    }
    const uint32_t length16 = pair(cdb[7], cdb[8]);
    switch (layout.lengthField) {
      case LengthField::bytes16:
        command.length = length16;
        break;
      case LengthField::blocks256:
        command.length = length16 << 8 | (record.bufferSize & 0xFF);
        break;
      case LengthField::bytes32:
        command.length = wire::BigEndian32{{cdb[6], cdb[7], cdb[8], cdb[9]}}.value();
        break;
    }
    return command;
  }
  return std::nullopt;
}

/// @return the CDB that a caller has to build for the command, unused bytes 0
[[nodiscard]] inline std::array<uint8_t, 16> encodeCdb(const DecodedCommand& command) {
  const CommandLayout& layout = *command.layout;
  const auto low = [](uint32_t number, int shift) { return static_cast<uint8_t>(number >> shift); };
  std::array<uint8_t, 16> cdb{};
  const auto opcode = static_cast<uint8_t>(layout.opcode);
  cdb[0] = layout.isReport() ? opcode : layout.toController ? kBmicWrite : kBmicRead;
  switch (layout.argument) {
    case Argument::none:
      break;
    case Argument::volume:
    case Argument::drive:
      cdb[layout.argument == Argument::volume ? 1 : 2] = low(command.argument, 0);
      cdb[9] = low(command.argument, 8);
      break;
    case Argument::reportFormat:
      cdb[1] = low(command.argument, 0);
      break;
  }
  if (layout.isReport()) {
    for (int i = 0; i < 4; ++i) cdb[static_cast<size_t>(6 + i)] = low(command.length, 24 - 8 * i);
  } else {
    const int unit = layout.lengthField == LengthField::blocks256 ? 8 : 0;
    cdb[6] = opcode;
    cdb[7] = low(command.length, unit + 8);
    cdb[8] = low(command.length, unit);
  }
  return cdb;
}

}  // namespace simulator
