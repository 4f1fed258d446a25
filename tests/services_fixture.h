// A controller for the tests of the services, with its volume opened.
#pragma once

#include "tests/host_process.h"
#include "tests/model.h"

class Services : public PluginTest {
 protected:
  /// Three members of a RAID 5 volume in bays 2, 10 and 3, an exposed drive, a drive of no volume, an external volume.
  Services() {
    controller.drives = {model::drive(2), model::drive(10), model::drive(3), model::drive(5, true), model::drive(7)};
    controller.volumes = {model::volume(0, {2, 10, 3}), model::volume(1, {})};
    controller.volumes[1].external = true;
    load();
  }

  void load() {
    PUBLISHED(OrvaInfo_CleanupCtrls)();
    host.load(model::topology(controller));
    host.clearFaults();
    volume = open("volume0");
    (void)host.takeCommands();
  }

  /// The snapshot, with the channel open. The commands that follow are an operation's own.
  OrvaInfo& snapshot() {
    OrvaInfo* info = openCtrl("vmhba1");
    (void)host.takeCommands();
    return *info;
  }

  simulator::Controller controller = model::controller();
  CtrlDevInfo* volume = nullptr;
};
