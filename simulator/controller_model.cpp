// How a controller carries out its commands.
#include "simulator/controller_model.h"

#include <algorithm>

#include "simulator/drive_address.h"
#include "simulator/replies.h"

namespace simulator {
namespace {

constexpr uint32_t kArgumentMask = 0xFFFF;

CommandResult report(const ControllerModel& controller, const DecodedCommand& command, bool physical) {
  const bool extended = command.argument == wire::kExtendedReport;
  if (physical && (extended || command.argument == 0))
    return {DriverStatus::success, reportPhysicalLuns(controller, extended)};
  if (!physical && command.argument == 0) return {DriverStatus::success, reportLogicalLuns(controller)};
  return {DriverStatus::invalidField, {}};
}

}  // namespace

ControllerModel::ControllerModel(const Controller& controller)
    : config(controller),
      blink(controller.extendedBlinkArray, controller.maxPhysDevicesSupported),
      settings(controller) {}

bool ControllerModel::present(const Drive& drive) const {
  return !goneDrives.contains(driveIndex(drive));
}

const Drive* ControllerModel::findDrive(uint32_t argument) const {
  const auto found = std::find_if(config.drives.begin(), config.drives.end(), [&](const Drive& drive) {
    return (driveIndex(drive) & kArgumentMask) == argument && present(drive);
  });
  return found != config.drives.end() ? &*found : nullptr;
}

const Volume* ControllerModel::findVolume(uint32_t argument) const {
  const auto found = std::find_if(config.volumes.begin(), config.volumes.end(), [&](const Volume& volume) {
    return (volume.number & kArgumentMask) == argument && present(volume);
  });
  return found != config.volumes.end() ? &*found : nullptr;
}

CommandResult carryOut(ControllerModel& controller, const DecodedCommand& command, BytesView data, uint64_t now) {
  const Volume* volume =
      command.layout->argument == Argument::volume ? controller.findVolume(command.argument) : nullptr;
  const auto hasVolume = [&](uint32_t number) {
    return std::any_of(controller.config.volumes.begin(), controller.config.volumes.end(),
                       [&](const Volume& each) { return each.number == number && controller.present(each); });
  };
  switch (command.layout->opcode) {
    case Opcode::identifyLogicalDevice:
      if (volume == nullptr) return {DriverStatus::noSuchVolume, {}};
      return {DriverStatus::success, identifyLogicalDevice(*volume)};
    case Opcode::identifyController:
      return {DriverStatus::success, identifyController(controller)};
    case Opcode::identifyPhysicalDevice: {
      const Drive* drive = controller.findDrive(command.argument);
      if (drive == nullptr) return {DriverStatus::noSuchDrive, {}};
      return {DriverStatus::success, identifyPhysicalDevice(*drive)};
    }
    case Opcode::blinkDriveTrayLed:
      return {controller.blink.blink(data, now), {}};
    case Opcode::senseBlinkDriveLed:
      return {DriverStatus::success, controller.blink.sense(now)};
    case Opcode::senseConfiguration:
      if (volume == nullptr) return {DriverStatus::noSuchVolume, {}};
      return {DriverStatus::success, senseConfiguration(controller, *volume)};
    case Opcode::setControllerParameters:
      return {controller.settings.setParameters(data), {}};
    case Opcode::senseControllerParameters:
      return {DriverStatus::success, controller.settings.parameters()};
    case Opcode::setCacheConfiguration:
      return {controller.settings.setCacheConfiguration(data, hasVolume), {}};
    case Opcode::senseCacheConfiguration:
      return {DriverStatus::success, controller.settings.cacheConfiguration()};
    case Opcode::reportLogicalLuns:
      return report(controller, command, false);
    default:
      return report(controller, command, true);
  }
}

}  // namespace simulator
