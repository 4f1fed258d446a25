// What calls leave behind: channels to the driver, open files, settings of the controller.

#include "host/check/trial.h"
#include "host/output/files.h"
#include "host/output/text.h"

namespace host::check {
namespace {

uint32_t openChannels(Trial& trial) {
  return trial.simulatedHost().counts().openChannels;
}

void expectChannelsClosed(Trial& trial, const HostDisk& disk) {
  const DeviceHandle handle = trial.open(disk);
  for (const Operation& operation : trial.operations()) {
    operation.call(handle);
    const uint32_t open = openChannels(trial);
    expect(open == 0, operation.of(disk.device) + ": expected no channel to stay open, got " + std::to_string(open));
  }
}

void channelClosed(Trial& trial) {
  for (const Subject& subject : trial.subjects()) expectChannelsClosed(trial, subject.disk);
  expectChannelsClosed(trial, trial.diskOfNoDevice());
}

/// A controller that cannot be opened may leave one channel open, for the next call to use.
void channelsDoNotPileUp(Trial& trial) {
  const DeviceHandle handle = trial.open(trial.diskOfNoController());
  for (int i = 0; i < 5; ++i) {
    for (const Operation& operation : trial.operations()) {
      operation.call(handle);
      const uint32_t open = openChannels(trial);
      expect(open <= 1, operation.of("a controller that is not there") +
                            ", again and again: expected one channel to stay open at most, got " +
                            std::to_string(open));
    }
  }
  expectChannelsClosed(trial, trial.subjects().front().disk);
}

size_t openFiles() {
  const auto descriptors = namesIn("/proc/self/fd");
  return descriptors ? descriptors->size() : 0;
}

void filesClosed(Trial& trial) {
  std::vector<HostDisk> disks = trial.servedDisks();
  disks.push_back(disks.front());
  disks.back().device = "no-such-node";
  trial.plugin();
  const size_t before = openFiles();
  const auto expectClosed = [&](const std::string& after) {
    const size_t now = openFiles();
    expect(now == before,
           after + ": expected " + std::to_string(before) + " open files, as before, got " + std::to_string(now));
  };
  for (const HostDisk& disk : disks) {
    const DeviceHandle handle = trial.open(disk);
    expectClosed("open of " + disk.device);
    for (const Operation& operation : trial.operations()) {
      operation.call(handle);
      expectClosed(operation.of(disk.device));
    }
  }
  if (!trial.isSimulated()) return;
  trial.addFault("ioctl", simulator::FaultAction::error, 5);
  const DeviceHandle handle = trial.open(disks.front());
  expectClosed("open of a disk that does not answer");
}

void readingChangesNothing(Trial& trial) {
  for (const OpenSubject& subject : trial.openEach()) {
    for (const Operation& operation : readingOperations()) {
      operation.call(subject.handle);
      const uint32_t writes = trial.commands().writes;
      expect(writes == 0, subject.of(operation.name) + ": expected only commands that read, got " +
                              counted(writes, "command") + " that writes settings");
    }
  }
}

void memoryGivenBack(Trial& trial) {
  const HostDisk disk = trial.subjects().front().disk;
  const DeviceHandle handle = trial.open(disk);
  for (const Operation& operation : trial.operations()) {
    expectNoGrowth("calls of " + operation.of(disk.device), [&] { operation.call(handle); });
  }
}

}  // namespace

std::vector<Rule> resourceRules() {
  return {
      {"channel.closed-after-each-call", "no operation leaves a channel to the driver open", channelClosed,
       Needs::simulatedHost},
      {"channel.does-not-pile-up", "controllers that cannot be opened leave one channel open at most",
       channelsDoNotPileUp, Needs::simulatedHost},
      {"files.closed", "no call leaves a file or disk node open", filesClosed},
      {"memory.given-back", "operations again and again take no memory", memoryGivenBack},
      {"commands.reading-changes-nothing", "operations that ask send no command that writes", readingChangesNothing},
  };
}

}  // namespace host::check
