// The six operations, called as the host calls them, and the dump.
#include <cstring>

#include "channel/management_channel.h"
#include "controller/snapshot_cache.h"
#include "diagnostics/snapshot_dump.h"
#include "services/drive_temperature.h"
#include "services/locator_led.h"
#include "services/physical_location.h"
#include "services/write_cache.h"
#include "tests/host_process.h"
#include "tests/model.h"

namespace {

using simulator::FaultAction;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class Services : public PluginTest {
 protected:
  /// Three members of a RAID 5 volume in bays 2, 10 and 3, an exposed drive, a drive of no volume, an external volume.
  Services() {
    controller.drives = {model::drive(2), model::drive(10), model::drive(3), model::drive(5, true), model::drive(7)};
    controller.drives[1].currentTemperature = 41;
    controller.drives[3].port = "PORTNAME";
    controller.volumes = {model::volume(0, {2, 10, 3}), model::volume(1, {})};
    controller.volumes[1].external = true;
    load();
  }

  void load() {
    PUBLISHED(OrvaInfo_CleanupCtrls)();
    host.load(model::topology(controller));
    host.clearFaults();
    volume = open("volume0");
    external = open("volume1");
    disk = open("disk5");
    (void)host.takeCommands();
  }

  /// Opens and reads the snapshot, so that the commands that follow are an operation's own.
  void warm() {
    DmuDeviceInfo info{};
    ASSERT_EQ(plugin->getDeviceInfo(volume, &info, error), 0);
    (void)host.takeCommands();
  }

  /// The commands sent since the last call, by BMIC number.
  std::vector<int> sent() {
    std::vector<int> opcodes;
    for (const auto& command : host.takeCommands()) opcodes.push_back(command.record[12 + 6]);
    return opcodes;
  }

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

  std::vector<uint32_t> blinking() {
    std::vector<uint32_t> drives;
    const std::vector<simulator::ControllerState> state = host.state();
    for (const simulator::DriveState& drive : state.front().drives) {
      if (drive.blinking) drives.push_back((drive.drive.bus - 1U) * 256 + drive.drive.target);
    }
    return drives;
  }

  OrvaInfo& snapshot() { return *published<OrvaInfo* [10]>("_ZN11ResourceMgr11ControllersE")[0]; }

  simulator::Controller controller = model::controller();
  CtrlDevInfo* volume = nullptr;
  CtrlDevInfo* external = nullptr;
  CtrlDevInfo* disk = nullptr;
};

TEST_F(Services, TellWhatADeviceIs) {
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
  EXPECT_EQ(openChannels(), 0u);
}

/// Calls every operation with an output of its own and returns the results.
std::vector<int32_t> callAll(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, std::string& error) {
  DmuDeviceInfo info{};
  DriveTemperature temperatures[8];
  char* texts[8] = {};
  std::vector<int32_t> results = {plugin.getDeviceInfo(handle, &info, error),
                                  plugin.setDriveLEDState(handle, 1, 1, error),
                                  plugin.cacheOn(handle, error),
                                  plugin.cacheOff(handle, error),
                                  plugin.getDeviceTemperature(handle, temperatures, 8, error),
                                  plugin.getDeviceLocation(handle, texts, 8, error)};
  for (char* text : texts) std::free(text);
  return results;
}

TEST_F(Services, FailWithOneTextAndCloseWhatTheyOpened) {
  simulator::HostDisk unknown{
      .device = "x", .hba = "vmhba1", .channel = 1, .target = 77, .lun = 0, .driver = "veltrane"};
  EXPECT_THAT(callAll(*plugin, open(unknown), error), testing::Each(-1));
  EXPECT_EQ(error, "Device is not found.");
  EXPECT_EQ(openChannels(), 0u);
  unknown.hba = "vmhba9";
  EXPECT_THAT(callAll(*plugin, open(unknown), error), testing::Each(-1));
  EXPECT_EQ(error, "Failed to open controller.");
  EXPECT_EQ(openChannels(), 1u) << "a failed open leaves the channel as it is";
  error = "before";
  EXPECT_THAT(callAll(*plugin, external, error), ElementsAre(0, 0, -1, -1, 0, 0));
  EXPECT_EQ(plugin->getDeviceLocation(volume, nullptr, 1, error), -1);
  EXPECT_EQ(plugin->getDeviceTemperature(volume, nullptr, 1, error), -1);
  EXPECT_EQ(error, "before");
  EXPECT_EQ(openChannels(), 0u);
}

TEST_F(Services, LocationsAreSortedTextsInBuffersOfTheHost) {
  const std::string two = "port:box:bay 1I:1:2";
  const std::string three = "port:box:bay 1I:1:3";
  const std::string ten = "port:box:bay 1I:1:10";
  EXPECT_THAT(locations(volume, 8), testing::Pair(3, ElementsAre(ten, two, three)));
  EXPECT_THAT(locations(volume, 2), testing::Pair(2, ElementsAre(ten, two)));
  EXPECT_THAT(locations(volume, 0), testing::Pair(0, ElementsAre()));
  EXPECT_THAT(locations(volume, -1), testing::Pair(0, ElementsAre()));
  EXPECT_THAT(locations(disk, 0), testing::Pair(1, ElementsAre("port:box:bay PORTNAME:1:5")));
  EXPECT_THAT(locations(disk, -9), testing::Pair(1, ElementsAre("port:box:bay PORTNAME:1:5")));
  hostCalls.traceOn = true;
  EXPECT_THAT(locations(external, 8), testing::Pair(0, ElementsAre()));
  EXPECT_THAT(takeTrace(), EndsWith("OrvaInfo_GetDeviceLocation: Physical Location: external"));
  locations(disk, 1);
  EXPECT_THAT(takeTrace(), EndsWith("OrvaInfo_GetDeviceLocation: Physical Location: port:box:bay PORTNAME:1:5\n"));
}

TEST_F(Services, AMemberThatTheSnapshotMissesIsIdentifiedAfresh) {
  controller.drives.erase(controller.drives.begin() + 1);  // bay 10 is not reported, yet a member
  controller.drives[0].bay = 200;
  controller.drives[1].bay = 200;  // two members with one text
  load();
  hostCalls.traceOn = true;
  EXPECT_THAT(locations(volume, 8), testing::Pair(3, ElementsAre("port:box:bay 1I:1:200", "port:box:bay 1I:1:200",
                                                                 "port:box:bay :0:0(Failed)")));
  const std::string f = "OrvaInfo_GetPhyLocationForVolume: ";
  EXPECT_THAT(takeTrace(), HasSubstr(f + "Pdisk count: 2\n" + f + "disk count = 2, expected = 3\n"));
  DriveTemperature temperatures[8];
  EXPECT_EQ(plugin->getDeviceTemperature(volume, temperatures, 8, error), 1) << "one record for one text";

  controller.drives[0].bay = 2;
  controller.drives.push_back(model::drive(10));
  load();
  host.addFault({.call = "reportPhysicalLuns", .action = FaultAction::set, .bytes = {0, 0, 0, 24}});
  EXPECT_THAT(locations(volume, 8), testing::Pair(3, ElementsAre("port:box:bay 1I:1:10(Failed)", "port:box:bay 1I:1:2",
                                                                 "port:box:bay 1I:1:200(Failed)")));
}

TEST_F(Services, LocationBuffersAreGoneAfterAFailureAtAnySlot) {
  warm();
  int withText = 0;
  const int points = failEachAllocation([&](int, bool) {
    error = "before";
    char* texts[4];
    std::memset(texts, 0x5A, sizeof(texts));
    char* const untouched = texts[3];
    const int32_t result = plugin->getDeviceLocation(volume, texts, 4, error);
    if (result == 3) {
      for (int k = 0; k < 3; ++k) std::free(texts[k]);
    } else {
      EXPECT_EQ(result, -1);
      for (char* text : texts) EXPECT_TRUE(text == nullptr || text == untouched);
    }
    EXPECT_EQ(texts[3], untouched);
    if (error != "before") {
      EXPECT_EQ(error, "No memory for location!");
      ++withText;
    }
    EXPECT_EQ(openChannels(), 0u);
    EXPECT_EQ(pthread_mutex_trylock(&published<pthread_mutex_t>("pluginMutex")), 0);
    pthread_mutex_unlock(&published<pthread_mutex_t>("pluginMutex"));
  });
  EXPECT_GE(points, kNewCanFail ? 10 : 4);
  EXPECT_GE(withText, 3) << "one for each slot";
}

TEST_F(Services, TemperaturesFollowTheOrderOfTheLocations) {
  hostCalls.traceOn = true;
  DriveTemperature t[4] = {{9, 9}, {9, 9}, {9, 9}, {9, 9}};
  EXPECT_EQ(plugin->getDeviceTemperature(volume, t, 2, error), 2);
  EXPECT_EQ(t[0].currentTemperature, 41);
  EXPECT_EQ(t[0].maximumTemperature, 60);
  EXPECT_EQ(t[1].currentTemperature, 30);
  EXPECT_EQ(t[2].currentTemperature, 9);
  EXPECT_EQ(plugin->getDeviceTemperature(volume, t, 4, error), 3);
  EXPECT_EQ(plugin->getDeviceTemperature(volume, t, -1, error), 0);
  EXPECT_EQ(plugin->getDeviceTemperature(disk, t + 3, 0, error), 1);
  EXPECT_EQ(t[3].maximumTemperature, 60);
  takeTrace();
  EXPECT_EQ(plugin->getDeviceTemperature(external, t, 4, error), 0);
  EXPECT_THAT(takeTrace(), EndsWith("OrvaInfo_GetDeviceTemperature: Physical Location: external.\n"));
}

TEST_F(Services, VolumeFunctionsRefuseWhatIsNoVolumeWithMembers) {
  warm();
  OrvaInfo& info = snapshot();
  OrvaInfo_Devices& member = info.devices[0];
  char* slot = nullptr;
  DriveTemperature record{};
  const auto both = [&](OrvaInfo* i, OrvaInfo_Devices* v) {
    return std::pair{PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(i, v, &slot, 1, error),
                     PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(i, v, &record, 1, error)};
  };
  EXPECT_EQ(both(nullptr, &member), std::pair(0, 0));
  EXPECT_EQ(both(&info, nullptr), std::pair(0, 0));
  EXPECT_EQ(both(&info, &info.devices[1]), std::pair(0, 0)) << "external";
  EXPECT_EQ(both(&info, &info.devices[2]), std::pair(0, 0)) << "a drive";
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(&info, &member, nullptr, 3, error), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(&info, &member, nullptr, 3, error), -1);
  member.physicalDisks = 0;
  EXPECT_EQ(both(&info, &member), std::pair(0, 0)) << "no drives";
  EXPECT_EQ(slot, nullptr);
}

