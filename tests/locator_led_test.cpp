// The locator LED.
#include "services/locator_led.h"

#include "channel/management_channel.h"
#include "tests/services_fixture.h"

namespace {

using testing::ElementsAre;

class Led : public Services {
 protected:
  std::vector<uint32_t> blinking() {
    std::vector<uint32_t> drives;
    const std::vector<simulator::ControllerState> state = host.state();
    for (const simulator::DriveState& drive : state.front().drives) {
      if (drive.blinking) drives.push_back((drive.drive.bus - 1U) * 256 + drive.drive.target);
    }
    return drives;
  }
};

TEST_F(Led, SwitchesTheMembersAndNoOtherDrive) {
  EXPECT_EQ(plugin->setDriveLEDState(disk, 1, 600, error), 1);
  EXPECT_THAT(blinking(), ElementsAre(5));
  warm();
  EXPECT_EQ(plugin->setDriveLEDState(volume, 0x80, 30, error), 3);
  EXPECT_THAT(blinking(), ElementsAre(2, 10, 3, 5));
  const auto commands = host.takeCommands();
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].record[18], 0x17);
  EXPECT_EQ(commands[1].record[18], 0x16);
  const std::vector<uint8_t>& data = commands[1].data;
  ASSERT_EQ(data.size(), 276u);
  EXPECT_THAT(std::vector<uint8_t>(data.begin(), data.begin() + 4), ElementsAre(300 & 0xFF, 300 >> 8, 0, 0));
  EXPECT_THAT(std::vector<uint8_t>(data.begin() + 266, data.begin() + 272),
              ElementsAre(0, 1, 276 & 0xFF, 276 >> 8, 0, 0));
  EXPECT_EQ(plugin->setDriveLEDState(volume, 0x100, 30, error), 3) << "the low 8 bits say off";
  EXPECT_THAT(blinking(), ElementsAre(5));
  EXPECT_EQ(error, "before");
}

TEST_F(Led, MarksBothArraysBelow256AndTheExtendedOneAbove) {
  controller.maxPhysDevicesSupported = 300;
  controller.extendedBlinkArray = true;
  for (const uint32_t drive : {256u, 295u}) controller.drives.push_back(model::drive(drive));
  controller.drives.push_back(model::drive(299, true));
  controller.volumes[0].members = {2, 10, 3, 256, 295};
  load();
  warm();
  EXPECT_EQ(plugin->setDriveLEDState(volume, 1, 1, error), 5);
  const std::vector<uint8_t> data = host.takeCommands().back().data;
  ASSERT_EQ(data.size(), 576u);
  std::vector<size_t> marked;
  for (size_t i = 8; i < 264; ++i) {
    if (data[i] != 0) marked.push_back(i - 8);
  }
  for (size_t i = 276; i < data.size(); ++i) {
    if (data[i] != 0) marked.push_back(i - 276);
  }
  EXPECT_THAT(marked, ElementsAre(2, 3, 10, 2, 3, 10, 256, 295));
  EXPECT_EQ(data[264] | data[265] << 8, 276) << "what stands behind the array below 256";
  EXPECT_EQ(plugin->setDriveLEDState(open("disk299"), 1, 1, error), 1) << "the last drive of the array";
  EXPECT_EQ(plugin->setDriveLEDState(volume, 0, 1, error), 5);
  EXPECT_THAT(blinking(), ElementsAre(299));
}

TEST_F(Led, FunctionsCalledDirectly) {
  warm();
  OrvaInfo& info = snapshot();
  OrvaInfo_Devices& member = info.devices[0];
  const auto blink = [&](int seconds, OrvaInfo_Devices* device, OrvaInfo* i) {
    return PUBLISHED(OrvaInfo_BlinkDriveTrayLED)(seconds, device, i, 1);
  };
  ASSERT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  EXPECT_EQ(blink(86401, &member, &info), -1);
  EXPECT_EQ(blink(1, &info.devices[1], &info), -1) << "external";
  EXPECT_THAT(sentOpcodes(), ElementsAre());
  EXPECT_EQ(blink(86400, &member, &info), 0);
  EXPECT_EQ(blink(-1, &member, &info), 0);
  const std::vector<uint8_t> data = host.takeCommands().back().data;
  EXPECT_THAT(std::vector<uint8_t>(data.begin(), data.begin() + 4), ElementsAre(0xF6, 0xFF, 0xFF, 0xFF));
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseBlinkDriveLED)(&info, nullptr, -5), 0);
  const auto commands = host.takeCommands();
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(commands[0].record[76] | commands[0].record[77] << 8, 276 + 256);
  hostCalls.traceOn = true;
  info.maxPhysDevicesSupported = 257;
  EXPECT_EQ(blink(1, &info.devices[5], &info), -1);
  EXPECT_EQ(takeTrace(),
            "OrvaInfo_BlinkDriveTrayLED: MaxPhysDevicesSupported(257) is larget than fixed field blinking enable array "
            "(256)\n");
  EXPECT_THAT(sentOpcodes(), ElementsAre(0x17));
}

}  // namespace
