// The snapshot cache and the device lookup.
#include <cstring>

#include "channel/management_channel.h"
#include "controller/device_lookup.h"
#include "controller/snapshot_cache.h"
#include "plugin/device_handle.h"
#include "tests/host_process.h"
#include "tests/model.h"

namespace {

using simulator::FaultAction;
using testing::Each;
using testing::HasSubstr;
using testing::IsNull;

class Cache : public PluginTest {
 protected:
  Cache() { hostCalls.now = 5000; }

  OrvaInfo* openCtrl(std::string name) { return PUBLISHED(OrvaInfo_OpenCtrl)(name.data()); }
  size_t commandsSent() { return host.takeCommands().size(); }
  OrvaInfo** slots() { return published<OrvaInfo* [10]>("_ZN11ResourceMgr11ControllersE"); }
};

TEST_F(Cache, ASnapshotIsGoodForThirtySeconds) {
  OrvaInfo* first = openCtrl("vmhba2");
  ASSERT_NE(first, nullptr);
  EXPECT_STREQ(first->hbaName, "vmhba2");
  EXPECT_EQ(first->lastUpdate, 5000);
  EXPECT_GT(commandsSent(), 0u);
  hostCalls.traceOn = true;
  hostCalls.now = 5030;
  hostCalls.recording = true;
  EXPECT_EQ(openCtrl("vmhba2"), first);
  for (const PluginCall& call : hostCalls.made) EXPECT_FALSE(call.isAllocation() || call.isOfDriver()) << call.name;
  hostCalls.recording = false;
  char line[100];
  std::snprintf(line, sizeof(line), "OrvaInfo_OpenCtrl: 0: %p, vmhba2\n", static_cast<void*>(first));
  EXPECT_EQ(takeTrace(), std::string("OrvaInfo_Init: Trying to reinitialize management handle.\n") + line);
  hostCalls.now = 5031;
  EXPECT_EQ(openCtrl("vmhba2"), first) << "rebuilt in the same memory";
  EXPECT_EQ(first->lastUpdate, 5031);
  EXPECT_THAT(takeTrace(),
              HasSubstr(std::string(line) + "OrvaInfo_CacheTimedout: Cache timedout.\n"
                                            "OrvaInfo_OpenCtrl: cached timedout, update needed.\n"
                                            "OrvaInfo_OpenCtrl: To update cache.\nOrvaInfo_GetInfoFromCtrl: "));
  hostCalls.now = 4000;
  EXPECT_EQ(openCtrl("vmhba2"), first);
  EXPECT_EQ(first->lastUpdate, 5031) << "a clock that was set back makes nothing stale";
  EXPECT_FALSE(PUBLISHED(OrvaInfo_CacheTimedout)(nullptr));
}

/// What a failed open leaves: the channel as it is, and the slot as given.
struct OpenFailure {
  simulator::FaultRule fault;
  bool slotIsCleared;
};

TEST_F(Cache, AFailedOpenLeavesTheChannelOpenAndOnlyAFailedRebuildCostsTheSnapshot) {
  const OpenFailure kFailures[] = {
      {{.call = "query", .count = 1, .action = FaultAction::driverStatus, .value = 1}, false},
      {{.call = "identifyController", .count = 1, .action = FaultAction::driverStatus, .value = 1}, true}};
  for (const OpenFailure& failure : kFailures) {
    OrvaInfo* info = openCtrl("vmhba3");
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(PUBLISHED(OrvaInfo_CloseCtrl)(nullptr), 0);
    *hostCalls.now += 31;
    host.addFault(failure.fault);
    EXPECT_EQ(openCtrl("vmhba3"), nullptr);
    EXPECT_NE(PUBLISHED(mgmtHandle), nullptr);
    EXPECT_EQ(slots()[1], info);
    EXPECT_STREQ(info->hbaName, failure.slotIsCleared ? "" : "vmhba3");
    if (failure.slotIsCleared) {
      EXPECT_EQ(std::memcmp(info, std::make_unique<OrvaInfo>().get(), sizeof(*info)), 0);
    }
    EXPECT_EQ(openCtrl("vmhba3"), info) << "the next open rebuilds in the same memory";
  }
  host.addFault({.call = "init", .action = FaultAction::error, .value = 3});
  PUBLISHED(OrvaInfo_CloseCtrl)(nullptr);
  EXPECT_EQ(openCtrl("vmhba3"), nullptr);
  EXPECT_STREQ(slots()[1]->hbaName, "vmhba3");
}

TEST_F(Cache, UnknownAndOverlongNamesAndBadSlotsAreHandled) {
  EXPECT_EQ(openCtrl("vmhba99"), nullptr);
  EXPECT_EQ(openCtrl(""), nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_OpenCtrl)(nullptr), nullptr);
  char name[] = "vmhba2";
  for (const int slot : {-1, 10, 11, INT32_MIN}) EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateCtrl)(slot, name), nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateCtrl)(3, nullptr), nullptr);
  EXPECT_THAT(std::vector<OrvaInfo*>(slots(), slots() + 10), Each(IsNull()));

  const std::string longName(40, 'h');
  host.load(model::topology(model::controller(longName)));
  OrvaInfo* info = openCtrl(longName);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->hbaName, longName.substr(0, 32));
  EXPECT_EQ(PUBLISHED(OrvaInfo_OpenCtrl)(nullptr), nullptr);
  (void)commandsSent();
  EXPECT_EQ(openCtrl(longName), info);
  EXPECT_GT(commandsSent(), 0u) << "the cut name never matches";
}

