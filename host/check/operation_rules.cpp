// What holds for all six operations: bad handles, missing outputs, controllers and devices that are not there.
#include "host/check/calls.h"
#include "host/check/trial.h"
#include "host/loading/isolated_call.h"

namespace host::check {
namespace {

void nullHandle(Trial& trial) {
  for (const Operation& operation : allOperations()) {
    expectRefusal(operation, trial.plugin(), nullptr, "a null handle", "Invalid handle!");
  }
  const uint32_t commands = trial.commands().begun();
  expect(commands == 0, "null handles: expected no command to the driver, got " + std::to_string(commands));
}

void expectOutputMissed(const std::string& what, int32_t result, const std::string& error) {
  expectResult(what, -1, result);
  expectText(what + ": the error text", kErrorBefore, error);
}

void nullOutput(Trial& trial) {
  const DmuPluginDescriptor& plugin = trial.plugin();
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    const std::string of = " of " + subject.disk.device + " with a null ";
    std::string error = kErrorBefore;
    noteStep("an operation" + of + "record or array");
    int32_t result = plugin.getDeviceInfo(handle.get(), nullptr, error);
    expectOutputMissed("device information" + of + "record", result, error);
    for (const int32_t count : {0, 8}) {
      result = plugin.getDeviceTemperature(handle.get(), nullptr, count, error);
      expectOutputMissed("temperature" + of + "array", result, error);
      result = plugin.getDeviceLocation(handle.get(), nullptr, count, error);
      expectOutputMissed("location" + of + "array", result, error);
    }
  }
}

void unknownController(Trial& trial) {
  HostDisk disk = trial.subjects().front().disk;
  disk.hba = "no-such-hba";
  const Handle handle = trial.open(disk);
  for (const Operation& operation : operations(trial.maySwitch())) {
    expectRefusal(operation, trial.plugin(), handle.get(), "a controller that is not there",
                  "Failed to open controller.");
  }
}

void unknownDevice(Trial& trial) {
  HostDisk disk = trial.subjects().front().disk;
  disk.device = "no-such-node";
  disk.channel = disk.target = disk.lun = 4095;
  const Handle handle = trial.open(disk);
  for (const Operation& operation : operations(trial.maySwitch())) {
    expectRefusal(operation, trial.plugin(), handle.get(), "a device that is not there", "Device is not found.");
  }
}

constexpr Rule kOperationRules[] = {
    {"operations.null-handle", "each refuses a null handle with its text and asks no controller", Needs::anyHost,
     nullHandle},
    {"operations.null-output", "a null record or array is refused without a text", Needs::anyHost, nullOutput},
    {"operations.unknown-controller", "each refuses a controller that the driver does not know", Needs::anyHost,
     unknownController},
    {"operations.unknown-device", "each refuses a device that the controller does not have", Needs::anyHost,
     unknownDevice},
};

}  // namespace

std::span<const Rule> operationRules() {
  return kOperationRules;
}

}  // namespace host::check
