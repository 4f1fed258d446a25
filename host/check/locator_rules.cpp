// Operation 1: the locator LEDs, as the simulated drives show them.
#include "host/check/expectations.h"

namespace host::check {
namespace {

constexpr uint32_t kOn = 1;
constexpr uint32_t kOff = 0;

/// Switches, and expects the subject's own drives to be counted.
void expectSwitched(const OpenSubject& subject, uint32_t state, uint16_t seconds, const std::string& what) {
  const Call call = callLocator(subject.handle, state, seconds, what);
  expectResult(what, static_cast<int32_t>(drivesOf(subject).size()), call.result);
}

void switchesTheRightDrives(Trial& trial) {
  for (const OpenSubject& subject : trial.openEachWithDrives()) {
    const std::string what = subject.of("locator LED");
    expectSwitched(subject, kOn, kSeconds, what + " on");
    expectBlinking(what + " on", drivesOf(subject), trial.simulatedHost());
    expectSwitched(subject, kOff, kSeconds, what + " off");
    expectBlinking(what + " off", {}, trial.simulatedHost());
  }
}

/// Every disk is switched off and on while all the others of the host blink.
void leavesOthers(Trial& trial) {
  std::vector<std::string> all;
  for (const OpenSubject& subject : trial.openEachWithDrives()) {
    expectSwitched(subject, kOn, kSeconds, subject.of("locator LED") + " on");
    for (const std::string& drive : drivesOf(subject)) all.push_back(drive);
  }
  expectBlinking("all locator LEDs on", all, trial.simulatedHost());
  for (const OpenSubject& subject : trial.openEachWithDrives()) {
    const std::string what = subject.of("locator LED") + " while others blink";
    std::vector<std::string> others = all;
    for (const std::string& own : drivesOf(subject)) std::erase(others, own);
    expectSwitched(subject, kOff, kSeconds, what + ", off");
    expectBlinking(what + ", off", others, trial.simulatedHost());
    expectSwitched(subject, kOn, kSeconds, what + ", on");
    expectBlinking(what + ", on", all, trial.simulatedHost());
  }
}

void lowBitsOfState(Trial& trial) {
  const Subject first = trial.subjectsWithDrives().front();
  const OpenSubject subject{first, trial.open(first.disk)};
  for (const uint32_t state : {0x01U, 0x80U, 0xFFU, 0x101U, 0x100U, 0xFFFFFF00U, 0xFFFFFFFFU}) {
    const std::string what = subject.of("locator LED") + " with state " + std::to_string(state);
    expectSwitched(subject, state, kSeconds, what);
    const bool isOn = (state & 0xFF) != 0;
    expectBlinking(what, isOn ? drivesOf(subject) : std::vector<std::string>(), trial.simulatedHost());
  }
}

/// By a clock that stands still.
void blinksAsLongAsAsked(Trial& trial) {
  constexpr uint64_t kStandingClock = 17'000'000'000;
  trial.simulatedHost().setClock([] { return kStandingClock; });
  for (const OpenSubject& subject : trial.openEachWithDrives()) {
    for (const uint16_t time : {uint16_t{1}, uint16_t{30}, uint16_t{65535}}) {
      const std::string what = subject.of("locator LED") + " for " + std::to_string(time) + " seconds";
      expectSwitched(subject, kOn, time, what);
      const uint32_t left = tenthsLeft(trial.simulatedHost(), drivesOf(subject).front());
      expect(left == time * 10u, what + ": it blinks for " + std::to_string(left) + " tenths of a second");
    }
  }
}

void switchesNoExternalVolume(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach(Kind::externalVolume)) {
    const std::string what = "locator LED of external volume " + subject.disk.device;
    expectAnswer(what, {0, kErrorBefore}, callLocator(subject.handle, kOn, kSeconds, what));
    expectBlinking(what, {}, trial.simulatedHost());
  }
}

}  // namespace

std::vector<Rule> locatorRules() {
  return {
      {"led.switches-the-right-drives", "the disk's drive or all of the volume's members blink, and stop",
       switchesTheRightDrives, Needs::switching},
      {"led.leaves-others", "drives that blink and were not named go on", leavesOthers, Needs::switching},
      {"led.low-bits-of-state", "the low 8 bits of the state count", lowBitsOfState, Needs::switching},
      {"led.seconds", "the drives blink as long as was asked", blinksAsLongAsAsked, Needs::switching},
      {"led.external-volume", "nothing is switched for an external volume, and the result is 0",
       switchesNoExternalVolume, Needs::switching},
  };
}

}  // namespace host::check
