// Where drives sit and how warm they are.
#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "controller/controller_identification.h"
#include "controller/device_scan.h"
#include "services/physical_location.h"
#include "tests/services_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Location : public Services {
 protected:
  /// The volume's locations, without their beginning.
  std::vector<std::string> locations() {
    char* texts[8];
    std::vector<std::string> found;
    const int32_t count = plugin->getDeviceLocation(volume, texts, 8, error);
    for (int32_t i = 0; i < count; ++i) {
      found.emplace_back(texts[i] + std::strlen("port:box:bay "));
      std::free(texts[i]);
    }
    return found;
  }
};

TEST_F(Location, AMemberThatTheSnapshotMissesIsIdentifiedAfresh) {
  controller.drives.erase(controller.drives.begin() + 1);     // bay 10 is not reported, yet a member
  controller.drives[0].bay = controller.drives[1].bay = 200;  // two members with one text
  load();
  hostCalls.traceOn = true;
  EXPECT_THAT(locations(), ElementsAre("1I:1:200", "1I:1:200", ":0:0(Failed)"));
  const std::string f = "OrvaInfo_GetPhyLocationForVolume: ";
  EXPECT_THAT(takeTrace(), HasSubstr(f + "Pdisk count: 2\n" + f + "disk count = 2, expected = 3\n"));
  for (int order = 0; order < 2; ++order) {
    std::swap(controller.drives[0], controller.drives[1]);
    controller.drives[0].currentTemperature = 30;
    controller.drives[1].currentTemperature = 33;
    load();
    DriveTemperature temperatures[8];
    EXPECT_EQ(plugin->getDeviceTemperature(volume, temperatures, 8, error), 1) << "one record for one text";
    EXPECT_EQ(temperatures[0].currentTemperature, 33) << "of the drive that is listed last";
  }
  controller.drives[0].bay = 2;
  for (const uint32_t drive : {16u, 9u, 14u}) controller.drives.push_back(model::drive(drive));
  controller.volumes[0].members = {2, 16, 3, 9, 14, 10};  // of which 10 is missing
  load();
  EXPECT_THAT(locations(), ElementsAre("1I:1:14", "1I:1:16", "1I:1:2", "1I:1:200", "1I:1:9", ":0:0(Failed)"));
  controller.volumes[0].members = {2, 16, 3};
  load();
  host.addFault(model::put("reportPhysicalLuns", 0, {0, 0, 0, 24}));
  EXPECT_THAT(locations(), ElementsAre("1I:1:16(Failed)", "1I:1:2", "1I:1:200(Failed)"));
  for (simulator::Drive& drive : controller.drives) drive.port = "PORT0001";
  load();
  EXPECT_THAT(locations(), ElementsAre("PORT0001:1:16", "PORT0001:1:2", "PORT0001:1:200"));
}

TEST_F(Location, AnExposedDriveIsNoMember) {
  host.addFault(model::put("senseConfiguration", 300, {0x2C}));
  EXPECT_THAT(locations(), ElementsAre("1I:1:10", "1I:1:2", "1I:1:3"));
}

