// Device information, and how every operation ends when its device cannot be found.
#include "tests/scenario.h"
#include "tests/services_fixture.h"

namespace {

using testing::Each;
using testing::ElementsAre;

class DeviceInformation : public Services {};

/// An operation that failed with a text.
auto failure(const char* text) {
  return testing::AllOf(testing::Field(&Outcome::result, -1), testing::Field(&Outcome::text, text));
}

TEST_F(DeviceInformation, OfAnExternalVolumeNothingElseIsKnown) {
  EXPECT_EQ(callAll(*plugin, external).front(), (Outcome{0, "before", "1/1/255"}));
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
  EXPECT_EQ(heldByPlugin().channels, 0);
}

}  // namespace
