// The list of devices that a scan makes of the controller's reports.
#include "controller/device_scan.h"

#include <csignal>
#include <cstring>

#include "channel/management_channel.h"
#include "tests/host_process.h"
#include "tests/model.h"

namespace {

using testing::ElementsAre;

class Scan : public PluginTest {
 protected:
  ~Scan() override { PUBLISHED(OrvaInfo_Cleanup)(); }

  /// Loads a controller and scans it; the channel stays open.
  void scan(const simulator::Topology& topology) {
    host.load(topology);
    info = openCtrl("vmhba1");
  }

  OrvaInfo* info = nullptr;
};

TEST_F(Scan, ListsVolumesThenDrivesWithTheirHostAddresses) {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(2, true), model::drive(5), model::drive(6)};
  controller.drives[1].deviceType = 5;  // not listed
  controller.drives[1].wwid = {1, 2, 3, 4, 5, 6, 7, 8};
  controller.volumes = {model::volume(5, {6}), model::volume(0x3FFFFFFF, {6})};
  controller.volumes[1].external = true;
  scan(model::topology(controller));
  std::vector<std::string> found;
  for (const OrvaInfo_Devices* device = info->devices; device < info->devices + info->deviceCount; ++device) {
    const std::string serial(device->serialNo, std::strcspn(device->serialNo, " "));
    found.push_back(std::to_string(device->external) + " " + std::to_string(device->channel) + ":" +
                    std::to_string(device->target) + ":" + std::to_string(device->lun) + " " + serial);
  }
  EXPECT_THAT(found, ElementsAre("0 1:5:0 ", "1 3:16383:255 ", "0 0:66:0 S2", "0 0:0:0 S6"));
  EXPECT_EQ(sentOpcodes(), (std::vector{0x11, 0xC2, 0xC2, 0x10, 0x50, 0x10, 0x50, 0xC3, 0xC3, 0x15, 0x15}));
  EXPECT_THAT(info->devices[3].wwid, testing::Each(0)) << "nothing is left of the drive that is not listed";
}

TEST_F(Scan, OemBuildsNumberLocalVolumesByLun) {
  hostCalls.runModuleLoader = true;
  simulator::Controller controller = model::controller();
  controller.volumes = {model::volume(0x7FFF, {}), model::volume(3, {}), model::volume(6, {})};
  controller.volumes[2].external = true;
  simulator::Topology topology = model::topology(controller);
  topology.oemDriver = true;
  std::signal(SIGCHLD, SIG_IGN);  // whatever becomes of the loader
  scan(topology);
  std::signal(SIGCHLD, SIG_DFL);
  ASSERT_EQ(info->deviceCount, 3);
  EXPECT_EQ(info->devices[0].channel, 1u);
  EXPECT_EQ(info->devices[0].target, 0u);
  EXPECT_EQ(info->devices[0].lun, 0x4000u);
  EXPECT_EQ(info->devices[2].channel, 3u);
  EXPECT_EQ(host.counts().load, 2u) << "once for each local volume";
}

TEST_F(Scan, APhysicalListEndsWithTheResultOfItsLastEntry) {
  struct {
    vlexPhysicalLUNReportExt report;
    vlexPhysicalLunExt entries[2];
  } list = {};
  list.report.header.listLength[3] = sizeof(list.entries);
  list.report.header.format = 2;
  scan(model::topology(model::controller()));
  for (const uint8_t lastType : {uint8_t{4}, uint8_t{5}}) {
    list.entries[1].peripheralDeviceType = lastType;
    EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(&list.report, info, sizeof(list.entries)),
              lastType == 4 ? 0 : -1);
  }
  EXPECT_EQ(info->deviceCount, 3);
}

TEST_F(Scan, AListThatIsFullTakesNothingMore) {
  struct {
    vlexLogicalLUNReport report;
    vlexLogicalLunList entries[2];
  } volumes = {};
  volumes.report.header.listLength[3] = sizeof(volumes.entries);
  for (vlexLogicalLunList& entry : volumes.entries) entry.address.bytes[3] = 0x40;
  vlexPhysicalLUNReportExt drives = {};
  scan(model::topology(model::controller()));
  info->deviceCount = dmu::kMaxDevices - 1;
  (void)sentOpcodes();
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(&volumes.report, info, sizeof(volumes.entries)), 0);
  EXPECT_EQ(info->deviceCount, dmu::kMaxDevices);
  EXPECT_THAT(sentOpcodes(), ElementsAre(0x10, 0x50)) << "the second volume is not asked for";
  hostCalls.traceOn = true;
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(&volumes.report, info, sizeof(volumes.entries)), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(&drives, info, 0), 0);
  EXPECT_EQ(takeTrace(), "") << "nothing is even read";
}

TEST_F(Scan, OfAVolumesAddressFourBytesAreKept) {
  vlexCmdLunAddress address = {{1, 2, 3, 0x40, 5, 6, 7, 8}};
  scan(model::topology(model::controller()));
  OrvaInfo_Devices entry = {};
  std::fill(std::begin(entry.lunAddress.bytes), std::end(entry.lunAddress.bytes), uint8_t{0xFF});
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&address, 1, 0, &entry, info), 0);
  EXPECT_THAT(entry.lunAddress.bytes, ElementsAre(1, 2, 3, 0x40, 0, 0, 0, 0xFF));
}

}  // namespace
