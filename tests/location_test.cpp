// Where drives sit and how warm they are.
#include <cstring>

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
}

TEST_F(Location, AnExposedDriveIsNoMember) {
  host.addFault(model::put("senseConfiguration", 300, {0x2C}));
  EXPECT_THAT(locations(), ElementsAre("1I:1:10", "1I:1:2", "1I:1:3"));
}

TEST_F(Location, ADriveThatIsListedTwiceIsTwoMembers) {
  host.addFault(model::put("reportPhysicalLuns", 8 + 2 * 24 + 6, {2}));
  EXPECT_THAT(locations(), ElementsAre("1I:1:10", "1I:1:2", "1I:1:2"));
}

}  // namespace
