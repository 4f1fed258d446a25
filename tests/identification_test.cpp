// What is read of a controller, of a volume and of a drive.
#include <cstring>

#include "controller/logical_drive.h"
#include "controller/physical_drive.h"
#include "tests/discovery_fixture.h"

namespace {

using simulator::FaultAction;
using testing::ElementsAre;
using testing::EndsWith;

class Identification : public Discovery {};

TEST_F(Identification, IdentifiesTheController) {
  hostCalls.traceOn = true;
  const auto identify = [&] { return PUBLISHED(OrvaInfo_GetInfoFromCtrl)(info.get()); };
  const auto reply = [&](uint32_t offset, const std::vector<uint8_t>& bytes) {
    host.addFault({.call = "identifyController", .action = FaultAction::set, .offset = offset, .bytes = bytes});
  };
  reply(0, {3});
  reply(152, {0x40, 0x01, 0x2C, 0x01, 0x00, 0x04, 0x11, 0x22, 0, 0, 0x00, 0x01});
  info->ctrlFlags = 0x80;
  EXPECT_EQ(identify(), 0);
  EXPECT_EQ(info->configuredLogicalDrives, 3);
  EXPECT_EQ(info->maxLogicalDrivesSupported, 0x140);
  EXPECT_EQ(info->maxPhysDevicesSupported, 0x400);
  EXPECT_EQ(info->maxPhysDrivesPerLogicalUnit, 0x2211);
  EXPECT_EQ(info->ctrlFlags, 0x82);
  reply(0, {0xFF});
  reply(162, {0, 0});
  EXPECT_EQ(identify(), 0);
  EXPECT_EQ(info->configuredLogicalDrives, 300);
  EXPECT_EQ(info->ctrlFlags, 0x80);
  EXPECT_EQ(takeTrace(),
            "OrvaInfo_GetInfoFromCtrl: Local(configured logical drives)s: 0x3\n"
            "OrvaInfo_GetInfoFromCtrl: Local(configured logical drives)s: 0x12c\n");

  const OrvaInfo before = *info;
  PUBLISHED(OrvaInfo_Cleanup)();
  EXPECT_EQ(identify(), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetInfoFromCtrl)(nullptr), -1);
  EXPECT_EQ(std::memcmp(&before, info.get(), sizeof(before)), 0);
  EXPECT_EQ(takeTrace(), "OrvaInfo_GetInfoFromCtrl: Uninitialized.\n");
}

TEST_F(Identification, DriveIndexComesFromBusAndTarget) {
  const std::pair<vlexCmdLunAddress, uint32_t> kAddresses[] = {{{{0, 0, 0, 0xC0, 0, 0, 5, 1}}, 5},
                                                               {{{0, 0, 0, 0, 0, 0, 0, 2}}, 256},
                                                               {{{9, 9, 9, 0x80, 9, 9, 5, 0x41}}, 5},
                                                               {{{0, 0, 0, 0xC0, 0, 0, 255, 0x3F}}, 62 * 256 + 255},
                                                               {{{0, 0, 0, 0xC0, 0, 0, 7, 0xC0}}, 0xFFFFFF07},
                                                               {{{0, 0, 0, 0x40, 0, 0, 5, 1}}, 0xFFFFFFFF}};
  for (const auto& [address, index] : kAddresses) EXPECT_EQ(PUBLISHED(OrvaInfo_GetBMICDeviceIndex)(&address), index);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetBMICDeviceIndex)(nullptr), 0xFFFFFFFF);
}

TEST_F(Identification, TrimsSerialNumbers) {
  struct Case {
    std::string field;
    const char* stored;  ///< null: nothing
  };
  const std::string forty(40, 'x');
  const std::string sixtyThree(63, 'y');
  const Case kCases[] = {{std::string("   ABC    \0\0\0", 13), "ABC    "},
                         {forty, forty.c_str()},
                         {sixtyThree + "zz", sixtyThree.c_str()},
                         {"A\x01 B\x7f\xff", "A\x01 B"},
                         {" \x01"
                          "A",
                          "\x01"
                          "A"},
                         {"      ", nullptr},
                         {std::string("\0\x1f\x7f", 3), nullptr},
                         {std::string("  \0\0", 4), nullptr},
                         {"", nullptr}};
  for (const Case& c : kCases) {
    OrvaInfo_Devices entry = {};
    entry.serialNoLength = 99;
    std::vector<unsigned char> field(c.field.begin(), c.field.end());
    const int result = PUBLISHED(OrvaInfo_ParseSerialNo)(field.data(), static_cast<uint8_t>(field.size()), &entry);
    EXPECT_EQ(result, c.stored == nullptr ? -1 : 0) << c.field;
    EXPECT_STREQ(entry.serialNo, c.stored == nullptr ? "" : c.stored);
    EXPECT_EQ(entry.serialNoLength, c.stored == nullptr ? 99 : std::strlen(c.stored));
  }
}

