// A controller for the tests of the services, with its devices opened.
#pragma once

#include "tests/host_process.h"
#include "tests/model.h"

class Services : public PluginTest {
 protected:
  /// Three members of a RAID 5 volume in bays 2, 10 and 3, an exposed drive, a drive of no volume, an external volume.
  Services() {
    controller.drives = {model::drive(2), model::drive(10), model::drive(3), model::drive(5, true), model::drive(7)};
    controller.drives[1].currentTemperature = 41;
    controller.drives[3].port = "PORTNAME";
    controller.volumes = {model::volume(0, {2, 10, 3}), model::volume(1, {})};
    controller.volumes[1].external = true;
    load();
  }

  void load() {
    PUBLISHED(OrvaInfo_CleanupCtrls)();
    host.load(model::topology(controller));
    host.clearFaults();
    volume = open("volume0");
    external = open("volume1");
    disk = open("disk5");
    (void)host.takeCommands();
  }

  /// The snapshot, with the channel open. The commands that follow are an operation's own.
  OrvaInfo& snapshot() {
    OrvaInfo* info = openCtrl("vmhba1");
    (void)host.takeCommands();
    return *info;
  }
  void warm() { (void)snapshot(); }

  simulator::Controller controller = model::controller();
  CtrlDevInfo* volume = nullptr;
  CtrlDevInfo* external = nullptr;
  CtrlDevInfo* disk = nullptr;
};
