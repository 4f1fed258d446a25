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

TEST_F(FrontEnd, OpenRefusesEveryOtherDriverSilently) {
  hostCalls.traceOn = true;
  CtrlDevInfo* const untouched = reinterpret_cast<CtrlDevInfo*>(this);
  for (const char* driver : {"VELTRANE", "veltrane ", "veltran", "veltrane2", "", static_cast<const char*>(nullptr)}) {
    CtrlDevInfo* handle = untouched;
    EXPECT_EQ(openWith(driver, &handle), -1) << (driver == nullptr ? "null" : driver);
    EXPECT_EQ(handle, untouched);
  }
  EXPECT_EQ(openWith("veltrane", nullptr), -1);
  CtrlDevInfo* handle = untouched;
  EXPECT_EQ(takeTrace(), "");
  EXPECT_EQ(plugin->openDeviceV2(nullptr, &handle), -1);
  DmuDeviceOpenInfo info = {};
  info.driver = "other";
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

/// One answer of a disk: how the request ends, the page, and what the serial number and the error text become.
struct DiskAnswer {
  const char* name;
  int result;
  int status;
  int hostStatus;
  int driverStatus;
  int resid;
  std::string page;
  const char* serial;  ///< null: the query fails
};

std::string page(const std::string& text, int length = -1, int code = 0x80) {
  const size_t n = length < 0 ? text.size() : static_cast<size_t>(length);
  std::string bytes = {0, static_cast<char>(code), static_cast<char>(n >> 8), static_cast<char>(n)};
  bytes += text;
  return bytes;
}

const std::string kSixty(60, 'S');

const DiskAnswer kDiskAnswers[] = {
    {"blanks around", 0, 0, 0, 0, 49, page("   ABC123  "), "ABC123"},
    {"inner blank", 0, 0, 0, 0, 53, page("ABC 123"), "ABC"},
    {"no serial", 0, 0, 0, 0, 60, page(""), ""},
    {"only blanks", 0, 0, 0, 0, 55, page("     "), ""},
    {"first byte no text", 0, 0, 0, 0, 57,
     page("\x1f"
          "AB"),
     ""},
    {"bounds of text", 0, 0, 0, 0, 56,
     page("!~\x7f"
          "A"),
     "!~"},
    {"byte above text", 0, 0, 0, 0, 56, page("AB\xc3\xa9"), "AB"},
    {"sixty characters", 0, 0, 0, 0, 0, page(kSixty), kSixty.c_str()},
    {"closing NUL counted", 0, 0, 0, 0, 0, page(kSixty, 61), kSixty.c_str()},
    {"length lies", 0, 0, 0, 0, 0, page(kSixty, 0xFFFF), kSixty.c_str()},
    {"length lies, less received", 0, 0, 0, 0, 1, page(kSixty, 61), nullptr},
    {"serial cut by one", 0, 0, 0, 0, 55, page("ABC123"), nullptr},
    {"serial just received", 0, 0, 0, 0, 54, page("ABC123"), "ABC123"},
    {"all received says the kernel", 0, 0, 0, 0, 0, page("ABC123"), "ABC123"},
    {"header cut", 0, 0, 0, 0, 61, page(""), nullptr},
    {"nothing received", 0, 0, 0, 0, 64, page("ABC"), nullptr},
    {"more than nothing missing", 0, 0, 0, 0, 1000, page("ABC"), nullptr},
    {"more than everything received", 0, 0, 0, 0, -5, page("ABC"), "ABC"},
    {"another page", 0, 0, 0, 0, 57, page("ABC", -1, 0x83), nullptr},
    {"buffer untouched", 0, 0, 0, 0, 0, "", nullptr},
    {"request fails", -1, 0, 0, 0, 57, page("ABC"), nullptr},
    {"SCSI status", 0, 2, 0, 0, 57, page("ABC"), nullptr},
    {"host status", 0, 0, 1, 0, 57, page("ABC"), nullptr},
    {"driver status", 0, 0, 0, 8, 57, page("ABC"), nullptr},
};

TEST_F(FrontEnd, SerialNumberIsTakenWholeOrNotAtAll) {
  const std::string device = host.disks().front().device;
  hostCalls.recording = true;
  for (const DiskAnswer& answer : kDiskAnswers) {
    SCOPED_TRACE(answer.name);
    hostCalls.diskAnswer = [&](sg_io_hdr& request) {
      const uint8_t expected[] = {0x12, 0x01, 0x80, 0x00, 0x40, 0x00};
      EXPECT_EQ(std::memcmp(request.cmdp, expected, sizeof(expected)), 0);
      EXPECT_EQ(request.interface_id, 'S');
      EXPECT_EQ(request.dxfer_direction, -3);
      EXPECT_EQ(request.cmd_len, 6);
      EXPECT_EQ(request.mx_sb_len, 32);
      EXPECT_NE(request.sbp, nullptr);
      EXPECT_EQ(request.iovec_count, 0);
      EXPECT_EQ(request.dxfer_len, 64u);
      EXPECT_EQ(request.timeout, 20000u);
      EXPECT_EQ(request.flags, 0u);
      std::copy(answer.page.begin(), answer.page.end(), static_cast<uint8_t*>(request.dxferp));
      request.status = static_cast<unsigned char>(answer.status);
      request.host_status = static_cast<unsigned short>(answer.hostStatus);
      request.driver_status = static_cast<unsigned short>(answer.driverStatus);
      request.resid = answer.resid;
      return answer.result;
    };
    error = "before";
    EXPECT_EQ(PUBLISHED(Get_Dev_SN)(device.c_str(), error), answer.serial == nullptr ? "" : answer.serial);
    EXPECT_EQ(error, answer.serial == nullptr ? "Failed to get device serial number: /dev/disks/" + device : "before");
  }
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
