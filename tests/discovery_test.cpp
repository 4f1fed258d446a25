// What a rebuild makes of the controller's replies, good and bad, command by command.
#include <cstring>

#include "channel/management_channel.h"
#include "controller/controller_identification.h"
#include "controller/device_scan.h"
#include "controller/host_address.h"
#include "controller/logical_drive.h"
#include "controller/physical_drive.h"
#include "controller/snapshot_cache.h"
#include "tests/host_process.h"
#include "tests/model.h"

namespace {

using simulator::FaultAction;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class Discovery : public PluginTest {
 protected:
  Discovery() { PUBLISHED(OrvaInfo_Init)(); }
  ~Discovery() override {
    PUBLISHED(OrvaInfo_ClearOrvaInfo)(info.get());
    PUBLISHED(OrvaInfo_Cleanup)();
  }

  /// Loads a model and identifies its controller.
  void load(const simulator::Topology& topology) {
    host.load(topology);
    ASSERT_EQ(PUBLISHED(OrvaInfo_GetInfoFromCtrl)(info.get()), 0);
    (void)host.takeCommands();
  }

  /// Loads a model, identifies its controller and scans it.
  void scan(const simulator::Topology& topology) {
    load(topology);
    EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), 0);
  }

  std::vector<int> sentOpcodes() {
    std::vector<int> opcodes;
    for (const simulator::SentCommand& command : host.takeCommands()) {
      const uint8_t* cdb = command.record.data() + 12;
      opcodes.push_back(cdb[0] >= 0xC0 ? cdb[0] : cdb[6]);
    }
    return opcodes;
  }

  std::unique_ptr<OrvaInfo> info = std::make_unique<OrvaInfo>();
};

TEST_F(Discovery, IdentifiesTheController) {
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
  host.addFault({.call = "identifyController", .action = FaultAction::driverStatus, .value = 9});
  EXPECT_EQ(identify(), 9);
  hostCalls.failAllocation = hostCounts.allocations + 1;
  EXPECT_EQ(identify(), -1);
  PUBLISHED(OrvaInfo_Cleanup)();
  EXPECT_EQ(identify(), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetInfoFromCtrl)(nullptr), -1);
  EXPECT_EQ(std::memcmp(&before, info.get(), sizeof(before)), 0);
  EXPECT_THAT(takeTrace(), EndsWith("OrvaInfo_GetInfoFromCtrl: Failed to exec identify controller.\n"
                                    "OrvaInfo_GetInfoFromCtrl: Failed to allocated memory.\n"
                                    "OrvaInfo_GetInfoFromCtrl: Uninitialized.\n"));
}

TEST_F(Discovery, DriveIndexComesFromBusAndTarget) {
  const std::pair<vlexCmdLunAddress, uint32_t> kAddresses[] = {{{{0, 0, 0, 0xC0, 0, 0, 5, 1}}, 5},
                                                               {{{0, 0, 0, 0, 0, 0, 0, 2}}, 256},
                                                               {{{9, 9, 9, 0x80, 9, 9, 5, 0x41}}, 5},
                                                               {{{0, 0, 0, 0xC0, 0, 0, 255, 0x3F}}, 62 * 256 + 255},
                                                               {{{0, 0, 0, 0xC0, 0, 0, 7, 0xC0}}, 0xFFFFFF07},
                                                               {{{0, 0, 0, 0x40, 0, 0, 5, 1}}, 0xFFFFFFFF}};
  for (const auto& [address, index] : kAddresses) EXPECT_EQ(PUBLISHED(OrvaInfo_GetBMICDeviceIndex)(&address), index);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetBMICDeviceIndex)(nullptr), 0xFFFFFFFF);
}