TEST_F(Cache, TenControllersKeepTheirOwnSnapshotsUntilTheyAreFreed) {
  simulator::Topology topology;
  for (int i = 0; i < 10; ++i) {
    simulator::Controller controller = model::controller("vmhba" + std::to_string(i));
    for (int drive = 0; drive < i; ++drive) controller.drives.push_back(model::drive(static_cast<uint32_t>(drive)));
    controller.volumes = {model::volume(0, {})};
    topology.controllers.push_back(controller);
  }
  host.load(topology);
  for (int i = 9; i >= 0; --i) {
    *hostCalls.now += 10;
    OrvaInfo* info = openCtrl("vmhba" + std::to_string(i));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info, slots()[i]);
    EXPECT_EQ(info->slot, static_cast<uint32_t>(i));
    EXPECT_EQ(info->deviceCount, i + 1);
  }
  (void)commandsSent();
  EXPECT_NE(openCtrl("vmhba3"), nullptr);
  EXPECT_EQ(commandsSent(), 0u) << "30 seconds old";
  EXPECT_NE(openCtrl("vmhba4"), nullptr);
  EXPECT_GT(commandsSent(), 0u) << "40 seconds old";
  PUBLISHED(OrvaInfo_CleanupCtrls)();
  EXPECT_THAT(std::vector<OrvaInfo*>(slots(), slots() + 10), Each(IsNull()));
  EXPECT_NE(openCtrl("vmhba5"), nullptr);
  unload();  // the leak checker sees what the unload leaves
}

TEST_F(Cache, AStaleSnapshotStaysInItsSlotWhenTheDriverNamesAnother) {
  OrvaInfo* stale = openCtrl("vmhba2");
  ASSERT_NE(stale, nullptr);
  simulator::Topology topology = host.topology();
  std::swap(topology.controllers[0], topology.controllers[1]);
  host.load(topology);
  *hostCalls.now += 31;
  OrvaInfo* fresh = openCtrl("vmhba2");
  EXPECT_EQ(fresh, slots()[1]);
  EXPECT_EQ(stale, slots()[0]);
  EXPECT_STREQ(stale->hbaName, "vmhba2");
  (void)commandsSent();
  EXPECT_EQ(openCtrl("vmhba2"), fresh);
  EXPECT_GT(commandsSent(), 0u) << "the stale one is found first, every time";
}

class Lookup : public PluginTest {
 protected:
  Lookup() {
    add(0x40, "", 1, 0, 0);
    add(0xC0, "MASKED", 0, 0, 0);
    add(0x80, "STRANGE", 0, 0, 0);
    add(0x00, "ABCD", 0, 64, 0);
    add(0x00, "ABCE", 0, 65, 0);
    add(0x40, "", 3, 9, 8);
  }
  void add(uint8_t kind, const char* serial, uint32_t channel, uint32_t target, uint32_t lun) {
    OrvaInfo_Devices& device = info->devices[info->deviceCount++];
    device.lunAddress.bytes[3] = kind;
    std::strcpy(device.serialNo, serial);
    device.serialNoLength = 42;
    device.channel = channel;
    device.target = target;
    device.lun = lun;
  }
  int look(const std::string& serial, uint32_t channel, uint32_t target, uint32_t lun) {
    CtrlDevInfo handle{
        .channel = channel, .target = target, .lun = lun, .devName = "", .hbaName = "", .serialNumber = serial};
    const OrvaInfo_Devices* found = PUBLISHED(OrvaInfo_LookForDev)(info.get(), &handle);
    return found == nullptr ? -1 : static_cast<int>(found - info->devices);
  }
  std::unique_ptr<OrvaInfo> info = std::make_unique<OrvaInfo>();
};

TEST_F(Lookup, FindsVolumesByAddressAndDrivesBySerial) {
  EXPECT_EQ(look("", 1, 0, 0), 0);
  EXPECT_EQ(look("ABCE", 1, 0, 0), 0) << "a volume's address wins over a serial";
  EXPECT_EQ(look("ABCE", 0, 0, 0), 4);
  EXPECT_EQ(look("ABC", 0, 65, 0), 3) << "the first that begins so; the address plays no part";
  EXPECT_EQ(look("ABCDE", 0, 64, 0), -1) << "an entry that is shorter";
  EXPECT_EQ(look("MASKED", 0, 0, 0), -1);
  EXPECT_EQ(look("STRANGE", 0, 0, 0), -1);
  EXPECT_EQ(look("x", 3, 9, 8), 5);
  EXPECT_EQ(look("", 3, 9, 8), -1) << "without a serial nothing is found behind the first exposed drive";
  const std::tuple<uint32_t, uint32_t, uint32_t> kNotQuite[] = {{4, 9, 8}, {3, 8, 8}, {3, 9, 9}};
  for (const auto& [channel, target, lun] : kNotQuite) EXPECT_EQ(look("x", channel, target, lun), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_LookForDev)(nullptr, reinterpret_cast<CtrlDevInfo*>(this)), nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_LookForDev)(info.get(), nullptr), nullptr);
}

TEST_F(Lookup, TracesAnEntryOfAnUnexpectedKind) {
  hostCalls.traceOn = true;
  look("ABCD", 7, 8, 9);
  EXPECT_THAT(takeTrace(), HasSubstr("OrvaInfo_LookForDev: Error mode:2 -> sn:STRANGE C0:T0:L0\n"));
  info->deviceCount = 0;
  EXPECT_EQ(look("", 1, 0, 0), -1);
}

}  // namespace
