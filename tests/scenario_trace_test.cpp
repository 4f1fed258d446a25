// The trace of a whole scenario, line by line, as scenario_trace.txt keeps it.
#include <fstream>
#include <iterator>
#include <regex>

#include "channel/management_channel.h"
#include "diagnostics/snapshot_dump.h"
#include "services/locator_led.h"
#include "tests/model.h"
#include "tests/scenario.h"

namespace {

/// The trace with what differs from run to run, or is no text, replaced.
std::string comparable(const std::string& trace) {
  std::string text = std::regex_replace(trace, std::regex(": 0x[0-9a-f]{5,}"), ": ADDRESS");
  for (char& c : text) {
    if (c != '\n' && c != '\t' && (c < ' ' || c > '~')) c = '?';
  }
  return text;
}

class ScenarioTrace : public ScenarioTest {};

TEST_F(ScenarioTrace, IsTheKeptOne) {
  simulator::Topology topology = askedTwice();
  simulator::Controller& controller = topology.controllers[0];
  for (size_t i = 0; i < controller.drives.size(); ++i) {
    controller.drives[i].wwid = {1, 2, 3, 4, 5, 6, 7, static_cast<uint8_t>(0xA0 + i)};
  }
  controller.drives[2].port = "PORTNAME-THAT-FILLS-IT";
  controller.volumes[0].label = "Label";
  controller.volumes[0].logicalDriveId = 0xBEEF;
  controller.volumes[0].uniqueId = {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE, 1, 2, 3, 4, 5, 6, 7, 8};
  controller.volumes.push_back(controller.volumes[0]);
  controller.volumes[1].number = 0x20003;
  controller.volumes[1].device = "external";
  controller.volumes[1].external = true;
  controller.volumes[1].externalBoxId = 9;
  load(topology);
  hostCalls.traceOn = true;
  PUBLISHED(DmuPluginInit)();
  run();

  // Refusals of opens, and calls and dumps that no operation makes.
  const DmuDeviceOpenInfo foreign = {.driver = "veltrane2"};
  const DmuDeviceOpenInfo own = {.driver = kDmuDriver};
  CtrlDevInfo* none = nullptr;
  EXPECT_EQ(plugin->openDeviceV2(&foreign, &none), -1);
  EXPECT_EQ(plugin->openDeviceV2(&own, nullptr), -1);
  EXPECT_EQ(plugin->openDeviceV2(nullptr, &none), -1);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(PUBLISHED(OrvaInfo_Cleanup)(), 0);
  EXPECT_EQ(heldByPlugin().channels, 0);
  const uint8_t dumped[10] = {0x0A};
  vlexBlinkDriveLED buffer = {.BlinkDuration = 0x10,
                              .BlinkTimeElapsed = 0x20,
                              .BlinkSeekEnable = {0x1F},
                              .OffsetToEBSEArray = 0x30,
                              .MaxPhysicalDevicesSupported = 0x40,
                              .TotalStructureLength = 0x50,
                              .FixedFieldsLength = 0x60};
  for (const int withArray : {0, 1}) PUBLISHED(OrvaInfo_DumpBlkLED)(&buffer, withArray);
  for (const int size : {0, 10}) PUBLISHED(OrvaInfo_DumpArray)(dumped, size);

  // Snapshots of replies without terminators, of lists that changed, and of next to nothing.
  CtrlDevInfo* external = open("external");
  CtrlDevInfo* disk = open("disk5");
  const auto set = [&](const char* call, uint32_t from, uint32_t offset, const std::vector<uint8_t>& bytes) {
    host.addFault(model::put(call, offset, bytes, from));
  };
  const auto look = [&](CtrlDevInfo* handle) {
    callAll(*plugin, handle);
    *hostCalls.now += 31;
    host.clearFaults();
  };
  *hostCalls.now += 31;
  set("identifyLogicalDevice", 1, 30, std::vector<uint8_t>(482, 'l'));
  set("identifyPhysicalDevice", 1, 1772, std::vector<uint8_t>(788, 'p'));
  set("senseConfiguration", 1, 8, {0x34, 0x12, 2, 1});
  set("senseConfiguration", 1, 252, {0x22, 0x11, 0, 0, 0x78, 0x56, 0x34, 0x12});
  set("senseConfiguration", 1, 264, {4, 3, 2, 1});
  look(external);
  set("reportLogicalLuns", 2, 0, {0, 1, 2, 3});
  set("reportPhysicalLuns", 2, 0, {0, 1, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 5});
  look(disk);
  set("reportLogicalLuns", 1, 0, {0, 0, 0, 0});
  host.addFault({.call = "open", .action = simulator::FaultAction::error, .value = 5});
  look(open("volume0"));
  look(open("disk5"));

  const std::string trace = comparable(takeTrace());
  std::ifstream kept(DMU_SOURCE_DIR "/tests/scenario_trace.txt");
  const std::string expected{std::istreambuf_iterator<char>(kept), {}};
  if (trace == expected) return;
  const std::string actual = testing::TempDir() + "scenario_trace.txt";
  std::ofstream(actual) << trace;
  FAIL() << "diff " DMU_SOURCE_DIR "/tests/scenario_trace.txt " << actual;
}

}  // namespace
