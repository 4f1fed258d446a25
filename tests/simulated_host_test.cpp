// The simulated host as the plugin's host relies on it: it refuses what a strict driver would, keeps what is written,
// lets the blink time run out and applies fault rules as they say.
#include <array>
#include <cstring>
#include <fcntl.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "channel/command.h"
#include "channel/management_channel.h"
#include "plugin/device_handle.h"
#include "tests/host_process.h"
#include "tests/model.h"

namespace {

using DriveFlag = bool simulator::DriveState::*;

using simulator::FaultAction;
using testing::ElementsAre;

class SimulatedHost : public PluginTest {
 protected:
  SimulatedHost() {
    controller.drives = {model::drive(0), model::drive(1), model::drive(5, true)};
    controller.volumes = {model::volume(0, {0, 1})};
    host.load(model::topology(controller));
    host.setClock([this] { return now; });
  }
  ~SimulatedHost() override { host.setClock(nullptr); }

  std::vector<bool> drivesThat(DriveFlag are) {
    std::vector<bool> drives;
    const auto state = host.state();
    for (const simulator::DriveState& drive : state.front().drives) drives.push_back(drive.*are);
    return drives;
  }
  std::vector<bool> blinking() { return drivesThat(&simulator::DriveState::blinking); }

  simulator::Controller controller = model::controller();
  uint64_t now = 1000;
};

TEST_F(SimulatedHost, RefusesEachMistakeOfTheCallerWithACodeOfItsOwn) {
  MgmtCallbackInfo callbacks[4];
  std::copy_n(PUBLISHED(pqiMgmtCallbackInfo), 4, callbacks);
  MgmtApiSignature good = PUBLISHED(pqiMgmtApiSig);
  good.callbacks = callbacks;
  vmk_MgmtUserHandle* handle = nullptr;
  std::vector<int64_t> codes;
  const auto initWith = [&](const std::function<void(MgmtApiSignature&)>& spoil) {
    MgmtApiSignature signature = good;
    spoil(signature);
    codes.push_back(vmk_MgmtUserInit(&signature, 0, &handle));
    std::copy_n(PUBLISHED(pqiMgmtCallbackInfo), 4, callbacks);
    EXPECT_EQ(handle, nullptr);
  };
  codes.push_back(vmk_MgmtUserInit(nullptr, 0, &handle));
  codes.push_back(vmk_MgmtUserInit(&good, 1, &handle));
  codes.push_back(vmk_MgmtUserInit(&good, 0, nullptr));
  initWith([](MgmtApiSignature& s) { s.version = 2; });
  initWith([](MgmtApiSignature& s) { s.name[20] = 'x'; });
  initWith([](MgmtApiSignature& s) { s.vendor[0] = 'C'; });
  initWith([](MgmtApiSignature& s) { s.numCallbacks = 3; });
  initWith([](MgmtApiSignature& s) { s.callbacks[1].parmSizes[1] = 13; });
  ASSERT_EQ(vmk_MgmtUserInit(&good, 0, &handle), 0u);

  pqi_ioctl_passthruCmd_struct right = {};
  std::array<uint8_t, 512> buffer{};
  const vlexCmdLunAddress address = {};
  PUBLISHED(OrvaInfo_FillCmd)(0x11, 0, 0, buffer.data(), 512, &address, &right);
  uint32_t instance = 0;
  uint32_t status = 77;
  const auto send = [&](const std::function<void(pqi_ioctl_passthruCmd_struct&)>& spoil) {
    pqi_ioctl_passthruCmd_struct record = right;
    spoil(record);
    codes.push_back(vmk_MgmtUserCallbackInvokeInt(handle, 0, 0x12, 3, &instance, &record, &status));
  };
  codes.push_back(vmk_MgmtUserCallbackInvokeInt(nullptr, 0, 0x12, 3, &instance, &right, &status));
  codes.push_back(vmk_MgmtUserCallbackInvokeInt(handle, 0, 0x14, 3, &instance, &right, &status));
  codes.push_back(vmk_MgmtUserCallbackInvokeInt(handle, 0, 0x13, 2, &instance, &status));
  codes.push_back(vmk_MgmtUserCallbackInvokeInt(handle, 0, 0x12, 2, &instance, &right));
  codes.push_back(vmk_MgmtUserCallbackInvokeInt(handle, 0, 0x12, 3, &instance, nullptr, &status));
  send([](auto& r) { r.lunAddress.bytes[6] = 1; });
  send([](auto& r) { r.typeAttrDir = kToController; });
  send([](auto& r) { r.cdb[6] = 0x12; });
  send([](auto& r) { r.cdbLength = 12; });
  send([](auto& r) { r.cdb[2] = 1; });
  send([](auto& r) { r.timeout = 1; });
  send([](auto& r) { r.bufferSize = 511; });
  send([](auto& r) { r.buffer = 0; });
  instance = 1;
  send([](auto& /*record*/) {});
  std::sort(codes.begin(), codes.end());
  EXPECT_NE(codes.front(), 0);
  EXPECT_EQ(std::adjacent_find(codes.begin(), codes.end()), codes.end()) << "two mistakes share a code";
  instance = 0;
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(handle, 0, 0x12, 3, &instance, &right, &status), 0);
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(buffer[0], 1) << "one local volume";
  EXPECT_EQ(vmk_MgmtUserDestroy(handle), 0);
  EXPECT_NE(vmk_MgmtUserDestroy(handle), 0);
}