TEST_F(Services, LedSwitchesTheMembersAndNoOtherDrive) {
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

TEST_F(Services, LedMarksBothArraysBelow256AndTheExtendedOneAbove) {
  controller.maxPhysDevicesSupported = 300;
  controller.extendedBlinkArray = true;
  controller.drives.push_back(model::drive(295));
  controller.drives.push_back(model::drive(299, true));
  controller.volumes[0].members = {2, 10, 3, 295};
  load();
  warm();
  EXPECT_EQ(plugin->setDriveLEDState(volume, 1, 1, error), 4);
  const std::vector<uint8_t> data = host.takeCommands().back().data;
  ASSERT_EQ(data.size(), 576u);
  std::vector<size_t> marked;
  for (size_t i = 8; i < 264; ++i) {
    if (data[i] != 0) marked.push_back(i - 8);
  }
  for (size_t i = 276; i < data.size(); ++i) {
    if (data[i] != 0) marked.push_back(i - 276);
  }
  EXPECT_THAT(marked, ElementsAre(2, 3, 10, 2, 3, 10, 295));
  EXPECT_EQ(plugin->setDriveLEDState(open("disk299"), 1, 1, error), 1) << "the last drive of the array";
  EXPECT_EQ(plugin->setDriveLEDState(volume, 0, 1, error), 4);
  EXPECT_THAT(blinking(), ElementsAre(299));
}

/// A controller or a fault that keeps the LED from being switched; `commands` are those sent all the same.
TEST_F(Services, LedRefusesWithoutABlinkCommandAndReportsNothingSwitched) {
  struct Case {
    const char* name;
    uint16_t maxDevices;
    bool extended;
    uint8_t targetOfDisk;
    const char* failing;
    std::vector<int> commands;
    const char* trace;
  };
  const Case kCases[] = {
      {"sense fails",
       256,
       false,
       5,
       "senseBlinkDriveLed",
       {0x17},
       "OrvaInfo_SenseBlinkDriveLED: Failed to sense blink drive LED.\n"},
      {"blink fails",
       256,
       false,
       5,
       "blinkDriveTrayLed",
       {0x17, 0x16},
       "OrvaInfo_BlinkDriveTrayLED: Failed to blink drive LED.\n"},
      {"fixed array too small",
       257,
       false,
       5,
       nullptr,
       {0x17},
       "OrvaInfo_BlinkDriveTrayLED: MaxPhysDevicesSupported(257) is larget than fixed field blinking enable array "
       "(256)\n"},
      {"beyond the extended array", 9, true, 9, nullptr, {0x17}, ""},
      {"buffer too long for a command", 65260, true, 5, nullptr, {}, ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    controller.maxPhysDevicesSupported = c.maxDevices;
    controller.extendedBlinkArray = c.extended;
    controller.drives[3].target = c.targetOfDisk;
    load();
    warm();
    if (c.failing != nullptr) host.addFault({.call = c.failing, .action = FaultAction::driverStatus, .value = 1});
    hostCalls.traceOn = true;
    EXPECT_EQ(plugin->setDriveLEDState(disk, 1, 1, error), 0);
    EXPECT_EQ(sent(), c.commands);
    EXPECT_THAT(takeTrace(), HasSubstr(c.trace));
    EXPECT_EQ(error, "before");
    hostCalls.traceOn = false;
  }
  controller.maxPhysDevicesSupported = 256;
  controller.extendedBlinkArray = false;
  controller.drives[3].bus = 2;  // index 256
  controller.drives[3].target = 0;
  load();
  warm();
  EXPECT_EQ(plugin->setDriveLEDState(disk, 1, 1, error), 0) << "beyond the fixed array";
  EXPECT_THAT(sent(), ElementsAre(0x17));
}

TEST_F(Services, LedFunctionsCalledDirectly) {
  warm();
  OrvaInfo& info = snapshot();
  OrvaInfo_Devices& member = info.devices[0];
  const auto blink = [&](int seconds, OrvaInfo_Devices* device, OrvaInfo* i) {
    return PUBLISHED(OrvaInfo_BlinkDriveTrayLED)(seconds, device, i, 1);
  };
  hostCalls.traceOn = true;
  EXPECT_EQ(blink(1, &member, &info), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseBlinkDriveLED)(&info, nullptr, 0), -1);
  EXPECT_EQ(takeTrace(), "OrvaInfo_BlinkDriveTrayLED: Uninitialized.\nOrvaInfo_SenseBlinkDriveLED: Uninitialized.\n");
  ASSERT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  EXPECT_EQ(blink(1, nullptr, &info), -1);
  EXPECT_EQ(blink(1, &member, nullptr), -1);
  EXPECT_EQ(blink(86401, &member, &info), -1);
  EXPECT_EQ(blink(1, &info.devices[1], &info), -1) << "external";
  EXPECT_THAT(sent(), ElementsAre());
  EXPECT_EQ(blink(86400, &member, &info), 0);
  EXPECT_EQ(blink(-1, &member, &info), 0);
  const std::vector<uint8_t> data = host.takeCommands().back().data;
  EXPECT_THAT(std::vector<uint8_t>(data.begin(), data.begin() + 4), ElementsAre(0xF6, 0xFF, 0xFF, 0xFF));
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseBlinkDriveLED)(&info, nullptr, -5), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseBlinkDriveLED)(nullptr, nullptr, 0), -1);
  const auto commands = host.takeCommands();
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(commands[0].record[76] | commands[0].record[77] << 8, 276 + 256);
  hostCalls.failAllocation = hostCounts.allocations + 1;
  takeTrace();
  EXPECT_EQ(blink(1, &member, &info), -1);
  EXPECT_EQ(takeTrace(), "OrvaInfo_BlinkDriveTrayLED: Failed to allocate memory.\n");

  vlexBlinkDriveLED buffer = {.BlinkDuration = 0x10,
                              .BlinkTimeElapsed = 0x20,
                              .BlinkSeekEnable = {0x1F},
                              .OffsetToEBSEArray = 0x30,
                              .MaxPhysicalDevicesSupported = 0x40,
                              .TotalStructureLength = 0x50,
                              .FixedFieldsLength = 0x60};
  PUBLISHED(OrvaInfo_DumpBlkLED)(nullptr, 1);
  PUBLISHED(OrvaInfo_DumpBlkLED)(&buffer, 0);
  const std::string f = "OrvaInfo_DumpBlkLED: ";
  const std::string head = f + "OrvaInfo_DumpBlkLED start:\n" + f + "BlinkDuration:0x10\n" + f +
                           "BlinkTimeElapsed:0x20\n" + f + "BlinkSeekEnable:";
  const std::string tail = f + "\n" + f + "OffsetToEBSEArray:0x30\n" + f + "MaxPhysicalDevicesSupported:0x40\n" + f +
                           "TotalStructureLength:0x50\n" + f + "FixedFieldsLength:0x60\n";
  EXPECT_EQ(takeTrace(), head + tail);
  PUBLISHED(OrvaInfo_DumpBlkLED)(&buffer, 1);
  std::string array = f + "1f";
  for (int i = 1; i < 256; ++i) array += f + "0";
  EXPECT_EQ(takeTrace(), head + array + tail);
}

