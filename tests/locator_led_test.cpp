// The locator LED: for how long, and when not at all.
#include "services/locator_led.h"

#include "tests/services_fixture.h"

namespace {

using testing::ElementsAre;

class Led : public Services {};

TEST_F(Led, BlinksForADayAtMostAndNotOnAControllerThatTheFixedArrayIsTooShortFor) {
  OrvaInfo& info = snapshot();
  const auto blink = [&](int seconds) {
    return PUBLISHED(OrvaInfo_BlinkDriveTrayLED)(seconds, &info.devices[0], &info, 1);
  };
  EXPECT_EQ(blink(86401), -1);
  EXPECT_THAT(sentOpcodes(), ElementsAre());
  EXPECT_EQ(blink(86400), 0);
  EXPECT_EQ(blink(-1), 0);
  std::vector<uint8_t> data = host.takeCommands().back().data;
  data.resize(4);
  EXPECT_THAT(data, ElementsAre(0xF6, 0xFF, 0xFF, 0xFF));
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseBlinkDriveLED)(&info, nullptr, -5), 0);
  const auto sense = host.takeCommands().back().record;
  EXPECT_EQ(sense[76] | sense[77] << 8, 276 + 256) << "a buffer of its own has the extended array";
  hostCalls.traceOn = true;
  info.maxPhysDevicesSupported = 257;
  EXPECT_EQ(blink(1), -1);
  EXPECT_EQ(takeTrace(),
            "OrvaInfo_BlinkDriveTrayLED: MaxPhysDevicesSupported(257) is larget than fixed field blinking enable array "
            "(256)\n");
  EXPECT_THAT(sentOpcodes(), ElementsAre(0x17));
}

TEST_F(Led, OneBitOfEachMemberIsSwitchedOnAndOff) {
  const std::pair<unsigned, uint8_t> kSwitches[] = {{1, 0xFE}, {0, 0xFF}};
  for (const auto& [state, before] : kSwitches) {
    host.clearFaults();
    host.addFault(model::put("senseBlinkDriveLed", 8, std::vector<uint8_t>(256, before)));
    EXPECT_EQ(plugin->setDriveLEDState(volume, state, 10, error), 3);
    std::vector<uint8_t> expected(256, before);
    for (const size_t member : {2U, 3U, 10U}) expected[member] = static_cast<uint8_t>(before ^ 1);
    std::vector<uint8_t> data = host.takeCommands().back().data;
    ASSERT_GE(data.size(), 276u);
    EXPECT_THAT(std::vector(data.begin() + 8, data.begin() + 264), testing::ElementsAreArray(expected));
  }
}

TEST_F(Led, NoDriveBehindTheLastWholeByteOfTheMemberMapBlinks) {
  controller.maxPhysDevicesSupported = 20;
  controller.drives = {model::drive(15), model::drive(16)};
  controller.volumes = {model::volume(0, {15})};
  load();
  EXPECT_EQ(plugin->setDriveLEDState(volume, 1, 10, error), 1);
  const std::vector<uint8_t> data = host.takeCommands().back().data;
  EXPECT_EQ(data.at(8 + 15), 1);
  EXPECT_EQ(data.at(8 + 16), 0);
}

TEST_F(Led, TheFixedArrayEndsBeforeDrive256) {
  controller.maxPhysDevicesSupported = 512;
  controller.extendedBlinkArray = true;
  controller.drives = {model::drive(255), model::drive(256)};
  controller.volumes = {model::volume(0, {255, 256})};
  load();
  EXPECT_EQ(plugin->setDriveLEDState(volume, 1, 10, error), 2);
  std::vector<uint8_t> data = host.takeCommands().back().data;
  ASSERT_EQ(data.size(), 276u + 512u);
  EXPECT_EQ(data[8 + 255], 1);
  EXPECT_EQ(data[264] | data[265] << 8, 276) << "the offset of the extended array, which follows the fixed one";
  EXPECT_EQ(data[276 + 255], 1);
  EXPECT_EQ(data[276 + 256], 1);
}

}  // namespace
