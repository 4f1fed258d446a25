// The boundary with the host: handles, serial numbers, and the trace.
#include <algorithm>
#include <cstring>
#include <fcntl.h>

#include "channel/management_channel.h"
#include "plugin/device_handle.h"
#include "plugin/serial_number.h"
#include "plugin/trace.h"
#include "tests/host_process.h"

namespace {

class FrontEnd : public PluginTest {};

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
  hostCalls.diskAnswer = [this](sg_io_hdr& request) {
    EXPECT_EQ(request.timeout, 20'000u) << "milliseconds";
    EXPECT_EQ(request.mx_sb_len, 32);
    std::fill_n(request.sbp, request.mx_sb_len, uint8_t{0xFF});
    host.resetCounts();
    EXPECT_EQ(host.counts().openNodes, 1u) << "it is open all the same";
    return -1;
  };
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

TEST_F(FrontEnd, TheTraceFileIsNamedWhileALineIsWritten) {
  hostCalls.traceOn = true;
  std::vector<bool> named;
  hostCalls.whileTracing = [&] { named.push_back(PUBLISHED(stream) != nullptr); };
  PUBLISHED(OrvaInfo_Cleanup)();
  EXPECT_THAT(named, testing::ElementsAre(true));
  EXPECT_EQ(PUBLISHED(stream), nullptr);
}

}  // namespace