TEST_F(Identification, IdentifiesAPhysicalDrive) {
  hostCalls.traceOn = true;
  std::vector<uint8_t> reply(2560, 'z');
  const auto put = [&](size_t offset, const std::string& bytes) {
    std::copy(bytes.begin(), bytes.end(), &reply[offset]);
  };
  put(52, std::string("  SN-1") + std::string(34, '\0'));
  put(114, "\x02\x0b");
  put(1772, "INQUIRY-RESPONSE-20-");
  put(1792, "\x29");
  put(1794, "\x3c");
  put(1798, "SWITCH-10-");
  put(1951, "PORTNAME" + std::string(56, 'c'));
  put(2015, "0123456789abcdef");
  put(2543, "BOXNAME8");
  host.addFault({.call = "identifyPhysicalDevice", .action = FaultAction::set, .bytes = reply});
  OrvaInfo_Devices entry = {};
  entry.lunAddress = {{0, 0, 0, 0xC0, 0, 0, 0, 1}};
  EXPECT_EQ(PUBLISHED(OrvaInfo_IdentifyPhysicalDevice)(info.get(), &entry), 0);
  OrvaInfo_Devices expected = {};
  expected.lunAddress = entry.lunAddress;
  std::strcpy(expected.serialNo, "SN-1");
  expected.serialNoLength = 4;
  std::memcpy(expected.deviceId, "0123456789abcdef", 16);
  expected.deviceIdLength = 16;
  std::memcpy(expected.portName, "PORTNAME", 8);
  expected.box = 2;
  expected.bay = 11;
  expected.currentTemperature = 41;
  expected.maximumTemperature = 60;
  EXPECT_EQ(std::memcmp(&entry, &expected, sizeof(entry)), 0);
  const std::string function = "OrvaInfo_IdentifyPhysicalDevieWithBMICInex: ";
  EXPECT_EQ(takeTrace(), function + "BoxConnectorName: BOXNAME8\n" + function + "ConnectorName: PORTNAME" +
                             std::string(56, 'c') + "\n" + function + "Switch name: SWITCH-10-\n" + function +
                             "UniqueInquiryResponse: INQUIRY-RESPONSE-20-\n");
}

TEST_F(Identification, IdentifiesALogicalDrive) {
  simulator::Controller controller = model::controller();
  for (uint32_t i = 0; i < 3; ++i) controller.drives.push_back(model::drive(i));
  controller.volumes = {model::volume(0x102, {0, 1, 2})};
  load(model::topology(controller));
  hostCalls.traceOn = true;
  host.addFault(
      {.call = "identifyLogicalDevice", .action = FaultAction::set, .offset = 23, .bytes = {7, 0, 0, 4, 3, 2, 1}});
  host.addFault({.call = "identifyLogicalDevice",
                 .action = FaultAction::set,
                 .offset = 30,
                 .bytes = std::vector<uint8_t>(482, 'l')});
  OrvaInfo_Devices entry = {};
  entry.lunAddress = {{0x02, 0x01, 0, 0x40, 0, 0, 0, 0}};
  EXPECT_EQ(PUBLISHED(OrvaInfo_IdentifyLogicalDevice)(info.get(), &entry), 0);
  EXPECT_EQ(entry.box, 7);
  EXPECT_EQ(entry.logicalDriveId, 0x01020304u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(entry.uuid), 16), std::string(16, 'l'));
  std::string hex;
  for (int i = 0; i < 16; ++i) hex += "6c";
  EXPECT_EQ(takeTrace(), "OrvaInfo_IdentifyLogicalDevice: LocialDriveLabel: " + std::string(482, 'l') + "\n" +
                             "OrvaInfo_IdentifyLogicalDevice: UniqueVolumeId : " + hex + "\n" +
                             "OrvaInfo_IdentifyLogicalDevice: LogicalDriveId: 0x1020304\n");
  const auto commands = host.takeCommands();
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(commands[0].record[12 + 1], 0x02);
  EXPECT_EQ(commands[0].record[12 + 9], 0x01);
}