TEST_F(Services, CacheOfAVolumeIsItsBitAndNothingElse) {
  controller.volumes.insert(controller.volumes.begin() + 1, model::volume(10, {}));
  controller.volumes[1].members = {7};
  load();
  CtrlDevInfo* tenth = open("volume10");
  hostCalls.traceOn = true;
  EXPECT_EQ(plugin->cacheOff(tenth, error), 1);
  EXPECT_FALSE(host.state().front().volumes[1].volume.cacheOn);
  EXPECT_TRUE(host.state().front().volumes[0].volume.cacheOn);
  const auto commands = host.takeCommands();
  const auto& set = commands.back();
  EXPECT_EQ(set.record[18], 0xC0);
  ASSERT_EQ(set.data.size(), 512u);
  EXPECT_EQ(set.data[268], 0x04);
  std::string expected;
  for (const char* line : {"MaxLogicalUnitsSupported = 0x40", "fixedFieldsLength = 0x10b", "totalStructLength = 0x12b",
                           "Sizeof(vlexCacheConfiguration) = 0x10b", "offsetToECDU = 0x10b", "offsetToECF =0x113",
                           "offsetToERCDU = 0x11b", "offsetToEWCDU =0x123"}) {
    expected += std::string("OrvaInfo_CacheConfiguration: ") + line + "\n";
  }
  EXPECT_THAT(takeTrace(), EndsWith(expected));
  EXPECT_EQ(plugin->cacheOff(volume, error), 3);
  EXPECT_EQ(plugin->cacheOn(tenth, error), 1);
  EXPECT_TRUE(host.state().front().volumes[1].volume.cacheOn);
  EXPECT_FALSE(host.state().front().volumes[0].volume.cacheOn);
  std::vector<uint8_t> back = host.takeCommands().back().data;
  back[267] = 0;
  back[268] = 0x04;
  EXPECT_EQ(back, set.data) << "the whole buffer goes back otherwise unchanged";
}