TEST_F(Discovery, TrimsSerialNumbers) {
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

TEST_F(Discovery, IdentifiesAPhysicalDrive) {
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

  host.addFault({.call = "identifyPhysicalDevice", .action = FaultAction::driverStatus, .value = 6});
  EXPECT_EQ(PUBLISHED(OrvaInfo_IdentifyPhysicalDevieWithBMICInex)(info.get(), &entry, 0), 6);
  EXPECT_EQ(std::memcmp(&entry, &expected, sizeof(entry)), 0);
}

TEST_F(Discovery, IdentifiesALogicalDrive) {
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

TEST_F(Discovery, RaidLevelFollowsFaultToleranceAndMembers) {
  const std::tuple<int, int, int> kLevels[] = {{0, 4, 0}, {1, 4, 4}, {2, 2, 1}, {2, 3, 64},  {2, 4, 64},
                                               {3, 4, 5}, {4, 4, 5}, {5, 4, 6}, {6, 4, 255}, {0xFFFF, 4, 255}};
  for (const auto& [tolerance, members, level] : kLevels) {
    vlexSenseConfiguration reply = {};
    reply.faultTolerance = static_cast<uint16_t>(tolerance);
    reply.LogicalUnitPhysicalDriveCount = static_cast<uint16_t>(members);
    EXPECT_EQ(PUBLISHED(OrvaInfo_RAIDLevel)(&reply), level) << tolerance;
  }
}

/// One pair of replies to sense logical drive configuration: where the bitmap is said to be, and what comes of it.
struct SenseCase {
  const char* name;
  uint16_t maxDevices;
  uint16_t offset;
  std::vector<uint32_t> lengths;  ///< of the commands
  bool map;
  const char* lastTrace;
};

const SenseCase kSenseCases[] = {
    {"fits at once", 1024, 300, {1024}, true, "Raid Map is ready.\n"},
    {"just fits", 256, 479, {512}, true, "Raid Map is ready.\n"},
    {"one byte short", 256, 480, {512, 544}, true, "Raid Map is ready.\n"},
    {"never grows", 3, 512, {512, 512}, false, "TotalStructureLength = 0x0\n"},
    {"largest second length", 256, 65471, {512, 65535}, true, "Raid Map is ready.\n"},
    {"too long to ask for",
     256,
     65472,
     {512},
     false,
     "Error: inconsistent MaxPhysDrivesPerLogicalUnit or supported.\n"},
};

TEST_F(Discovery, AsksOnceMoreWhenTheMemberMapDoesNotFit) {
  for (const SenseCase& c : kSenseCases) {
    SCOPED_TRACE(c.name);
    simulator::Controller controller = model::controller();
    controller.maxPhysDevicesSupported = c.maxDevices;
    controller.drives = {model::drive(0)};
    controller.volumes = {model::volume(0, {0})};
    load(model::topology(controller));
    const auto low = [](uint16_t value) { return static_cast<uint8_t>(value); };
    const auto high = [](uint16_t value) { return static_cast<uint8_t>(value >> 8); };
    host.addFault({.call = "senseConfiguration",
                   .action = FaultAction::set,
                   .offset = 250,
                   .bytes = {low(c.offset), high(c.offset), 0, 0, 0, 0, 0, 0, 0, 0}});
    hostCalls.traceOn = true;
    OrvaInfo_Devices entry = {};
    entry.lunAddress = {{0, 0, 0, 0x40, 0, 0, 0, 0}};
    EXPECT_EQ(PUBLISHED(OrvaInfo_SenseConfiguration)(info.get(), &entry), 0);
    EXPECT_EQ(entry.physicalDisks, 1);
    EXPECT_EQ(entry.raidLevel, 5u);
    EXPECT_EQ(entry.raidMap != nullptr, c.map);
    EXPECT_THAT(takeTrace(), EndsWith(std::string("OrvaInfo_SenseConfiguration: ") + c.lastTrace));
    std::vector<uint32_t> lengths;
    for (const auto& command : host.takeCommands()) lengths.push_back(command.record[76] + 256U * command.record[77]);
    EXPECT_EQ(lengths, c.lengths);
    std::free(entry.raidMap);
    host.clearFaults();
    hostCalls.traceOn = false;
  }
}

TEST_F(Discovery, SenseTracesTheReplyAndStoresTheMap) {
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
  hostCalls.failAllocation = hostCounts.allocations + 2;
  EXPECT_EQ(sense(), 0) << "no memory for the map";
  EXPECT_EQ(entry.raidMap, nullptr);
  EXPECT_THAT(takeTrace(), EndsWith("OrvaInfo_SenseConfiguration: Failed to allocate memory.\n"));
  entry.lunAddress.bytes[3] = 0;
  (void)host.takeCommands();
  EXPECT_EQ(sense(), -1);
  EXPECT_THAT(sentOpcodes(), ElementsAre());
}

TEST_F(Discovery, ListsVolumesThenDrivesWithTheirHostAddresses) {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(2, true), model::drive(300 - 256), model::drive(5)};
  controller.drives[2].deviceType = 5;
  controller.drives.push_back(model::drive(6));
  controller.drives[3].deviceType = 4;
  controller.drives[3].wwid = {1, 2, 3, 4, 5, 6, 7, 8};
  controller.volumes = {model::volume(5, {44}), model::volume(0x3FFFFFFF, {6})};
  controller.volumes[1].external = true;
  scan(model::topology(controller));
  EXPECT_THAT(sentOpcodes(), ElementsAre(0xC2, 0xC2, 0x10, 0x50, 0x10, 0x50, 0xC3, 0xC3, 0x15, 0x15, 0x15));
  struct Expected {
    uint8_t kind, external;
    uint32_t channel, target, lun;
    const char* serial;
  };
  const Expected kExpected[] = {{1, 0, 1, 5, 0, ""},
                                {1, 1, 3, 0x3FFF, 0xFF, ""},
                                {0, 0, 0, 66, 0, "S2"},
                                {3, 0, 0, 0, 0, "S44"},
                                {3, 0, 0, 0, 0, "S6"}};
  ASSERT_EQ(info->deviceCount, 5);
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    const OrvaInfo_Devices& device = info->devices[i];
    EXPECT_EQ(device.lunAddress.bytes[3] >> 6, kExpected[i].kind);
    EXPECT_EQ(device.external, kExpected[i].external);
    EXPECT_EQ(device.channel, kExpected[i].channel);
    EXPECT_EQ(device.target, kExpected[i].target);
    EXPECT_EQ(device.lun, kExpected[i].lun);
    EXPECT_EQ(std::string(device.serialNo).substr(0, std::strcspn(device.serialNo, " ")), kExpected[i].serial);
  }
  EXPECT_THAT(info->devices[4].wwid, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8)) << "nothing is left of the rejected drive";
}

