// Closing handles.
#include "host/check/calls.h"
#include "host/check/memory.h"
#include "host/check/trial.h"
#include "host/loading/isolated_call.h"

namespace host::check {
namespace {

void nullIsIgnored(Trial& trial) {
  const DmuPluginDescriptor& plugin = trial.plugin();
  noteStep("closing a null handle");
  plugin.closeDevice(nullptr);
}

void openAndClose(Trial& trial, const HostDisk& disk, int times) {
  for (int i = 0; i < times; ++i) static_cast<void>(trial.open(disk));
}

void freesTheHandle(Trial& trial) {
  const HostDisk disk = trial.servedDisks().front();
  expectNoGrowth("opens and closes of " + disk.device, [&] { static_cast<void>(trial.open(disk)); });
}

void leavesOtherHandles(Trial& trial) {
  for (const Subject& subject : trial.subjects()) {
    const Handle kept = trial.open(subject.disk);
    static_cast<void>(trial.open(subject.disk));
    openAndClose(trial, subject.disk, 3);
    const InformationCall call(trial.plugin(), kept.get());
    expectResult("device information of " + subject.disk.device + " after another handle of it was closed", 0,
                 call.result);
  }
}

constexpr Rule kCloseRules[] = {
    {"close.null", "a null handle is ignored", Needs::anyHost, nullIsIgnored},
    {"close.frees-the-handle", "opening and closing again and again takes no memory", Needs::anyHost, freesTheHandle},
    {"close.leaves-other-handles", "other handles of the same disk stay good", Needs::anyHost, leavesOtherHandles},
};

}  // namespace

std::span<const Rule> closeRules() {
  return kCloseRules;
}

}  // namespace host::check
