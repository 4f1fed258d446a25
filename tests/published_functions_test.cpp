// What the published functions answer when one of them is called by itself: with nulls, without a channel, without
// memory, with a driver that refuses; traced and not.
#include <cstring>

#include "channel/command.h"
#include "channel/instance_query.h"
#include "channel/management_channel.h"
#include "controller/controller_identification.h"
#include "controller/device_scan.h"
#include "controller/host_address.h"
#include "controller/logical_drive.h"
#include "controller/physical_drive.h"
#include "diagnostics/snapshot_dump.h"
#include "services/device_information.h"
#include "services/drive_temperature.h"
#include "services/locator_led.h"
#include "services/physical_location.h"
#include "services/write_cache.h"
#include "tests/services_fixture.h"

namespace {

using testing::AnyOf;

constexpr int kStatus = 7;  // of the driver

/// A function that sends commands, and its answer when the driver refuses them.
struct Sender {
  std::string name;
  std::function<int(OrvaInfo*, OrvaInfo_Devices*)> call;
  int whenRefused = kStatus;
  int withoutMemory = -1;
  bool takesDevice = true;
};

class PublishedFunctions : public Services {
 protected:
  PublishedFunctions() { drive_ = snapshot().devices[2]; }
  ~PublishedFunctions() override { PUBLISHED(OrvaInfo_Cleanup)(); }

  std::vector<Sender> senders() {
    return {
        {"OrvaInfo_GetInfoFromCtrl", [&](auto* i, auto*) { return PUBLISHED(OrvaInfo_GetInfoFromCtrl)(i); }, kStatus,
         -1, false},
        {"OrvaInfo_DeviceScan", [&](auto* i, auto*) { return PUBLISHED(OrvaInfo_DeviceScan)(i); }, 0, 0, false},
        {"OrvaInfo_IdentifyLogicalDevice",
         [&](auto* i, auto* v) { return PUBLISHED(OrvaInfo_IdentifyLogicalDevice)(i, v); }},
        {"OrvaInfo_SenseConfiguration", [&](auto* i, auto* v) { return PUBLISHED(OrvaInfo_SenseConfiguration)(i, v); }},
        {"OrvaInfo_IdentifyPhysicalDevieWithBMICInex",
         [&](auto* i, auto* v) { return PUBLISHED(OrvaInfo_IdentifyPhysicalDevice)(i, v ? &drive_ : v); }},
        {"OrvaInfo_SenseBlinkDriveLED",
         [&](auto* i, auto*) { return PUBLISHED(OrvaInfo_SenseBlinkDriveLED)(i, nullptr, -5); }, kStatus, -1, false},
        {"OrvaInfo_BlinkDriveTrayLED",
         [&](auto* i, auto* v) { return PUBLISHED(OrvaInfo_BlinkDriveTrayLED)(1, v, i, 1); }, -1},
        {"OrvaInfo_CtrlParameter", [&](auto* i, auto*) { return PUBLISHED(OrvaInfo_CtrlParameter)(i, 1); }, kStatus, -1,
         false},
        {"OrvaInfo_CacheConfiguration",
         [&](auto* i, auto* v) { return PUBLISHED(OrvaInfo_CacheConfiguration)(i, v, 1); }}};
  }