TEST_F(Services, CacheOfADiskIsTheControllers) {
  warm();
  hostCalls.traceOn = true;
  EXPECT_EQ(plugin->cacheOn(disk, error), 1);
  EXPECT_TRUE(host.state().front().driveCacheOn);
  auto on = host.takeCommands();
  ASSERT_EQ(on.size(), 2u);
  EXPECT_EQ(on[0].record[18], 0x64);
  EXPECT_EQ(on[1].record[18], 0x63);
  EXPECT_THAT(takeTrace(), HasSubstr("OrvaInfo_CtrlParameter: driveConfigFlags = 0x40\n"));
  EXPECT_EQ(plugin->cacheOff(disk, error), 1);
  EXPECT_FALSE(host.state().front().driveCacheOn);
  auto off = host.takeCommands();
  on[1].data[125] ^= 1;
  EXPECT_EQ(on[1].data, off[1].data);
  takeTrace();
  EXPECT_EQ(plugin->cacheOn(external, error), -1);
  EXPECT_THAT(takeTrace(), HasSubstr("OrvaInfo_CacheControl: Physical Location: external.\n"));
  EXPECT_THAT(sent(), ElementsAre());
}

TEST_F(Services, CacheRefusesWithoutASetCommand) {
  const auto set = [](uint32_t offset, std::vector<uint8_t> bytes) {
    return simulator::FaultRule{
        .call = "senseCacheConfiguration", .action = FaultAction::set, .offset = offset, .bytes = std::move(bytes)};
  };
  struct Case {
    const char* name;
    simulator::FaultRule fault;
    uint32_t number;
    int32_t result;
    std::vector<int> commands;
  };
  const Case kCases[] = {
      {"sense fails",
       {.call = "senseCacheConfiguration", .action = FaultAction::driverStatus, .value = 9},
       0,
       9,
       {0xC1}},
      {"set fails", {.call = "setCacheConfiguration", .action = FaultAction::error, .value = 8}, 0, 8, {0xC1, 0xC0}},
      {"another limit", set(20, {0x41}), 0, -1, {0xC1}},
      {"drive number beyond the bitmap", {}, 64, -1, {0xC1}},
      {"last drive of the bitmap", {}, 63, 3, {0xC1, 0xC0}},
      {"never fits", set(9, {0xFF, 0xFF}), 0, -1, {0xC1, 0xC1}},
      {"one byte short, then refused by the controller", set(9, {0xE0, 0x01}), 0, -1, {0xC1, 0xC1}},
      {"no length to ask for", set(9, {0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 64, 0, 0xF9, 0xFF}), 0, -1, {0xC1}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    controller.volumes[0].number = c.number;
    controller.volumes[0].device = "volume0";
    load();
    warm();
    if (!c.fault.call.empty()) host.addFault(c.fault);
    EXPECT_EQ(plugin->cacheOff(volume, error), c.result);
    EXPECT_EQ(sent(), c.commands);
    EXPECT_EQ(error, "before");
  }
  load();
  warm();
  host.addFault({.call = "setControllerParameters", .action = FaultAction::driverStatus, .value = 5});
  EXPECT_EQ(plugin->cacheOn(disk, error), 5);
  host.addFault({.call = "senseControllerParameters", .action = FaultAction::driverStatus, .value = 6});
  (void)sent();
  EXPECT_EQ(plugin->cacheOn(disk, error), 6);
  EXPECT_THAT(sent(), ElementsAre(0x64));
}

TEST_F(Services, DumpShowsEveryDevice) {
  controller.drives = {model::drive(10), model::drive(2), model::drive(5, true)};
  controller.drives[2].serial = "  ";  // nothing is stored
  controller.drives[2].wwid = {1, 2, 3, 4, 5, 6, 7, 0xAB};
  controller.volumes[0].members = {2, 10};
  controller.volumes[0].logicalDriveId = 0xBEEF;
  controller.volumes[0].uniqueId[15] = 0xCD;
  controller.volumes[1].externalBoxId = 9;
  PUBLISHED(OrvaInfo_CleanupCtrls)();
  host.load(model::topology(controller));
  warm();
  hostCalls.traceOn = true;
  OrvaInfo& info = snapshot();
  EXPECT_EQ(PUBLISHED(OrvaInfo_DumpOrvaInfo)(&info), 0);
  const std::string f = "OrvaInfo_DumpOrvaInfo: ";
  const auto characters = [&](const std::string& text) {
    std::string writes;
    for (const char c : text) writes += f + c;
    return writes;
  };
  const auto identity = [&](int number, const std::string& serial, const std::string& id, const char* path) {
    char head[100];
    std::snprintf(head, sizeof(head), "%s%2d. %s%p  ", f.c_str(), number, f.c_str(),
                  static_cast<void*>(&info.devices[number - 1]));
    std::string bytes;
    for (size_t i = 0; i < id.size(); i += 2) bytes += f + id.substr(i, 2);
    return std::string(head) + f + "Serial No[" + std::to_string(serial.size()) + "]: " + characters(serial) + f +
           "\nDevice ID[" + std::to_string(id.size() / 2) + "]: " + bytes + f + "\nPath: " + path + "\n";
  };
  const auto volumeLines = [&](const char* uuid, const char* id, const char* level, const char* lun) {
    return f + " UUID: " + uuid + " " + f + " Logical Drive ID: " + id + "\n" + f + " RAID mode : \n" + f +
           " RAID level : " + level + "\n" + f + " LunID: " + lun + "\n";
  };
  const auto driveLines = [&](const char* wwid, const char* place) {
    return f + " WWID: " + wwid + " " + f + "Port:Box:Bay " + place + "\n" + f +
           "\tCurrentTemperature: 30 MaximumTemperature: 60\n";
  };
  const std::string l = "OrvaInfo_GetPhyLocationForVolume: ";
  const std::string t = "OrvaInfo_GetPhyDiskTempForVolume: ";
  const std::string pair = t + "\tCurrentTemperature: 30 " + t + "\tMaximumTemperature: 60\n";
  const auto serial = [](const std::string& text) { return text + std::string(40 - text.size(), ' '); };
  EXPECT_EQ(takeTrace(),
            f + "------------Dumping Orva Info:\n" + f + "Slot = 0, primarySlotNumber = 0\n" + f +
                "MaxPhysDevicesSupported: 256\n" + f + "Total disks : 5\n" + identity(1, "", "", "C1:T0:L0") +
                volumeLines("000000000000000000000000000000cd", "0xbeef", "0x5", "0") + f + " Physical Disks: 2\n" + l +
                "Pdisk count: 2\n" + l + "\tport:box:bay 1I:1:10\n" + l + "\tport:box:bay 1I:1:2\n" + pair + pair +
                identity(2, "", "", "C3:T0:L1") + volumeLines("00000000000000000000000000000000", "0x0", "0x5", "1") +
                f + " ExternalBoxId: 9\n" + identity(3, serial("S10"), "0000000000000000010a000000000000", "C0:T0:L0") +
                driveLines("0000000000000000", "1I:1:10") +
                identity(4, serial("S2"), "00000000000000000102000000000000", "C0:T0:L0") +
                driveLines("0000000000000000", "1I:1:2") +
                identity(5, "", "01020304050607ab0105000000000000", "C0:T69:L0") +
                driveLines("01020304050607ab", "1I:1:5"));

  const uint8_t bytes[10] = {0x0A};
  PUBLISHED(OrvaInfo_DumpArray)(bytes, 10);
  PUBLISHED(OrvaInfo_DumpArray)(nullptr, 10);
  PUBLISHED(OrvaInfo_DumpArray)(bytes, 0);
  const std::string a = "OrvaInfo_DumpArray: ";
  std::string rows = a + "0a";
  for (int i = 1; i < 10; ++i) rows += a + "00" + (i == 7 ? a + "\n" : "");
  EXPECT_EQ(takeTrace(), rows);
}

TEST_F(Services, EveryOperationEndsWellWhenMemoryRunsOut) {
  const int points = failEachAllocation([&](int, bool) {
    PUBLISHED(OrvaInfo_CleanupCtrls)();
    callAll(*plugin, volume, error);
    callAll(*plugin, disk, error);
    EXPECT_EQ(pthread_mutex_trylock(&published<pthread_mutex_t>("pluginMutex")), 0);
    pthread_mutex_unlock(&published<pthread_mutex_t>("pluginMutex"));
  });
  EXPECT_GE(points, kNewCanFail ? 100 : 30);
  EXPECT_EQ(callAll(*plugin, volume, error), (std::vector<int32_t>{0, 3, 3, 3, 3, 3}));
}

}  // namespace