TEST_F(Identification, RaidLevelFollowsFaultToleranceAndMembers) {
  const std::tuple<int, int, int> kLevels[] = {{0, 4, 0}, {1, 4, 4}, {2, 2, 1}, {2, 3, 64},  {2, 4, 64},
                                               {3, 4, 5}, {4, 4, 5}, {5, 4, 6}, {6, 4, 255}, {0xFFFF, 4, 255}};
  for (const auto& [tolerance, members, level] : kLevels) {
    vlexSenseConfiguration reply = {};
    reply.faultTolerance = static_cast<uint16_t>(tolerance);
    reply.LogicalUnitPhysicalDriveCount = static_cast<uint16_t>(members);
    EXPECT_EQ(PUBLISHED(OrvaInfo_RAIDLevel)(&reply), level) << tolerance;
  }
}

TEST_F(Identification, SenseTracesTheReplyAndStoresTheMap) {
  simulator::Controller controller = model::controller();
  for (const uint32_t i : {0u, 9u, 255u}) controller.drives.push_back(model::drive(i));
  controller.volumes = {model::volume(3, {0, 9, 255})};
  load(model::topology(controller));
  hostCalls.traceOn = true;
  host.addFault({.call = "senseConfiguration",
                 .action = FaultAction::set,
                 .offset = 252,
                 .bytes = {0x22, 0x11, 0, 0, 0x78, 0x56, 0x34, 0x12}});
  host.addFault({.call = "senseConfiguration", .action = FaultAction::set, .offset = 264, .bytes = {4, 3, 2, 1}});
  host.addFault({.call = "senseConfiguration", .action = FaultAction::set, .offset = 8, .bytes = {0x99, 0, 3, 1}});
  OrvaInfo_Devices entry = {};
  entry.lunAddress = {{3, 0, 0, 0x40, 0, 0, 0, 0}};
  const auto sense = [&] { return PUBLISHED(OrvaInfo_SenseConfiguration)(info.get(), &entry); };
  EXPECT_EQ(sense(), 0);
  std::string expected;
  for (const char* line :
       {"LogicalUnitPhysicalDriveCount = 0x103", "ControllerPhysicalDriveCount = 0x99",
        "MaxPhysicalDrivesPerLogicalUnit = 0x80", "MaxPhysicalDevicesSupported = 0x100",
        "FixedFiledsLength = 0x1020304", "Sizeof(vlexSenseConfiguration) = 0x12c", "OffsetToEDABitmap = 0x12c",
        "OffsetToESABitmap =0x1122", "TotalStructureLength = 0x12345678", "Raid Map is ready."}) {
    expected += std::string("OrvaInfo_SenseConfiguration: ") + line + "\n";
  }
  EXPECT_EQ(takeTrace(), expected);
  EXPECT_EQ(entry.physicalDisks, 3) << "the low 8 bits of the count";
  ASSERT_NE(entry.raidMap, nullptr);
  std::vector<uint32_t> members;
  for (uint32_t n = 0; n < 256; ++n) {
    if ((entry.raidMap[n / 8] >> n % 8 & 1) != 0) members.push_back(n);
  }
  EXPECT_THAT(members, ElementsAre(0, 9, 255));
  EXPECT_EQ(sense(), 0) << "again: the old map is released";

  for (const uint32_t offset : {260u, 262u}) {
    host.addFault(
        {.call = "senseConfiguration", .count = 1, .action = FaultAction::set, .offset = offset, .bytes = {1}});
    EXPECT_EQ(sense(), 0);
    EXPECT_NE(entry.raidMap, nullptr) << "left as it was";
    EXPECT_THAT(takeTrace(), EndsWith("Error: inconsistent MaxPhysDrivesPerLogicalUnit or supported.\n"));
  }
  std::free(entry.raidMap);
  entry.lunAddress.bytes[3] = 0;
  (void)host.takeCommands();
  EXPECT_EQ(sense(), -1);
  EXPECT_THAT(sentOpcodes(), ElementsAre());
}

}  // namespace