 private:
  OrvaInfo_Devices drive_ = {};
};

TEST_F(PublishedFunctions, SayWhatFailed) {
  OrvaInfo& info = snapshot();
  OrvaInfo_Devices& member = info.devices[0];
  char name[] = "vmhba1";
  for (const bool traced : {true, false}) {
    hostCalls.traceOn = traced;
    const auto traceOf = [&](const std::string& function) { return traced ? function + ": Uninitialized.\n" : ""; };
    PUBLISHED(OrvaInfo_Cleanup)();
    (void)host.takeCommands();
    for (const Sender& sender : senders()) {
      takeTrace();
      EXPECT_EQ(sender.call(&info, &member), -1) << "without a channel: " << sender.name;
      EXPECT_EQ(takeTrace(), traceOf(sender.name));
    }
    EXPECT_EQ(PUBLISHED(OrvaInfo_ExeCmd)(0x11, 0, 0, nullptr, 0, &member.lunAddress, &info), -1);
    EXPECT_EQ(takeTrace(), traceOf("OrvaInfo_ExeCmd"));
    EXPECT_EQ(PUBLISHED(OrvaInfo_QueryHBA)(name), -1);
    EXPECT_EQ(takeTrace(), traceOf("OrvaInfo_QueryHBA"));
    EXPECT_THAT(sentOpcodes(), testing::IsEmpty());
    ASSERT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
    host.addFault({.call = "any", .action = simulator::FaultAction::driverStatus, .value = kStatus});
    for (const Sender& sender : senders()) {
      EXPECT_EQ(sender.call(&info, &member), sender.whenRefused) << "refused: " << sender.name;
    }
    host.clearFaults();
    host.addFault({.call = "query", .action = simulator::FaultAction::driverStatus, .value = kStatus});
    EXPECT_EQ(PUBLISHED(OrvaInfo_QueryHBA)(name), -1);
    host.clearFaults();
    for (const Sender& sender : senders()) EXPECT_EQ(sender.call(&info, &member), 0) << sender.name;
    EXPECT_EQ(PUBLISHED(OrvaInfo_DumpOrvaInfo)(&info), 0);
    takeTrace();
    vlexBlinkDriveLED blinkBuffer = {};
    PUBLISHED(OrvaInfo_DumpBlkLED)(&blinkBuffer, 1);
    PUBLISHED(OrvaInfo_DumpArray)(blinkBuffer.BlinkSeekEnable, 10);
    EXPECT_EQ(takeTraceWrites().size(), traced ? 9u + 256 + 11 : 0);
    hostCalls.recording = hostCalls.noMemory = true;
    for (const Sender& sender : senders()) {
      EXPECT_EQ(sender.call(&info, &member), sender.withoutMemory) << "without memory: " << sender.name;
    }
    EXPECT_EQ(takeTrace().find("OrvaInfo_SenseBlinkDriveLED: Failed to allocate memory.\n") != std::string::npos,
              traced);
    char* location = nullptr;
    DriveTemperature temperature = {};
    EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(&info, &member, &location, 0, error), -1);
    EXPECT_THAT(PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(&info, &member, &temperature, 0, error),
                AnyOf(-1, kNewCanFail ? -1 : 0));
    EXPECT_EQ(PUBLISHED(OrvaInfo_UpdateCtrl)(9, name), nullptr);
    hostCalls.recording = hostCalls.noMemory = false;

    takeTrace();
    constexpr auto kRefuses = simulator::FaultAction::driverStatus;
    host.addFault({.call = "blinkDriveTrayLed", .action = kRefuses, .value = kStatus});
    host.addFault({.call = "reportPhysicalLuns", .from = 2, .action = kRefuses, .value = kStatus});
    EXPECT_EQ(PUBLISHED(OrvaInfo_BlinkDriveTrayLED)(1, &member, &info, 1), kStatus);
    EXPECT_EQ(PUBLISHED(OrvaInfo_DeviceScan)(&info), 0);
    host.clearFaults();
    hostCalls.fails = [](const char* call) { return std::strcmp(call, "malloc") == 0; };
    EXPECT_EQ(PUBLISHED(OrvaInfo_SenseConfiguration)(&info, &member), 0);
    EXPECT_EQ(member.raidMap, nullptr);
    hostCalls.fails = nullptr;
    EXPECT_EQ(PUBLISHED(OrvaInfo_SenseConfiguration)(&info, &member), 0);
    const std::string trace = takeTrace();
    for (const char* line : {"OrvaInfo_BlinkDriveTrayLED: Failed to blink drive LED.\n",
                             "OrvaInfo_DeviceScan: Failed to execute Reprot Physical LUN.\n",
                             "OrvaInfo_SenseConfiguration: Failed to allocate memory.\n"}) {
      EXPECT_EQ(trace.find(line) != std::string::npos, traced) << line;
    }
  }
}

