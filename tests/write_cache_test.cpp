// The write cache.
#include "services/write_cache.h"

#include "tests/services_fixture.h"

namespace {

using simulator::FaultAction;
using testing::ElementsAre;
using testing::HasSubstr;

class WriteCache : public Services {};

TEST_F(WriteCache, OfAVolumeIsItsBitAndNothingElse) {
  controller.volumes.insert(controller.volumes.begin() + 1, model::volume(10, {}));
  controller.volumes[1].members = {7};
  load();
  CtrlDevInfo* tenth = open("volume10");
  EXPECT_EQ(plugin->cacheOff(tenth, error), 1);
  EXPECT_FALSE(host.state().front().volumes[1].volume.cacheOn);
  EXPECT_TRUE(host.state().front().volumes[0].volume.cacheOn);
  const auto commands = host.takeCommands();
  const auto& set = commands.back();
  EXPECT_EQ(set.record[18], 0xC0);
  ASSERT_EQ(set.data.size(), 512u);
  EXPECT_EQ(set.data[268], 0x04);
  EXPECT_EQ(plugin->cacheOff(volume, error), 3);
  EXPECT_EQ(plugin->cacheOn(tenth, error), 1);
  EXPECT_TRUE(host.state().front().volumes[1].volume.cacheOn);
  EXPECT_FALSE(host.state().front().volumes[0].volume.cacheOn);
  std::vector<uint8_t> back = host.takeCommands().back().data;
  back[267] = 0;
  back[268] = 0x04;
  EXPECT_EQ(back, set.data) << "the whole buffer goes back otherwise unchanged";
}

TEST_F(WriteCache, OfADiskIsTheControllers) {
  warm();
  hostCalls.traceOn = true;
  EXPECT_EQ(plugin->cacheOn(disk, error), 1);
  EXPECT_TRUE(host.state().front().driveCacheOn);
  auto on = host.takeCommands();
  ASSERT_EQ(on.size(), 2u);
  EXPECT_EQ(on[0].record[18], 0x64);
  EXPECT_EQ(on[1].record[18], 0x63);
  EXPECT_EQ(plugin->cacheOff(disk, error), 1);
  EXPECT_FALSE(host.state().front().driveCacheOn);
  auto off = host.takeCommands();
  on[1].data[125] ^= 1;
  EXPECT_EQ(on[1].data, off[1].data);
  takeTrace();
  EXPECT_EQ(plugin->cacheOn(external, error), -1);
  EXPECT_THAT(takeTrace(), HasSubstr("OrvaInfo_CacheControl: Physical Location: external.\n"));
  EXPECT_THAT(sentOpcodes(), ElementsAre());
}

TEST_F(WriteCache, SendsNoSetCommandForAReplyThatDoesNotFit) {
  warm();
  hostCalls.traceOn = true;
  host.addFault({.call = "senseCacheConfiguration", .action = FaultAction::set, .offset = 20, .bytes = {0x41}});
  EXPECT_EQ(plugin->cacheOff(volume, error), -1);
  EXPECT_THAT(takeTrace(), HasSubstr("OrvaInfo_CacheConfiguration: Error: inconsistent maxLogicalDrivesSupported or "
                                     "supported: Controller 0x40, Cache config 0x41.\n"));
  EXPECT_THAT(sentOpcodes(), ElementsAre(0xC1));
  host.clearFaults();
  host.addFault({.call = "senseCacheConfiguration", .action = FaultAction::set, .offset = 9, .bytes = {0xFF, 0xFF}});
  EXPECT_EQ(plugin->cacheOff(volume, error), -1);
  EXPECT_THAT(sentOpcodes(), ElementsAre(0xC1, 0xC1)) << "asked once more, and no more";
}

}  // namespace
