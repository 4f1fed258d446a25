// A snapshot that a test fills step by step, with the channel open.
#pragma once

#include <memory>

#include "channel/management_channel.h"
#include "controller/controller_identification.h"
#include "controller/device_scan.h"
#include "controller/snapshot_cache.h"
#include "tests/host_process.h"
#include "tests/model.h"

class Discovery : public PluginTest {
 protected:
  Discovery() { PUBLISHED(OrvaInfo_Init)(); }
  ~Discovery() override {
    PUBLISHED(OrvaInfo_ClearOrvaInfo)(info.get());
    PUBLISHED(OrvaInfo_Cleanup)();
  }

  /// Loads a model and identifies its controller.
  void load(const simulator::Topology& topology) {
    host.load(topology);
    ASSERT_EQ(PUBLISHED(OrvaInfo_GetInfoFromCtrl)(info.get()), 0);
    (void)host.takeCommands();
  }

  /// Loads a model, identifies its controller and scans it.
  void scan(const simulator::Topology& topology) {
    load(topology);
    EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), 0);
  }

  std::unique_ptr<OrvaInfo> info = std::make_unique<OrvaInfo>();
};