TEST_F(SimulatedHost, ADiskNodeSaysHowARequestWentWhateverStoodInItsHeader) {
  constexpr uint8_t kRead = 0x28;
  constexpr uint8_t kInquiry = 0x12;
  const auto statusOf = [&](uint8_t opcode, const std::vector<simulator::FaultRule>& faults) {
    host.load(model::topology(controller));
    for (const simulator::FaultRule& fault : faults) host.addFault(fault);
    uint8_t cdb[] = {opcode, 1, 0x80, 0, 64, 0};
    std::array<uint8_t, 64> data{};
    std::array<uint8_t, 32> sense{};
    sg_io_hdr header;
    std::memset(&header, 0x55, sizeof(header));
    header.interface_id = 'S';
    header.iovec_count = 0;
    header.dxfer_direction = SG_DXFER_FROM_DEV;
    header.cmdp = cdb;
    header.cmd_len = sizeof(cdb);
    header.dxferp = data.data();
    header.dxfer_len = data.size();
    header.sbp = sense.data();
    header.mx_sb_len = sense.size();
    const int node = ::open("/dev/disks/disk5", O_RDWR);
    EXPECT_EQ(ioctl(node, SG_IO, &header), 0);
    close(node);
    return std::vector<int>{header.status,      header.masked_status,          header.msg_status,
                            header.host_status, header.driver_status,          header.resid,
                            header.sb_len_wr,   static_cast<int>(header.info), static_cast<int>(header.duration)};
  };
  const simulator::FaultRule broken{.call = "ioctl", .action = FaultAction::driverStatus, .value = 5};
  const simulator::FaultRule gone{.call = "ioctl", .controller = "vmhba1", .drive = 5, .action = FaultAction::vanish};
  EXPECT_THAT(statusOf(kInquiry, {}), ElementsAre(0, 0, 0, 0, 0, 64 - 4 - 2, 0, 0, 0)) << "a page with \"S5\"";
  EXPECT_THAT(statusOf(kRead, {}), ElementsAre(2, 1, 0, 0, 8, 64, 18, SG_INFO_CHECK, 0)) << "check condition and sense";
  EXPECT_THAT(statusOf(kInquiry, {broken}), ElementsAre(0, 0, 0, 0, 5, 64, 0, 0, 0));
  EXPECT_THAT(statusOf(kInquiry, {gone}), ElementsAre(0, 0, 0, 1, 0, 64, 0, 0, 0)) << "no connection";
}

TEST_F(SimulatedHost, BlinkTimeRunsOutForTheWholeController) {
  ASSERT_EQ(plugin->setDriveLEDState(open("disk5"), 1, 10, error), 1);
  now += 60;
  EXPECT_THAT(blinking(), ElementsAre(false, false, true));
  EXPECT_EQ(host.state().front().drives[2].blinkTenthsLeft, 40u);
  ASSERT_EQ(plugin->setDriveLEDState(open("volume0"), 1, 20, error), 2);
  now += 199;
  EXPECT_THAT(blinking(), ElementsAre(true, true, true)) << "the new time holds for all";
  now += 1;
  EXPECT_THAT(blinking(), ElementsAre(false, false, false));
  ASSERT_EQ(plugin->setDriveLEDState(open("disk5"), 1, 10, error), 1);
  EXPECT_THAT(blinking(), ElementsAre(false, false, true)) << "what has run out does not begin anew";
}

TEST_F(SimulatedHost, AppliesFaultRulesAndCountsTheirHits) {
  CtrlDevInfo* volume = open("volume0");
  DmuDeviceInfo info{};
  host.addFault({.call = "identifyController",
                 .controller = "vmhba1",
                 .drive = 1,
                 .from = 2,
                 .count = 1,
                 .action = FaultAction::vanish});
  host.addFault({.call = "any", .controller = "another", .action = FaultAction::driverStatus, .value = 1});
  host.addFault({.call = "any", .volume = 9, .action = FaultAction::driverStatus, .value = 1});
  host.addFault({.call = "any", .volume = 0, .from = 2, .count = 3, .action = FaultAction::set, .bytes = {0}});
  const auto rebuild = [&] {
    hostCalls.now = hostCalls.now.value_or(0) + 31;
    EXPECT_EQ(plugin->getDeviceInfo(volume, &info, error), 0);
  };
  const auto present = [&] { return drivesThat(&simulator::DriveState::present); };
  rebuild();
  EXPECT_THAT(present(), ElementsAre(true, true, true));
  rebuild();
  EXPECT_THAT(present(), ElementsAre(true, false, true));
  EXPECT_EQ(plugin->setDriveLEDState(volume, 1, 1, error), 2) << "its LEDs are still switched";
  rebuild();
  std::vector<uint32_t> hits;
  for (const simulator::FaultReport& fault : host.faults()) hits.push_back(fault.hits);
  EXPECT_THAT(hits, ElementsAre(1, 0, 0, 3));
}

}  // namespace
