// What calls leave behind: channels to the driver, open files, settings of the controller.
#include <filesystem>

#include "host/check/calls.h"
#include "host/check/expectations.h"
#include "host/check/memory.h"
#include "host/output/text.h"

namespace host::check {
namespace {

uint32_t openChannels(Trial& trial) {
  return trial.simulatedHost().counts().openChannels;
}

void expectChannelsClosed(Trial& trial, const HostDisk& disk) {
  const Handle handle = trial.open(disk);
  for (const Operation& operation : operations(trial.maySwitch())) {
    bool wrote = false;
    static_cast<void>(operation.call(trial.plugin(), handle.get(), wrote));
    const uint32_t open = openChannels(trial);
    expect(open == 0,
           words(operation, disk.device) + ": expected no channel to stay open, got " + std::to_string(open));
  }
}

void channelClosed(Trial& trial) {
  for (const Subject& subject : trial.subjects()) expectChannelsClosed(trial, subject.disk);
  HostDisk missing = trial.subjects().front().disk;
  missing.device = "no-such-node";
  missing.channel = 4095;
  expectChannelsClosed(trial, missing);
}

/// A controller that cannot be opened may leave one channel open, for the next call to use.
void channelsDoNotPileUp(Trial& trial) {
  const Subject good = trial.subjects().front();
  HostDisk unknown = good.disk;
  unknown.hba = "no-such-hba";
  const Handle bad = trial.open(unknown);
  for (int i = 0; i < 5; ++i) {
    for (const Operation& operation : operations(trial.maySwitch())) {
      bool wrote = false;
      static_cast<void>(operation.call(trial.plugin(), bad.get(), wrote));
      const uint32_t open = openChannels(trial);
      expect(open <= 1, words(operation, "a controller that is not there") +
                            ", again and again: expected one channel " + "to stay open at most, got " +
                            std::to_string(open));
    }
  }
  expectChannelsClosed(trial, good.disk);
}

std::ptrdiff_t openFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

void filesClosed(Trial& trial) {
  std::vector<HostDisk> disks = trial.servedDisks();
  disks.push_back(disks.front());
  disks.back().device = "no-such-node";
  trial.plugin();
  const std::ptrdiff_t before = openFiles();
  const auto expectClosed = [&](const std::string& after) {
    const std::ptrdiff_t now = openFiles();
    expect(now == before,
           after + ": expected " + std::to_string(before) + " open files, as before, got " + std::to_string(now));
  };
  for (const HostDisk& disk : disks) {
    const Handle handle = trial.open(disk);
    expectClosed("open of " + disk.device);
    for (const Operation& operation : operations(trial.maySwitch())) {
      bool wrote = false;
      static_cast<void>(operation.call(trial.plugin(), handle.get(), wrote));
      expectClosed(words(operation, disk.device));
    }
  }
  if (!trial.isSimulated()) return;
  trial.addFault("ioctl", simulator::FaultAction::error, 5);
  const Handle handle = trial.open(disks.front());
  expectClosed("open of a disk that does not answer");
}

void readingChangesNothing(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle handle = trial.open(subject.disk);
    for (const Operation& operation : operations(false)) {
      bool wrote = false;
      static_cast<void>(operation.call(trial.plugin(), handle.get(), wrote));
      const uint32_t writes = trial.commands().writes();
      expect(writes == 0, words(operation, subject.disk.device) + ": expected only commands that read, got " +
                              counted(writes, "command") + " that writes settings");
    }
  }
}

void memoryGivenBack(Trial& trial) {
  const HostDisk disk = trial.subjects().front().disk;
  const Handle handle = trial.open(disk);
  for (const Operation& operation : operations(trial.maySwitch())) {
    expectNoGrowth("calls of " + words(operation, disk.device), [&] {
      bool wrote = false;
      static_cast<void>(operation.call(trial.plugin(), handle.get(), wrote));
    });
  }
}

constexpr Rule kResourceRules[] = {
    {"channel.closed-after-each-call", "no operation leaves a channel to the driver open", Needs::simulatedHost,
     channelClosed},
    {"channel.does-not-pile-up", "controllers that cannot be opened leave one channel open at most",
     Needs::simulatedHost, channelsDoNotPileUp},
    {"files.closed", "no call leaves a file or disk node open", Needs::anyHost, filesClosed},
    {"memory.given-back", "operations again and again take no memory", Needs::anyHost, memoryGivenBack},
    {"commands.reading-changes-nothing", "operations that ask send no command that writes", Needs::anyHost,
     readingChangesNothing},
};

}  // namespace

std::span<const Rule> resourceRules() {
  return kResourceRules;
}

}  // namespace host::check