TEST_F(Discovery, OemBuildsNumberLocalVolumesByLun) {
  hostCalls.moduleLoader = nullptr;
  simulator::Controller controller = model::controller();
  controller.volumes = {model::volume(0x7FFF, {}), model::volume(6, {})};
  controller.volumes[1].external = true;
  simulator::Topology topology = model::topology(controller);
  topology.oemDriver = true;
  scan(topology);
  ASSERT_EQ(info->deviceCount, 2);
  EXPECT_EQ(info->devices[0].channel, 1u);
  EXPECT_EQ(info->devices[0].target, 0u);
  EXPECT_EQ(info->devices[0].lun, 0x4000u);
  EXPECT_EQ(info->devices[1].channel, 3u);
  EXPECT_EQ(host.counts().load, 1u) << "once for each local volume";
}

TEST_F(Discovery, ReportsOfTheOtherFormatCarryNoDeviceType) {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(1)};
  controller.drives[0].deviceType = 13;
  controller.drives[0].wwid[0] = 1;
  host.load(model::topology(controller));
  host.addFault({.call = "reportPhysicalLuns", .action = FaultAction::set, .offset = 4, .bytes = {0}});
  PUBLISHED(OrvaInfo_DeviceScan)(info.get());
  ASSERT_EQ(info->deviceCount, 1);
  EXPECT_EQ(info->devices[0].wwid[0], 0);
}

