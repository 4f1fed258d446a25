// Error texts and results when calls succeed, and when the controller fails them.
#include "host/check/calls.h"
#include "host/check/expectations.h"

namespace host::check {
namespace {

using simulator::FaultAction;

void untouchedOnSuccess(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    for (const Operation& operation : operations(trial.maySwitch())) {
      bool wrote = false;
      const Answer answer = operation.call(trial.plugin(), handle.get(), wrote);
      const bool failsWithoutText = subject.kind == Kind::externalVolume && operation.switches;
      const std::string what = words(operation, subject.disk.device);
      expect(failsWithoutText || answer.result >= 0,
             what + ": expected success, got result " + std::to_string(answer.result) + ", \"" + answer.error + '"');
      expectText(what + ": the error text", kErrorBefore, answer.error);
    }
  }
}

/// Expects every operation to say that the controller cannot be opened while a call of the host fails.
void expectGone(Trial& trial, const Subject& subject, CtrlDevInfo* handle, const char* call, FaultAction action) {
  trial.addFault(call, action, 5);
  for (const Operation& operation : operations(trial.maySwitch())) {
    expectRefusal(operation, trial.plugin(), handle, subject.disk.device + " while " + call + " fails",
                  "Failed to open controller.");
  }
  trial.simulatedHost().clearFaults();
}

/// Nothing succeeds before the last call, so that no answer can come from what the plugin has kept. The channel comes
/// first: a controller that cannot be opened may leave it open.
void controllerGone(Trial& trial) {
  const Subject subject = trial.subjects().front();
  const Handle handle = trial.open(subject.disk);
  expectGone(trial, subject, handle.get(), "init", FaultAction::error);
  expectGone(trial, subject, handle.get(), "query", FaultAction::error);
  expectGone(trial, subject, handle.get(), "query", FaultAction::driverStatus);
  expectGone(trial, subject, handle.get(), "identifyController", FaultAction::error);
  expectGone(trial, subject, handle.get(), "identifyController", FaultAction::driverStatus);
  const InformationCall call(trial.plugin(), handle.get());
  expectResult("device information of " + subject.disk.device + " once its controller works again", 0, call.result);
}

/// Expects an operation to fail without a text while a command of it fails, and to have changed nothing.
void expectNoChange(Trial& trial, const Subject& subject, const Operation& operation, const std::string& command) {
  const Handle handle = trial.open(subject.disk);
  const auto before = cachesOn(trial.simulatedHost());
  trial.addFault(command, FaultAction::driverStatus, 0x7B);
  bool wrote = false;
  const Answer answer = operation.call(trial.plugin(), handle.get(), wrote);
  trial.simulatedHost().clearFaults();
  const std::string what = words(operation, subject.disk.device) + " while " + command + " fails";
  const bool isLocator = operation.call == allOperations()[1].call;
  const bool isSuccess = isLocator
                             ? answer.result != 0
                             : answer.result == 0 || answer.result == static_cast<int32_t>(drivesOf(subject).size());
  expect(!isSuccess, what + ": expected " + (isLocator ? "result 0" : "-1 or another failure") + ", got result " +
                         std::to_string(answer.result));
  expectText(what + ": the error text", kErrorBefore, answer.error);
  expectNames(what + ": drives that blink", {}, blinking(trial.simulatedHost()));
  expectNames(what + ": caches that are on", before, cachesOn(trial.simulatedHost()));
}

void commandFails(Trial& trial) {
  const auto& [information, locator, cacheOn, cacheOff, temperature, location] = allOperations();
  for (const Subject& subject : trial.subjects()) {
    if (subject.kind == Kind::externalVolume) continue;
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

constexpr Rule kErrorRules[] = {
    {"errors.untouched-on-success", "a call that succeeds leaves the error text as it was", Needs::anyHost,
     untouchedOnSuccess},
    {"errors.controller-gone", "a controller that fails is reported, and works again when it is back",
     Needs::simulatedHost, controllerGone},
    {"errors.command-fails", "a command that fails is no success and changes nothing", Needs::switching, commandFails},
};

}  // namespace

std::span<const Rule> errorRules() {
  return kErrorRules;
}

}  // namespace host::check
