// Where drives sit and how warm they are.
#include <cstring>

#include "tests/services_fixture.h"

namespace {

using simulator::FaultAction;
using testing::ElementsAre;
using testing::HasSubstr;

class Location : public Services {
 protected:
  /// Calls the location operation with `count` slots.
  std::pair<int32_t, std::vector<std::string>> locations(CtrlDevInfo* handle, int32_t count, size_t slots = 8) {
    std::vector<char*> texts(slots, nullptr);
    const int32_t result = plugin->getDeviceLocation(handle, texts.data(), count, error);
    std::vector<std::string> found;
    for (char* text : texts) {
      if (text != nullptr) found.emplace_back(text);
      std::free(text);
    }
    return {result, found};
  }
};

TEST_F(Location, LocationsAreSortedTextsInBuffersOfTheHost) {
  const std::string two = "port:box:bay 1I:1:2";
  const std::string three = "port:box:bay 1I:1:3";
  const std::string ten = "port:box:bay 1I:1:10";
  EXPECT_THAT(locations(volume, 8), testing::Pair(3, ElementsAre(ten, two, three)));
  EXPECT_THAT(locations(volume, 2), testing::Pair(2, ElementsAre(ten, two)));
  EXPECT_THAT(locations(volume, 0), testing::Pair(0, ElementsAre()));
  EXPECT_THAT(locations(volume, -1), testing::Pair(0, ElementsAre()));
  EXPECT_THAT(locations(disk, 0), testing::Pair(1, ElementsAre("port:box:bay PORTNAME:1:5")));
  EXPECT_THAT(locations(disk, -9), testing::Pair(1, ElementsAre("port:box:bay PORTNAME:1:5")));
  EXPECT_THAT(locations(external, 8), testing::Pair(0, ElementsAre()));
}

TEST_F(Location, AMemberThatTheSnapshotMissesIsIdentifiedAfresh) {
  controller.drives.erase(controller.drives.begin() + 1);  // bay 10 is not reported, yet a member
  controller.drives[0].bay = 200;
  controller.drives[1].bay = 200;  // two members with one text
  load();
  hostCalls.traceOn = true;
  EXPECT_THAT(locations(volume, 8), testing::Pair(3, ElementsAre("port:box:bay 1I:1:200", "port:box:bay 1I:1:200",
                                                                 "port:box:bay :0:0(Failed)")));
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
  EXPECT_THAT(locations(volume, 8), testing::Pair(6, ElementsAre("port:box:bay 1I:1:14", "port:box:bay 1I:1:16",
                                                                 "port:box:bay 1I:1:2", "port:box:bay 1I:1:200",
                                                                 "port:box:bay 1I:1:9", "port:box:bay :0:0(Failed)")));
  controller.volumes[0].members = {2, 16, 3};
  load();
  host.addFault({.call = "reportPhysicalLuns", .action = FaultAction::set, .bytes = {0, 0, 0, 24}});
  EXPECT_THAT(locations(volume, 8), testing::Pair(3, ElementsAre("port:box:bay 1I:1:16(Failed)", "port:box:bay 1I:1:2",
                                                                 "port:box:bay 1I:1:200(Failed)")));
}

TEST_F(Location, AnExposedDriveIsNoMember) {
  host.addFault({.call = "senseConfiguration", .action = FaultAction::set, .offset = 300, .bytes = {0x2C}});
  EXPECT_THAT(locations(volume, 8), testing::Pair(3, testing::Not(testing::Contains("port:box:bay PORTNAME:1:5"))));
}

TEST_F(Location, ADriveThatIsListedTwiceIsTwoMembers) {
  host.addFault({.call = "reportPhysicalLuns", .action = FaultAction::set, .offset = 8 + 2 * 24 + 6, .bytes = {2}});
  EXPECT_THAT(locations(volume, 8),
              testing::Pair(3, ElementsAre("port:box:bay 1I:1:10", "port:box:bay 1I:1:2", "port:box:bay 1I:1:2")));
}

TEST_F(Location, TemperaturesFollowTheOrderOfTheLocations) {
  DriveTemperature t[4] = {{9, 9}, {9, 9}, {9, 9}, {9, 9}};
  EXPECT_EQ(plugin->getDeviceTemperature(volume, t, 2, error), 2);
  EXPECT_EQ(t[0].currentTemperature, 41);
  EXPECT_EQ(t[0].maximumTemperature, 60);
  EXPECT_EQ(t[1].currentTemperature, 30);
  EXPECT_EQ(t[2].currentTemperature, 9);
  EXPECT_EQ(plugin->getDeviceTemperature(volume, t, 4, error), 3);
  EXPECT_EQ(plugin->getDeviceTemperature(volume, t, -1, error), 0);
  EXPECT_EQ(plugin->getDeviceTemperature(volume, t, 0, error), 0);
  EXPECT_EQ(plugin->getDeviceTemperature(disk, t + 3, 0, error), 1);
  EXPECT_EQ(t[3].maximumTemperature, 60);
  EXPECT_EQ(plugin->getDeviceTemperature(external, t, 4, error), 0);
}

}  // namespace
