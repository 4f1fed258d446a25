// What holds for all six operations: bad handles, missing outputs, controllers and devices that are not there, and the
// results and error texts when calls succeed and when the controller fails them.
#include "host/check/expectations.h"
#include "host/loading/isolated_call.h"

namespace host::check {
namespace {

void nullHandle(Trial& trial) {
  expectRefusals(allOperations(), {trial.plugin(), nullptr}, "a null handle", "Invalid handle!");
  const uint32_t commands = trial.commands().begun;
  expect(commands == 0, "null handles: expected no command to the driver, got " + std::to_string(commands));
}

void nullOutput(Trial& trial) {
  const DmuPluginDescriptor& plugin = trial.plugin();
  const CallResult missed{-1, kErrorBefore};
  for (const OpenSubject& subject : trial.openEach()) {
    CtrlDevInfo* handle = subject.handle.get();
    CallResult call{0, kErrorBefore};
    noteStep(subject.of("an operation") + " with a null record or array");
    call.result = plugin.getDeviceInfo(handle, nullptr, call.error);
    expectAnswer(subject.of("device information") + " with a null record", missed, call);
    for (const int32_t count : {0, 8}) {
      call.result = plugin.getDeviceTemperature(handle, nullptr, count, call.error);
      expectAnswer(subject.of("temperature") + " with a null array", missed, call);
      call.result = plugin.getDeviceLocation(handle, nullptr, count, call.error);
      expectAnswer(subject.of("location") + " with a null array", missed, call);
    }
  }
}

void unknownController(Trial& trial) {
  expectRefusals(trial.operations(), trial.open(trial.diskOfNoController()), "a controller that is not there",
                 "Failed to open controller.");
}

void unknownDevice(Trial& trial) {
  expectRefusals(trial.operations(), trial.open(trial.diskOfNoDevice()), "a device that is not there",
                 "Device is not found.");
}

using simulator::FaultAction;

void untouchedOnSuccess(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach()) {
    for (const Operation& operation : trial.operations()) {
      const Call call = operation.call(subject.handle);
      const bool failsWithoutText = subject.kind == Kind::externalVolume && operation.switches;
      expect(failsWithoutText || call.result >= 0, subject.of(operation.name) + ": expected success, got result " +
                                                       std::to_string(call.result) + ", \"" + call.error + '"');
      expectText(subject.of(operation.name) + ": the error text", kErrorBefore, call.error);
    }
  }
}

/// Nothing succeeds before the last call, so that no answer can come from what the plugin has kept. The channel comes
/// first: a controller that cannot be opened may leave it open.
void controllerGone(Trial& trial) {
  constexpr std::pair<const char*, FaultAction> kFaults[] = {{"init", FaultAction::error},
                                                             {"query", FaultAction::error},
                                                             {"query", FaultAction::driverStatus},
                                                             {"identifyController", FaultAction::error},
                                                             {"identifyController", FaultAction::driverStatus}};
  const Subject first = trial.subjects().front();
  const OpenSubject subject{first, trial.open(first.disk)};
  for (const auto& [call, action] : kFaults) {
    trial.addFault(call, action, 5);
    expectRefusals(trial.operations(), subject.handle, subject.disk.device + " while " + call + " fails",
                   "Failed to open controller.");
    trial.simulatedHost().clearFaults();
  }
  informationOf(subject, " once its controller works again");
}

/// Expects an operation to fail without a text while a command of it fails, and to have changed nothing.
void expectNoChange(Trial& trial, const OpenSubject& subject, const Operation& operation, const std::string& command) {
  const auto before = cachesOn(trial.simulatedHost());
  trial.addFault(command, FaultAction::driverStatus, 0x7B);
  const Call call = operation.call(subject.handle);
  trial.simulatedHost().clearFaults();
  const std::string what = subject.of(operation.name) + " while " + command + " fails";
  const bool isLocator = operation.call == allOperations()[1].call;
  const bool isSuccess =
      isLocator ? call.result != 0 : call.result == 0 || call.result == static_cast<int32_t>(drivesOf(subject).size());
  expect(!isSuccess, what + ": expected " + (isLocator ? "result 0" : "-1 or another failure") + ", got result " +
                         std::to_string(call.result));
  expectText(what + ": the error text", kErrorBefore, call.error);
  expectBlinking(what, {}, trial.simulatedHost());
  expectCachesOn(what, before, trial.simulatedHost());
}

void commandFails(Trial& trial) {
  const auto& [information, locator, cacheOn, cacheOff, temperature, location] = allOperations();
  for (const OpenSubject& subject : trial.openEachWithDrives()) {
    const bool isDisk = subject.kind == Kind::disk;
    for (const char* command : {"senseBlinkDriveLed", "blinkDriveTrayLed"}) {
      expectNoChange(trial, subject, locator, command);
    }
    for (const Operation& cache : {cacheOn, cacheOff}) {
      expectNoChange(trial, subject, cache, isDisk ? "senseControllerParameters" : "senseCacheConfiguration");
      expectNoChange(trial, subject, cache, isDisk ? "setControllerParameters" : "setCacheConfiguration");
    }
  }
}

}  // namespace

std::vector<Rule> operationAndErrorRules() {
  return {
      {"operations.null-handle", "each refuses a null handle with its text and asks no controller", nullHandle},
      {"operations.null-output", "a null record or array is refused without a text", nullOutput},
      {"operations.unknown-controller", "each refuses a controller that the driver does not know", unknownController},
      {"operations.unknown-device", "each refuses a device that the controller does not have", unknownDevice},
      {"errors.untouched-on-success", "a call that succeeds leaves the error text as it was", untouchedOnSuccess},
      {"errors.controller-gone", "a controller that fails is reported, and works again when it is back", controllerGone,
       Needs::simulatedHost},
      {"errors.command-fails", "a command that fails is no success and changes nothing", commandFails,
       Needs::switching},
  };
}

}  // namespace host::check
