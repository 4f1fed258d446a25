// One controller: what it is, what it keeps, what has vanished from it, and how it carries out the twelve commands.
#pragma once

#include <cstdint>
#include <set>

#include "simulator/blink.h"
#include "simulator/bytes.h"
#include "simulator/command_decoder.h"
#include "simulator/driver_errors.h"
#include "simulator/simulated_host.h"
#include "simulator/stored_settings.h"

namespace simulator {

struct ControllerModel {
  explicit ControllerModel(const Controller& controller);

  [[nodiscard]] bool present(const Drive& drive) const;
  [[nodiscard]] bool present(const Volume& volume) const { return !goneVolumes.contains(volume.number); }

  /// @param argument  what a command carries: the low 16 bits of the drive index or logical drive number
  /// @return null when there is none, or it has vanished
  [[nodiscard]] const Drive* findDrive(uint32_t argument) const;
  [[nodiscard]] const Volume* findVolume(uint32_t argument) const;

  Controller config;
  Blink blink;
  StoredSettings settings;
  std::set<uint32_t> goneDrives;   ///< drive indexes
  std::set<uint32_t> goneVolumes;  ///< logical drive numbers
};

struct CommandResult {
  DriverStatus status = DriverStatus::success;
  Bytes reply;  ///< all that the controller has to say, whatever the caller asked for
};

/// Carries out one command.
/// @param data  data to the controller, for commands that write
/// @param now   tenths of a second since the epoch
[[nodiscard]] CommandResult carryOut(ControllerModel& controller, const DecodedCommand& command, BytesView data,
                                     uint64_t now);

}  // namespace simulator