/// A report that lies or fails: what is set into its replies from which match on, and what the scan makes of it.
struct ReportFault {
  const char* name;
  simulator::FaultRule rule;
  int32_t devices;
  const char* trace;
};

TEST_F(Discovery, ReportsThatFailOrLieCostNoMoreThanTheirDevices) {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(0), model::drive(1)};
  controller.volumes = {model::volume(0, {0}), model::volume(1, {1})};
  const auto set = [](const char* call, uint32_t from, std::vector<uint8_t> length) {
    return simulator::FaultRule{.call = call, .from = from, .count = 1, .action = FaultAction::set, .bytes = length};
  };
  const auto fail = [](const char* call, uint32_t from) {
    return simulator::FaultRule{.call = call, .from = from, .action = FaultAction::driverStatus, .value = 1};
  };
  const std::string logical = "OrvaInfo_UpdateScsiDevListLogical: ";
  const std::string physical = "OrvaInfo_UpdateScsiDevListPhysical: ";
  const ReportFault kFaults[] = {
      {"logical header fails", fail("reportLogicalLuns", 1), 2,
       "To scan logical device.\nOrvaInfo_ExeCmd: Failed to execute command, error returned from driver, "
       "0x1.\nOrvaInfo_DeviceScan: To scan physical device.\n"},
      {"logical report fails", fail("reportLogicalLuns", 2), 2, "Failed to execute Report Logical Lun.\n"},
      {"physical header fails", fail("reportPhysicalLuns", 1), 2, "error returned from driver, 0x1.\n"},
      {"physical report fails", fail("reportPhysicalLuns", 2), 2, "Failed to execute Reprot Physical LUN.\n"},
      {"logical list overflows", set("reportLogicalLuns", 1, {0x7F, 0xFF, 0xFF, 0xF8}), 0,
       "Logical list length 0x7ffffff8\nOrvaInfo_DeviceScan: Faied to allocated memory.\n"},
      {"physical list overflows", set("reportPhysicalLuns", 1, {0xFF, 0xFF, 0xFF, 0xFF}), 2,
       "Physical list length 0xffffffff\nOrvaInfo_DeviceScan: Faied to allocated memory.\n"},
      {"logical list empty", set("reportLogicalLuns", 2, {0, 0, 0, 7}), 2,
       "Length : 7, sizeof(vlexLogicalLunList): 8\nOrvaInfo_UpdateScsiDevListLogical: Logical LUNs detected: 0, 00 00 "
       "00 07 \n"},
      {"logical list grew", set("reportLogicalLuns", 2, {0, 1, 2, 3}), 4,
       "Logical LUN report returned length is greater than first inquiry: 0x10203. Use that (0x10) "
       "instead.\nOrvaInfo_UpdateScsiDevListLogical: Logical LUNs detected: 2, 00 01 02 03 \n"},
      {"physical list grew", set("reportPhysicalLuns", 2, {0, 0, 1, 0}), 4,
       "Phy LUN report returned length is greater than first report: 0x100. Use that (0x30) "
       "instead.\nOrvaInfo_UpdateScsiDevListPhysical: Physical LUNs detected: 2\n"},
      {"physical list ends in an entry", set("reportPhysicalLuns", 2, {0, 0, 0, 47}), 3, "Physical LUNs detected: 1\n"},
      {"physical reply is empty",
       {.call = "reportPhysicalLuns", .from = 2, .action = FaultAction::length, .value = 0},
       2,
       "Physical LUNs detected: 0\n"},
      {"volume fails", fail("identifyLogicalDevice", 1), 4, "Raid Map is ready.\n"},
      {"sense fails", fail("senseConfiguration", 1), 4, "LogicalDriveId"},
      {"drive fails", fail("identifyPhysicalDevice", 1), 4, "error returned from driver, 0x1.\n"},
      {"device type",
       set("reportPhysicalLuns", 2, {0, 0, 0, 48, 2, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 5}), 3,
       "Failed to add physical lun 0\n"},
      {"volume in the physical report", set("reportPhysicalLuns", 2, {0, 0, 0, 48, 2, 0, 0, 0, 1, 0, 0, 0x40}), 4,
       "Raid Map is ready.\n"},
  };
  hostCalls.traceOn = true;
  for (const ReportFault& fault : kFaults) {
    SCOPED_TRACE(fault.name);
    PUBLISHED(OrvaInfo_ClearOrvaInfo)(info.get());
    host.clearFaults();
    load(model::topology(controller));
    host.addFault(fault.rule);
    takeTrace();
    EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), 0);
    EXPECT_EQ(info->deviceCount, fault.devices);
    EXPECT_THAT(takeTrace(), HasSubstr(fault.trace));
    EXPECT_EQ(host.faults().front().hits > 0, true);
  }
}

