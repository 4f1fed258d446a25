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

class Cache : public PluginTest {
 protected:
  Cache() { hostCalls.now = 5000; }

  /// Opens a controller and checks whether its snapshot was built now.
  OrvaInfo* expectOpened(const std::string& name, bool anew) {
    (void)host.takeCommands();
    const uint32_t queries = host.counts().query;
    OrvaInfo* info = openCtrl(name);
    EXPECT_NE(info, nullptr) << name;
    const auto sent = host.takeCommands();
    EXPECT_EQ(!sent.empty(), anew) << name << " at " << *hostCalls.now;
    EXPECT_TRUE(!anew || sent.back().instance == info->slot) << name;
    EXPECT_EQ(host.counts().query - queries, anew ? 1 : 0) << name << " at " << *hostCalls.now;
    return info;
  }
};

TEST_F(Cache, AFailedOpenLeavesTheChannelOpenAndOnlyAFailedRebuildCostsTheSnapshot) {
  OrvaInfo* info = expectOpened("vmhba3", true);
  for (const char* call : {"query", "identifyController"}) {
    PUBLISHED(OrvaInfo_CloseCtrl)(nullptr);
    *hostCalls.now += 31;
    host.addFault({.call = call, .count = 1, .action = FaultAction::driverStatus, .value = 1});
    EXPECT_EQ(openCtrl("vmhba3"), nullptr);
    EXPECT_NE(PUBLISHED(mgmtHandle), nullptr);
    EXPECT_EQ(slots()[1], info);
    EXPECT_STREQ(info->hbaName, call == std::string("query") ? "vmhba3" : "");
  }
  EXPECT_EQ(std::memcmp(info, std::make_unique<OrvaInfo>().get(), sizeof(*info)), 0);
  EXPECT_EQ(expectOpened("vmhba3", true), info) << "rebuilt in the same memory";
  host.addFault({.call = "init", .action = FaultAction::error, .value = 3});
  PUBLISHED(OrvaInfo_CloseCtrl)(nullptr);
  EXPECT_EQ(openCtrl("vmhba3"), nullptr);
  EXPECT_STREQ(info->hbaName, "vmhba3");
}

TEST_F(Cache, UnknownAndOverlongNamesAndBadSlotsAreHandled) {
  EXPECT_EQ(openCtrl("vmhba99"), nullptr);
  EXPECT_EQ(openCtrl(""), nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_OpenCtrl)(nullptr), nullptr);
  char name[] = "vmhba2";
  for (const int slot : {-1, 10, INT32_MIN}) EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateCtrl)(slot, name), nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateCtrl)(3, nullptr), nullptr);
  EXPECT_EQ(slots()[3], nullptr);

  const std::string longName(40, 'h');
  host.load(model::topology(model::controller(longName)));
  EXPECT_EQ(expectOpened(longName, true)->hbaName, longName.substr(0, 32));
  EXPECT_EQ(PUBLISHED(OrvaInfo_OpenCtrl)(nullptr), nullptr);
  expectOpened(longName, true);  // the cut name never matches
}

TEST_F(Cache, TenControllersKeepTheirOwnSnapshots) {
  simulator::Topology topology;
  for (int i = 0; i < 10; ++i) topology.controllers.push_back(model::controller("vmhba" + std::to_string(i)));
  host.load(topology);
  for (uint32_t i = 10; i-- > 0;) {
    *hostCalls.now += 10;
    const OrvaInfo* info = expectOpened("vmhba" + std::to_string(i), true);
    EXPECT_EQ(info, slots()[i]);
    EXPECT_EQ(info->slot, i);
  }
  expectOpened("vmhba3", false);  // 30 seconds old
  expectOpened("vmhba4", true);
}

TEST_F(Cache, AStaleSnapshotStaysInItsSlotWhenTheDriverNamesAnother) {
  OrvaInfo* stale = expectOpened("vmhba2", true);
  simulator::Topology topology = host.topology();
  std::swap(topology.controllers[0], topology.controllers[1]);
  host.load(topology);
  *hostCalls.now += 31;
  OrvaInfo* fresh = expectOpened("vmhba2", true);
  EXPECT_EQ(fresh, slots()[1]);
  EXPECT_EQ(stale, slots()[0]);
  EXPECT_STREQ(stale->hbaName, "vmhba2");
  EXPECT_EQ(expectOpened("vmhba2", true), fresh) << "the stale one is found first, every time";
}

/// A snapshot with a volume, a drive of no use, two exposed drives and a volume behind them.
class Lookup : public PluginTest {
 protected:
  Lookup() {
    add(0x40, "", 1, 0, 0);
    add(0xC0, "MASKED", 0, 0, 0);
    add(0x80, "STRANGE", 0, 0, 0);
    add(0x00, "ABCD", 0, 64, 0);
    add(0x00, "ABCE", 0, 65, 0);
    add(0x40, "", 3, 9, 8);
    add(0x40, "", 7, 7, 7);
    --info->deviceCount;  // and what an earlier list left behind this one
  }
  void add(uint8_t kind, const char* serial, uint32_t channel, uint32_t target, uint32_t lun) {
    OrvaInfo_Devices& device = info->devices[info->deviceCount++];
    device.lunAddress.bytes[3] = kind;
    std::strcpy(device.serialNo, serial);
    device.channel = channel;
    device.target = target;
    device.lun = lun;
  }
  std::unique_ptr<OrvaInfo> info = std::make_unique<OrvaInfo>();
};

/// What is looked for, and the number of the entry that it is; -1: none.
struct Sought {
  const char* serial;
  uint32_t channel, target, lun;
  int64_t found;
};

TEST_F(Lookup, FindsVolumesByAddressAndDrivesBySerial) {
  // A volume is found by its address, whatever the serial; a drive is the first exposed one whose serial begins so,
  // whatever the address. Without a serial nothing is found behind the first exposed drive.
  const Sought kSought[] = {
      {"", 1, 0, 0, 0},       {"ABCE", 1, 0, 0, 0},    {"ABCE", 0, 0, 0, 4},     {"ABC", 0, 65, 0, 3},
      {"ABCDE", 0, 0, 0, -1}, {"MASKED", 0, 0, 0, -1}, {"STRANGE", 0, 0, 0, -1}, {"x", 3, 9, 8, 5},
      {"x", 4, 9, 8, -1},     {"x", 3, 8, 8, -1},      {"x", 3, 9, 9, -1},       {"x", 7, 7, 7, -1},
      {"", 3, 9, 8, -1},
  };
  hostCalls.traceOn = true;
  for (const auto& [serial, channel, target, lun, found] : kSought) {
    CtrlDevInfo handle{
        .channel = channel, .target = target, .lun = lun, .devName = "", .hbaName = "", .serialNumber = serial};
    const OrvaInfo_Devices* entry = PUBLISHED(OrvaInfo_LookForDev)(info.get(), &handle);
    EXPECT_EQ(entry == nullptr ? -1 : entry - info->devices, found) << serial << " " << channel << ":" << target;
  }
  EXPECT_THAT(takeTrace(), testing::HasSubstr("OrvaInfo_LookForDev: Error mode:2 -> sn:STRANGE C0:T0:L0\n"));
  EXPECT_EQ(PUBLISHED(OrvaInfo_LookForDev)(nullptr, reinterpret_cast<CtrlDevInfo*>(this)), nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_LookForDev)(info.get(), nullptr), nullptr);
}

}  // namespace