TEST_F(Location, AMemberIsFoundWhereverItIsListed) {
  constexpr uint32_t kDrives = 63;
  controller.volumes.clear();
  for (uint32_t index = 0; index < kDrives; ++index) controller.volumes.push_back(model::volume(index, {index}));
  char* texts[2] = {};
  const auto textsOf = [&](OrvaInfo& info, size_t number) {
    const int32_t count =
        PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(&info, &info.devices[number], texts, std::size(texts), error);
    std::vector<std::string> found;
    for (int32_t k = 0; k < count; ++k) found.emplace_back(texts[k]);
    for (char*& text : texts) std::free(std::exchange(text, nullptr));
    return found;
  };
  const auto expectAll = [&](OrvaInfo& info, const char* of, const char* suffix = "", size_t times = 1) {
    for (size_t number = 0; number < controller.volumes.size(); ++number) {
      const std::string text = "port:box:bay 1I:1:" + std::to_string(number) + suffix;
      EXPECT_EQ(textsOf(info, number), std::vector(times, text)) << of;
    }
  };
  // In the order of their indexes, backwards, in no order; as many volumes, then few.
  constexpr std::pair<uint32_t, size_t> kOrders[] = {{1, kDrives}, {kDrives - 1, kDrives}, {37, 5}, {1, 5}};
  for (const auto& [step, volumes] : kOrders) {
    controller.volumes.resize(volumes);
    controller.drives.clear();
    for (uint32_t k = 0; k < kDrives; ++k) controller.drives.push_back(model::drive(k * step % kDrives));
    load();
    expectAll(snapshot(), "the cache's snapshot");
    const auto other = std::make_unique<OrvaInfo>(snapshot());
    std::reverse(other->devices + controller.volumes.size(), other->devices + other->deviceCount);
    for (const uint32_t slot : {0u, 10u}) {
      other->slot = slot;
      expectAll(*other, "another one of the same slot, or of none");
    }
  }
  OrvaInfo& info = snapshot();
  const auto turnRound = [&] {
    std::reverse(controller.drives.begin(), controller.drives.end());
    host.load(model::topology(controller));
  };
  turnRound();
  PUBLISHED(OrvaInfo_ClearOrvaInfo)(&info);
  ASSERT_EQ(PUBLISHED(OrvaInfo_GetInfoFromCtrl)(&info), 0);
  ASSERT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(&info), 0);
  expectAll(info, "filled anew by its host");
  turnRound();
  char hba[] = "vmhba1";
  ASSERT_EQ(PUBLISHED(OrvaInfo_UpdateCtrl)(0, hba), &info);
  expectAll(info, "filled anew by the cache");
  OrvaInfo_Devices& other = info.devices[30];
  const OrvaInfo_Devices before = std::exchange(other, {});
  vlexCmdLunAddress first = info.devices[controller.volumes.size()].lunAddress;
  ASSERT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&first, 0, 0, &other, &info), 0);
  EXPECT_EQ(textsOf(info, 0), std::vector<std::string>(2, "port:box:bay 1I:1:0")) << "two entries are its drive";
  other = before;
  ASSERT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(&info), 0);
  expectAll(info, "each device listed twice", "", 2);
  info.deviceCount = static_cast<int32_t>(controller.volumes.size());
  expectAll(info, "the list cut to the volumes", "(Failed)");
}

TEST_F(Location, ADriveThatIsListedTwiceIsTwoMembers) {
  host.addFault(model::put("reportPhysicalLuns", 8 + 2 * 24 + 6, {2}));
  EXPECT_THAT(locations(), ElementsAre("1I:1:10", "1I:1:2", "1I:1:2"));
}

TEST_F(Location, WhatAnOperationAllocatesGrowsWithTheVolumesAndNotWithTheirMembers) {
  constexpr uint32_t kVolumes = 64;
  constexpr uint32_t kMembers = 16;
  constexpr size_t kList = kNewCanFail ? 1 : 0;  // it comes from operator new, which is not the test's everywhere
  controller.maxPhysDevicesSupported = controller.maxPhysDrivesPerLogicalUnit = kVolumes * kMembers;
  controller.extendedBlinkArray = true;
  controller.drives.clear();
  controller.volumes.clear();
  for (uint32_t number = 0; number < kVolumes; ++number) {
    std::vector<uint32_t> members;
    for (uint32_t i = 0; i < kMembers; ++i) members.push_back(number * kMembers + i);
    for (const uint32_t member : members) controller.drives.push_back(model::drive(member));
    controller.volumes.push_back(model::volume(number, members));
  }
  load();
  snapshot();
  const auto allocationsOf = [&](auto operation) {
    hostCalls.made.clear();
    hostCalls.recording = true;
    EXPECT_EQ(operation(), static_cast<int32_t>(kMembers));
    hostCalls.recording = false;
    return static_cast<size_t>(std::count_if(hostCalls.made.begin(), hostCalls.made.end(),
                                             [](const PluginCall& call) { return call.isAllocation(); }));
  };
  std::array<char*, kMembers> texts{};
  DriveTemperature temperatures[kMembers];
  EXPECT_EQ(allocationsOf([&] { return plugin->getDeviceLocation(volume, texts.data(), kMembers, error); }),
            kMembers + 1 + kList)
      << "its texts, the bitmap of the members found, the list";
  EXPECT_EQ(allocationsOf([&] { return plugin->getDeviceTemperature(volume, temperatures, kMembers, error); }), kList);
  EXPECT_EQ(allocationsOf([&] { return plugin->setDriveLEDState(volume, 1, 1, error); }),
            kVolumes * (1 + 2 * kList) + 1)
      << "of each volume a bitmap and two lists, and the blink buffer";
  std::for_each(texts.begin(), texts.end(), std::free);
}

}  // namespace