TEST_F(Discovery, AFullListKeepsTheVolumesAndTheFirstDrives) {
  simulator::Controller controller = model::controller();
  controller.maxPhysDevicesSupported = 2048;
  for (uint32_t i = 0; i < 1100; ++i) controller.drives.push_back(model::drive(i));
  for (uint32_t i = 0; i < 20; ++i) controller.volumes.push_back(model::volume(i, {i}));
  scan(model::topology(controller));
  ASSERT_EQ(info->deviceCount, 1088);
  EXPECT_EQ(info->devices[19].lunAddress.bytes[3], 0x40);
  EXPECT_THAT(info->devices[20].serialNo, testing::StartsWith("S0 "));
  EXPECT_THAT(info->devices[1087].serialNo, testing::StartsWith("S1067 "));
  EXPECT_TRUE(PUBLISHED(OrvaInfo_DevListIsFull)(info.get()));
  EXPECT_TRUE(PUBLISHED(OrvaInfo_DevListIsFull)(nullptr));
  EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), 0) << "a scan of a full list adds nothing";
  EXPECT_EQ(info->deviceCount, 1088);
}

TEST_F(Discovery, ScanEndsWhenMemoryRunsOut) {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(0), model::drive(1, true)};
  controller.volumes = {model::volume(0, {0})};
  load(model::topology(controller));
  const int points = failEachAllocation([&](int n, bool) {
    PUBLISHED(OrvaInfo_ClearOrvaInfo)(info.get());
    info->maxPhysDevicesSupported = 256;
    info->maxPhysDrivesPerLogicalUnit = 128;
    EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), 0);
    if (n == 1) {
      EXPECT_EQ(info->deviceCount, 0) << "no logical report, no scan of drives";
    }
  });
  EXPECT_GE(points, 8) << "two reports, identify, sense and its map, two drives";
}

TEST_F(Discovery, NullArgumentsAndAClosedChannelAreRefused) {
  vlexLogicalLUNReport logical = {};
  vlexPhysicalLUNReportExt physical = {};
  vlexCmdLunAddress address = {};
  OrvaInfo_Devices entry = {};
  EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(nullptr), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(nullptr, info.get(), 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(&logical, nullptr, 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(nullptr, info.get(), 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(&physical, nullptr, 8), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(nullptr, 0, 0, &entry, info.get()), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&address, 0, 0, nullptr, info.get()), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&address, 0, 0, &entry, nullptr), -1);
  PUBLISHED(OrvaInfo_SetBTL)(nullptr);
  PUBLISHED(OrvaInfo_Cleanup)();
  hostCalls.traceOn = true;
  EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(info.get()), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_IdentifyLogicalDevice)(info.get(), &entry), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseConfiguration)(info.get(), &entry), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_IdentifyPhysicalDevice)(info.get(), &entry), -1);
  EXPECT_EQ(takeTrace(),
            "OrvaInfo_DeviceScan: Uninitialized.\nOrvaInfo_IdentifyLogicalDevice: Uninitialized.\n"
            "OrvaInfo_SenseConfiguration: Uninitialized.\n"
            "OrvaInfo_IdentifyPhysicalDevieWithBMICInex: Uninitialized.\n");
}

}  // namespace
