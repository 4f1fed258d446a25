// The list of devices that a scan makes of the controller's reports.
#include <cstring>

#include "controller/host_address.h"
#include "controller/logical_drive.h"
#include "controller/physical_drive.h"
#include "tests/discovery_fixture.h"

namespace {

using simulator::FaultAction;
using testing::ElementsAre;
using testing::HasSubstr;

class Scan : public Discovery {};

TEST_F(Scan, ListsVolumesThenDrivesWithTheirHostAddresses) {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(2, true), model::drive(300 - 256), model::drive(5)};
  controller.drives[2].deviceType = 5;
  controller.drives.push_back(model::drive(6));
  controller.drives[3].deviceType = 4;
  controller.drives[3].wwid = {1, 2, 3, 4, 5, 6, 7, 8};
  controller.volumes = {model::volume(5, {44}), model::volume(0x3FFFFFFF, {6})};
  controller.volumes[1].external = true;
  scan(model::topology(controller));
  EXPECT_THAT(sentOpcodes(), ElementsAre(0xC2, 0xC2, 0x10, 0x50, 0x10, 0x50, 0xC3, 0xC3, 0x15, 0x15, 0x15));
  struct Expected {
    uint8_t kind, external;
    uint32_t channel, target, lun;
    const char* serial;
  };
  const Expected kExpected[] = {{1, 0, 1, 5, 0, ""},
                                {1, 1, 3, 0x3FFF, 0xFF, ""},
                                {0, 0, 0, 66, 0, "S2"},
                                {3, 0, 0, 0, 0, "S44"},
                                {3, 0, 0, 0, 0, "S6"}};
  ASSERT_EQ(info->deviceCount, 5);
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    const OrvaInfo_Devices& device = info->devices[i];
    EXPECT_EQ(device.lunAddress.bytes[3] >> 6, kExpected[i].kind);
    EXPECT_EQ(device.external, kExpected[i].external);
    EXPECT_EQ(device.channel, kExpected[i].channel);
    EXPECT_EQ(device.target, kExpected[i].target);
    EXPECT_EQ(device.lun, kExpected[i].lun);
    EXPECT_EQ(std::string(device.serialNo).substr(0, std::strcspn(device.serialNo, " ")), kExpected[i].serial);
  }
  EXPECT_THAT(info->devices[4].wwid, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8)) << "nothing is left of the rejected drive";
}

TEST_F(Scan, OemBuildsNumberLocalVolumesByLun) {
  hostCalls.runModuleLoader = true;
  simulator::Controller controller = model::controller();
  controller.volumes = {model::volume(0x7FFF, {}), model::volume(6, {})};
  controller.volumes[1].external = true;
  simulator::Topology topology = model::topology(controller);
  topology.oemDriver = true;
  scan(topology);
  ASSERT_EQ(info->deviceCount, 2);
  EXPECT_EQ(info->devices[0].channel, 1u);
  EXPECT_EQ(info->devices[0].target, 0u);
  EXPECT_EQ(info->devices[0].lun, 0x4000u);
  EXPECT_EQ(info->devices[1].channel, 3u);
  EXPECT_EQ(host.counts().load, 1u) << "once for each local volume";
}

/// A report that lies: what is set into its replies from which match on, and what the scan makes of it.
struct ReportFault {
  const char* name;
  simulator::FaultRule rule;
  int32_t devices;
  const char* trace;
};

