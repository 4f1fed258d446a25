// Operation 1: the locator LEDs, as the simulated drives show them.
#include "host/check/calls.h"
#include "host/check/expectations.h"
#include "host/loading/isolated_call.h"

namespace host::check {
namespace {

constexpr uint32_t kOn = 1;
constexpr uint32_t kOff = 0;

void switchLed(Trial& trial, const Subject& subject, uint32_t state, uint16_t seconds, const std::string& what) {
  const Handle handle = trial.open(subject.disk);
  noteStep(what);
  std::string error;
  const int32_t result = trial.plugin().setDriveLEDState(handle.get(), state, seconds, error);
  expectResult(what, static_cast<int32_t>(drivesOf(subject).size()), result);
}

std::vector<std::string> namesOf(const Subject& subject) {
  std::vector<std::string> names;
  for (const uint32_t drive : drivesOf(subject)) names.push_back(driveName(subject.disk.hba, drive));
  return names;
}

std::vector<Subject> switchable(Trial& trial) {
  std::vector<Subject> subjects = trial.subjects();
  std::erase_if(subjects, [](const Subject& subject) { return subject.kind == Kind::externalVolume; });
  if (subjects.empty()) throw Skipped{"the host has no disk with drives of its own"};
  return subjects;
}

void switchesTheRightDrives(Trial& trial) {
  for (const Subject& subject : switchable(trial)) {
    const std::string what = "locator LED of " + subject.disk.device;
    switchLed(trial, subject, kOn, kSeconds, what + " on");
    expectNames(what + " on: drives that blink", namesOf(subject), blinking(trial.simulatedHost()));
    switchLed(trial, subject, kOff, kSeconds, what + " off");
    expectNames(what + " off: drives that blink", {}, blinking(trial.simulatedHost()));
  }
}

/// Every disk is switched on and off while all the others of the host blink.
void leavesOthers(Trial& trial) {
  const std::vector<Subject> subjects = switchable(trial);
  std::vector<std::string> all;
  for (const Subject& other : subjects) {
    switchLed(trial, other, kOn, kSeconds, "locator LED of " + other.disk.device + " on");
    for (const std::string& name : namesOf(other)) all.push_back(name);
  }
  expectNames("all locator LEDs on: drives that blink", all, blinking(trial.simulatedHost()));
  for (const Subject& subject : subjects) {
    const std::string what = "locator LED of " + subject.disk.device + " while others blink";
    std::vector<std::string> others = all;
    for (const std::string& own : namesOf(subject)) std::erase(others, own);
    switchLed(trial, subject, kOff, kSeconds, what + ", off");
    expectNames(what + ", off: drives that blink", others, blinking(trial.simulatedHost()));
    switchLed(trial, subject, kOn, kSeconds, what + ", on");
    expectNames(what + ", on: drives that blink", all, blinking(trial.simulatedHost()));
  }
}

void lowBitsOfState(Trial& trial) {
  const Subject subject = switchable(trial).front();
  for (const uint32_t state : {0x01U, 0x80U, 0xFFU, 0x101U, 0x100U, 0xFFFFFF00U, 0xFFFFFFFFU}) {
    const std::string what = "locator LED of " + subject.disk.device + " with state " + std::to_string(state);
    switchLed(trial, subject, state, kSeconds, what);
    const bool isOn = (state & 0xFF) != 0;
    expectNames(what + ": drives that blink", isOn ? namesOf(subject) : std::vector<std::string>(),
                blinking(trial.simulatedHost()));
  }
}

/// Tenths of a second that the subject's drives still blink, by a clock that stands still.
uint32_t tenthsLeft(Trial& trial, const Subject& subject) {
  const uint32_t index = drivesOf(subject).front();
  for (const simulator::ControllerState& controller : trial.simulatedHost().state()) {
    if (controller.hba != subject.disk.hba) continue;
    for (const simulator::DriveState& drive : controller.drives) {
      if ((drive.drive.bus - 1u) * 256 + drive.drive.target == index) return drive.blinkTenthsLeft;
    }
  }
  return 0;
}

void blinksAsLongAsAsked(Trial& trial) {
  constexpr uint64_t kStandingClock = 17'000'000'000;
  trial.simulatedHost().setClock([] { return kStandingClock; });
  for (const Subject& subject : switchable(trial)) {
    for (const uint16_t time : {uint16_t{1}, uint16_t{30}, uint16_t{65535}}) {
      const std::string what = "locator LED of " + subject.disk.device + " for " + std::to_string(time) + " seconds";
      switchLed(trial, subject, kOn, time, what);
      const uint32_t left = tenthsLeft(trial, subject);
      expect(left == time * 10u, what + ": it blinks for " + std::to_string(left) + " tenths of a second");
    }
  }
}

void switchesNoExternalVolume(Trial& trial) {
  for (const Subject& subject : trial.subjects(Kind::externalVolume)) {
    const Handle handle = trial.open(subject.disk);
    std::string error = kErrorBefore;
    const std::string what = "locator LED of external volume " + subject.disk.device;
    expectResult(what, 0, trial.plugin().setDriveLEDState(handle.get(), kOn, kSeconds, error));
    expectText(what + ": the error text", kErrorBefore, error);
    expectNames(what + ": drives that blink", {}, blinking(trial.simulatedHost()));
  }
}

constexpr Rule kLocatorRules[] = {
    {"led.switches-the-right-drives", "the disk's drive or all of the volume's members blink, and stop",
     Needs::switching, switchesTheRightDrives},
    {"led.leaves-others", "drives that blink and were not named go on", Needs::switching, leavesOthers},
    {"led.low-bits-of-state", "the low 8 bits of the state count", Needs::switching, lowBitsOfState},
    {"led.seconds", "the drives blink as long as was asked", Needs::switching, blinksAsLongAsAsked},
    {"led.external-volume", "nothing is switched for an external volume, and the result is 0", Needs::switching,
     switchesNoExternalVolume},
};

}  // namespace

std::span<const Rule> locatorRules() {
  return kLocatorRules;
}

}  // namespace host::check
