// The boundary with the host: handles, serial numbers, and the trace.
#include <cstring>
#include <fcntl.h>

#include "channel/management_channel.h"
#include "plugin/device_handle.h"
#include "plugin/serial_number.h"
#include "plugin/trace.h"
#include "tests/host_process.h"

namespace {

class FrontEnd : public PluginTest {
 protected:
  int32_t openWith(const char* driver, CtrlDevInfo** out, const char* hba = "vmhba2") {
    return plugin->openDevice(hba, 1, 2, 3, driver, 1, 0xABCD, 4, 5, 6, 7, 8, 9, 10, 11, 12, out);
  }
};

TEST_F(FrontEnd, OfARefusedOpenTheSecondFunctionAloneSaysAnything) {
  hostCalls.traceOn = true;
  CtrlDevInfo* handle = nullptr;
  EXPECT_EQ(openWith("veltrane2", &handle), -1);
  EXPECT_EQ(openWith("veltrane", nullptr), -1);
  EXPECT_EQ(plugin->openDeviceV2(nullptr, &handle), -1);
  EXPECT_EQ(takeTrace(), "");
  const DmuDeviceOpenInfo info = {.driver = "other"};
  EXPECT_EQ(plugin->openDeviceV2(&info, &handle), -1);
  EXPECT_EQ(takeTrace(), "VELTRANEPlugin_OpenDevice_v2_0_0: device opened with v2 API.\n");
}

TEST_F(FrontEnd, NamesAreCutTo49Characters) {
  for (const size_t length : {size_t{0}, size_t{48}, size_t{49}, size_t{50}, size_t{5000}}) {
    const std::string name(length, 'n');
    DmuDeviceOpenInfo info = {};
    info.devName = length == 0 ? nullptr : name.c_str();
    info.hba = info.devName;
    info.driver = "veltrane";
    CtrlDevInfo* handle = nullptr;
    ASSERT_EQ(plugin->openDeviceV2(&info, &handle), 0);
    EXPECT_EQ(handle->hbaName, name.substr(0, 49));
    EXPECT_EQ(handle->devName, name.substr(0, 49));
    plugin->closeDevice(handle);
  }
}

TEST_F(FrontEnd, ASerialNumberIsAskedOfANodeThatIsClosedAgain) {
  const std::string device = host.disks().front().device;
  hostCalls.recording = true;
  hostCalls.diskAnswer = [](sg_io_hdr&) { return -1; };
  EXPECT_EQ(PUBLISHED(Get_Dev_SN)(device.c_str(), error), "");
  EXPECT_EQ(error, "Failed to get device serial number: /dev/disks/" + device);
  EXPECT_EQ(hostCalls.openFlags, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  hostCalls.diskAnswer = nullptr;
  const int saved = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  EXPECT_NE(PUBLISHED(Get_Dev_SN)(device.c_str(), error), "") << "the node's descriptor is 0";
  EXPECT_EQ(PUBLISHED(Get_Dev_SN)(nullptr, error), "");
  dup2(saved, STDIN_FILENO);
  close(saved);
  EXPECT_EQ(host.counts().openNodes, 0u) << "a node stayed open";
}

TEST_F(FrontEnd, TraceThatIsOffCostsExistenceTestsAlone) {
  CtrlDevInfo* handle = nullptr;
  hostCalls.recording = true;
  ASSERT_EQ(openWith("veltrane", &handle), 0);
  EXPECT_EQ(handle->serialNumber, "");
  EXPECT_STREQ(handle->devName, "");
  plugin->closeDevice(nullptr);
  plugin->closeDevice(handle);
  const auto tests = std::count_if(hostCalls.made.begin(), hostCalls.made.end(),
                                   [](const PluginCall& call) { return call.is("access"); });
  EXPECT_EQ(tests, 4 + 1) << "one for each line";
  EXPECT_EQ(takeTrace(), "");
}

TEST_F(FrontEnd, TheTraceFileIsNamedWhileALineIsWritten) {
  hostCalls.traceOn = true;
  std::vector<bool> named;
  hostCalls.whileTracing = [&] { named.push_back(PUBLISHED(stream) != nullptr); };
  PUBLISHED(OrvaInfo_Cleanup)();
  EXPECT_THAT(named, testing::ElementsAre(true));
  EXPECT_EQ(PUBLISHED(stream), nullptr);
}

}  // namespace