TEST_F(PublishedFunctions, RefuseNulls) {
  OrvaInfo& info = snapshot();
  OrvaInfo_Devices& member = info.devices[0];
  for (const Sender& sender : senders()) {
    EXPECT_EQ(sender.call(nullptr, &member), -1) << sender.name;
    if (sender.takesDevice) {
      EXPECT_EQ(sender.call(&info, nullptr), -1) << sender.name;
    }
  }
  vlexLogicalLUNReport logical = {};
  vlexPhysicalLUNReportExt physical = {};
  unsigned char serial[] = "S";
  DmuDeviceInfo information = {};
  DriveTemperature temperature = {};
  char* location = nullptr;
  const int kRefusals[] = {
      PUBLISHED(OrvaInfo_ExeCmd)(0x11, 0, 0, nullptr, 0, nullptr, &info),
      PUBLISHED(OrvaInfo_ExeCmd)(0x11, 0, 0, nullptr, 0, &member.lunAddress, nullptr),
      PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(nullptr, &info, 8),
      PUBLISHED(OrvaInfo_UpdateScsiDevListLogical)(&logical, nullptr, 8),
      PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(nullptr, &info, 8),
      PUBLISHED(OrvaInfo_UpdateScsiDevListPhysical)(&physical, nullptr, 8),
      PUBLISHED(OrvaInfo_UpdateSCSIDevice)(nullptr, 0, 0, &member, &info),
      PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&member.lunAddress, 0, 0, nullptr, &info),
      PUBLISHED(OrvaInfo_UpdateSCSIDevice)(&member.lunAddress, 0, 0, &member, nullptr),
      PUBLISHED(OrvaInfo_IdentifyPhysicalDevieWithBMICInex)(&info, nullptr, 0),
      PUBLISHED(OrvaInfo_ParseSerialNo)(nullptr, 1, &member),
      PUBLISHED(OrvaInfo_ParseSerialNo)(serial, 1, nullptr),
      PUBLISHED(OrvaInfo_GetDeviceInfo)(nullptr, &information, error),
      PUBLISHED(OrvaInfo_GetDeviceInfo)(volume, nullptr, error),
      PUBLISHED(OrvaInfo_GetDeviceTemperature)(nullptr, &temperature, 1, error),
      PUBLISHED(OrvaInfo_GetDeviceTemperature)(volume, nullptr, 1, error),
      PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(&info, &member, nullptr, 3, error),
      PUBLISHED(OrvaInfo_GetDeviceLocation)(nullptr, &location, 1, error),
      PUBLISHED(OrvaInfo_GetDeviceLocation)(volume, nullptr, 1, error),
      PUBLISHED(OrvaInfo_SetDriveLEDState)(nullptr, 1, 1, error),
      PUBLISHED(OrvaInfo_CacheControl)(nullptr, 1, error),
  };
  EXPECT_THAT(kRefusals, testing::Each(-1));
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(&info, &member, nullptr, 3, error), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(nullptr, &member, &location, 1, error), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(&info, nullptr, &location, 1, error), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(nullptr, &member, &temperature, 1, error), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(&info, nullptr, &temperature, 1, error), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetBMICDeviceIndex)(nullptr), dmu::kNoDriveIndex);
  EXPECT_TRUE(PUBLISHED(OrvaInfo_DevListIsFull)(nullptr));
  EXPECT_FALSE(PUBLISHED(OrvaInfo_CacheTimedout)(nullptr));
  PUBLISHED(OrvaInfo_SetBTL)(nullptr);
  PUBLISHED(OrvaInfo_DumpArray)(nullptr, 10);
  PUBLISHED(OrvaInfo_DumpBlkLED)(nullptr, 1);
  EXPECT_EQ(location, nullptr);
  EXPECT_EQ(error, "before");
  EXPECT_THAT(sentOpcodes(), testing::IsEmpty());
}

TEST_F(PublishedFunctions, VolumeFunctionsHaveNothingToSayOfWhatHasNoKnownMembers) {
  OrvaInfo& info = snapshot();
  OrvaInfo_Devices empty = info.devices[0];
  empty.physicalDisks = 0;
  char* location = nullptr;
  DriveTemperature temperature = {};
  for (OrvaInfo_Devices* device : {&info.devices[1], &info.devices[2], &empty}) {  // external, a drive, no drives
    EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyLocationForVolume)(&info, device, &location, 1, error), 0);
    EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(&info, device, &temperature, 1, error), 0);
  }
  EXPECT_EQ(location, nullptr);
  info.deviceCount = 2;  // the members' entries carry no meaning now
  EXPECT_EQ(PUBLISHED(OrvaInfo_GetPhyDiskTempForVolume)(&info, &info.devices[0], &temperature, 1, error), 0);
  EXPECT_EQ(PUBLISHED(OrvaInfo_SenseConfiguration)(&info, &info.devices[2]), -1);
  EXPECT_EQ(PUBLISHED(OrvaInfo_CacheConfiguration)(&info, &info.devices[2], 1), -1);
  EXPECT_THAT(sentOpcodes(), testing::IsEmpty());
}

}  // namespace
