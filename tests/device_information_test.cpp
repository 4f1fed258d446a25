// Device information, and how every operation ends when its device cannot be found.
#include <cstring>

#include "tests/scenario.h"
#include "tests/services_fixture.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;

class DeviceInformation : public Services {};

/// An operation that failed with a text.
auto failure(const char* text) {
  return testing::AllOf(testing::Field(&Outcome::result, -1), testing::Field(&Outcome::text, text));
}

TEST_F(DeviceInformation, TellsWhatADeviceIs) {
  struct Case {
    CtrlDevInfo* handle;
    uint32_t type;
    uint8_t disks;
    uint32_t level;
    const char* trace;
  };
  hostCalls.traceOn = true;
  const Case kCases[] = {
      {volume, 1, 3, 5, ""},
      {external, 1, 1, 255, "OrvaInfo_GetDeviceInfo: Physical location: external\n"},
      {disk, 2, 0xEE, 0xEEEEEEEE, "OrvaInfo_GetDeviceInfo: Physical Location: port:box:bay PORTNAME:1:5\n"}};
  for (const Case& c : kCases) {
    DmuDeviceInfo info{};
    std::memset(&info, 0xEE, sizeof(info));
    EXPECT_EQ(plugin->getDeviceInfo(c.handle, &info, error), 0);
    EXPECT_EQ(info.deviceType, c.type);
    EXPECT_EQ(info.physicalDisks, c.disks);
    EXPECT_EQ(info.raidLevel, c.level);
    EXPECT_THAT(takeTrace(), EndsWith(c.trace));
  }
  EXPECT_EQ(error, "before");
  EXPECT_EQ(plugin->getDeviceInfo(volume, nullptr, error), -1);
  EXPECT_EQ(heldByPlugin().channels, 0);
}

TEST_F(DeviceInformation, LikeEveryOperationFailsWithOneTextAndClosesWhatItOpened) {
  simulator::HostDisk unknown{
      .device = "x", .hba = "vmhba1", .channel = 1, .target = 77, .lun = 0, .driver = "veltrane"};
  EXPECT_THAT(callAll(*plugin, open(unknown)), Each(failure("Device is not found.")));
  EXPECT_EQ(heldByPlugin().channels, 0);
  unknown.hba = "vmhba9";
  EXPECT_THAT(callAll(*plugin, open(unknown)), Each(failure("Failed to open controller.")));
  EXPECT_EQ(heldByPlugin().channels, 1) << "a failed open leaves the channel as it is";
  const Outcomes outcomes = callAll(*plugin, external);
  EXPECT_THAT(resultsOf(outcomes), ElementsAre(0, 0, -1, -1, 0, 0));
  EXPECT_THAT(outcomes, Each(testing::Field(&Outcome::text, "before")));
  EXPECT_EQ(plugin->getDeviceLocation(volume, nullptr, 1, error), -1);
  EXPECT_EQ(plugin->getDeviceTemperature(volume, nullptr, 1, error), -1);
  EXPECT_EQ(error, "before");
  EXPECT_EQ(heldByPlugin().channels, 0);
}

}  // namespace