TEST_F(Scan, ReportsThatLieCostNoMoreThanTheirDevices) {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(0), model::drive(1)};
  controller.volumes = {model::volume(0, {0}), model::volume(1, {1})};
  const auto set = [](const char* call, uint32_t from, std::vector<uint8_t> length) {
    return simulator::FaultRule{.call = call, .from = from, .count = 1, .action = FaultAction::set, .bytes = length};
  };
  const ReportFault kFaults[] = {
      {"logical list overflows", set("reportLogicalLuns", 1, {0x7F, 0xFF, 0xFF, 0xF8}), 0,
       "Logical list length 0x7ffffff8\nOrvaInfo_DeviceScan: Faied to allocated memory.\n"},
      {"physical list overflows", set("reportPhysicalLuns", 1, {0xFF, 0xFF, 0xFF, 0xFF}), 2,
       "Physical list length 0xffffffff\nOrvaInfo_DeviceScan: Faied to allocated memory.\n"},
      {"logical list empty", set("reportLogicalLuns", 2, {0, 0, 0, 7}), 2,
       "Length : 7, sizeof(vlexLogicalLunList): 8\nOrvaInfo_UpdateScsiDevListLogical: Logical LUNs detected: 0, 00 00 "
       "00 07 \n"},
      {"logical list grew", set("reportLogicalLuns", 2, {0, 1, 2, 3}), 4,
       "Logical LUN report returned length is greater than first inquiry: 0x10203. Use that (0x10) "
       "instead.\nOrvaInfo_UpdateScsiDevListLogical: Logical LUNs detected: 2, 00 01 02 03 \n"},
      {"physical list grew", set("reportPhysicalLuns", 2, {0, 0, 1, 0}), 4,
       "Phy LUN report returned length is greater than first report: 0x100. Use that (0x30) "
       "instead.\nOrvaInfo_UpdateScsiDevListPhysical: Physical LUNs detected: 2\n"},
      {"device type",
       set("reportPhysicalLuns", 2, {0, 0, 0, 48, 2, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 5}), 3,
       "Failed to add physical lun 0\n"},
      {"volume in the physical report", set("reportPhysicalLuns", 2, {0, 0, 0, 48, 2, 0, 0, 0, 1, 0, 0, 0x40}), 4,
       "Raid Map is ready.\n"},
  };
  hostCalls.traceOn = true;
  for (const ReportFault& fault : kFaults) {
    SCOPED_TRACE(fault.name);
    PUBLISHED(OrvaInfo_ClearOrvaInfo)(info.get());
    host.clearFaults();
    load(model::topology(controller));
    host.addFault(fault.rule);
    takeTrace();
    EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), 0);
    EXPECT_EQ(info->deviceCount, fault.devices);
    EXPECT_THAT(takeTrace(), HasSubstr(fault.trace));
    EXPECT_EQ(host.faults().front().hits > 0, true);
  }
}

TEST_F(Scan, AFullListKeepsTheVolumesAndTheFirstDrives) {
  simulator::Controller controller = model::controller();
  controller.maxPhysDevicesSupported = 2048;
  for (uint32_t i = 0; i < 1100; ++i) controller.drives.push_back(model::drive(i));
  for (uint32_t i = 0; i < 20; ++i) controller.volumes.push_back(model::volume(i, {i}));
  scan(model::topology(controller));
  ASSERT_EQ(info->deviceCount, 1088);
  EXPECT_EQ(info->devices[19].lunAddress.bytes[3], 0x40);
  EXPECT_THAT(info->devices[20].serialNo, testing::StartsWith("S0 "));
  EXPECT_THAT(info->devices[1087].serialNo, testing::StartsWith("S1067 "));
  EXPECT_TRUE(PUBLISHED(OrvaInfo_DevListIsFull)(info.get()));
  EXPECT_TRUE(PUBLISHED(OrvaInfo_DevListIsFull)(nullptr));
  EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), 0) << "a scan of a full list adds nothing";
  EXPECT_EQ(info->deviceCount, 1088);
  vlexLogicalLUNReport logical = {};
  vlexPhysicalLUNReportExt physical = {};
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(&logical, info.get(), 8), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(&physical, info.get(), 24), 0);
}

TEST_F(Scan, OfAVolumesAddressFourBytesAreKept) {
  vlexCmdLunAddress address = {{1, 2, 3, 0x40, 5, 6, 7, 8}};
  OrvaInfo_Devices entry = {};
  std::fill(std::begin(entry.lunAddress.bytes), std::end(entry.lunAddress.bytes), uint8_t{0xFF});
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&address, 1, 0, &entry, info.get()), 0);
  EXPECT_THAT(entry.lunAddress.bytes, ElementsAre(1, 2, 3, 0x40, 0, 0, 0, 0xFF));
}

TEST_F(Scan, NullArgumentsAndAClosedChannelAreRefused) {
  vlexLogicalLUNReport logical = {};
  vlexPhysicalLUNReportExt physical = {};
  vlexCmdLunAddress address = {};
  OrvaInfo_Devices entry = {};
  EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(nullptr), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(nullptr, info.get(), 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(&logical, nullptr, 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(nullptr, info.get(), 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(&physical, nullptr, 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(nullptr, 0, 0, &entry, info.get()), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&address, 0, 0, nullptr, info.get()), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&address, 0, 0, &entry, nullptr), -1);
  PUBLISHED(OrvaInfo_SetBTL)(nullptr);
  PUBLISHED(OrvaInfo_Cleanup)();
  hostCalls.traceOn = true;
  EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_IdentifyLogicalDevice)(info.get(), &entry), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseConfiguration)(info.get(), &entry), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_IdentifyPhysicalDevice)(info.get(), &entry), -1);
  EXPECT_EQ(takeTrace(),
            "OrvaInfo_DeviceScan: Uninitialized.\nOrvaInfo_IdentifyLogicalDevice: Uninitialized.\n"
            "OrvaInfo_SenseConfiguration: Uninitialized.\n"
            "OrvaInfo_IdentifyPhysicalDevieWithBMICInex: Uninitialized.\n");
}

}  // namespace
