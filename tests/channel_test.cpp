// The channel, the layout of commands, their execution, and the two questions about the driver. The driver checks its
// own description at every opening of a channel.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include "channel/command.h"
#include "channel/instance_query.h"
#include "channel/management_channel.h"
#include "channel/oem_driver.h"
#include "tests/host_process.h"

namespace {

using simulator::FaultAction;

class Channel : public PluginTest {
 protected:
  ~Channel() override { PUBLISHED(OrvaInfo_Cleanup)(); }
};

TEST_F(Channel, OpensOnceAndClosesOnce) {
  hostCalls.traceOn = true;
  ASSERT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  vmk_MgmtUserHandle* const first = PUBLISHED(mgmtHandle);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  EXPECT_EQ(PUBLISHED(mgmtHandle), first);
  EXPECT_EQ(takeTrace(), "OrvaInfo_Init: Trying to reinitialize management handle.\n");
  EXPECT_EQ(PUBLISHED(OrvaInfo_Cleanup)(), 0);
  EXPECT_EQ(PUBLISHED(mgmtHandle), nullptr);
  EXPECT_EQ(PUBLISHED(OrvaInfo_Cleanup)(), 0);
  EXPECT_EQ(takeTrace(), "OrvaInfo_Cleanup: Trying to destroy null management handle.\n");
  EXPECT_EQ(host.counts().init, 1u);
  EXPECT_EQ(host.counts().destroy, 1u);
}

/// How one command is laid out; CDB bytes that are not given are 0. The driver checks what is sent in a scenario; these
/// are the numbers that do not come up there.
struct CdbCase {
  const char* name;
  uint8_t opcode;
  uint64_t cmdParam;
  int32_t length;
  uint8_t cdbLength;
  uint8_t typeAttrDir;
  uint16_t timeout;
  std::vector<uint8_t> cdb;
};

const CdbCase kCdbCases[] = {
    {"identify logical device", 0x10, 0x12345678, 512, 10, 0xA0, 0, {0x26, 0x78, 0, 0, 0, 0, 0x10, 0x02, 0x00, 0x56}},
    {"sense configuration", 0x50, 0x0102, 1024, 10, 0xA0, 0, {0x26, 0x02, 0, 0, 0, 0, 0x50, 0x04, 0x00, 0x01}},
    {"identify physical device", 0x15, 0x0102, 2560, 10, 0xA0, 0, {0x26, 0, 0x02, 0, 0, 0, 0x15, 0x0A, 0x00, 0x01}},
    {"no drive index", 0x15, ~uint64_t{0}, 2560, 10, 0xA0, 0, {0x26, 0, 0xFF, 0, 0, 0, 0x15, 0x0A, 0x00, 0xFF}},
    {"set cache configuration", 0xC0, 7, 0x12345, 10, 0x60, 0, {0x27, 0, 0, 0, 0, 0, 0xC0, 0x01, 0x23}},
    {"report physical LUNs", 0xC3, 0x302, 0x12345678, 12, 0xA0, 1000, {0xC3, 2, 0, 0, 0, 0, 0x12, 0x34, 0x56, 0x78}},
    {"another opcode", 0x12, 0xFF, 512, 0, 0xA0, 0, {0x12}},
};

TEST_F(Channel, LaysOutCommandsWithNumbersOfEverySize) {
  const vlexCmdLunAddress address = {{1, 2, 3, 4, 5, 6, 7, 8}};
  char buffer[1];
  for (const CdbCase& expected : kCdbCases) {
    SCOPED_TRACE(expected.name);
    pqi_ioctl_passthruCmd_struct record = {};
    EXPECT_EQ(
        PUBLISHED(OrvaInfo_FillCmd)(expected.opcode, 0, expected.cmdParam, buffer, expected.length, &address, &record),
        0);
    std::vector<uint8_t> bytes(std::begin(address.bytes), std::end(address.bytes));
    bytes.insert(bytes.end(), {expected.cdbLength, expected.typeAttrDir, static_cast<uint8_t>(expected.timeout),
                               static_cast<uint8_t>(expected.timeout >> 8)});
    bytes.resize(sizeof(record));
    std::copy(expected.cdb.begin(), expected.cdb.end(), bytes.begin() + 12);
    bytes[76] = static_cast<uint8_t>(expected.length);
    bytes[77] = static_cast<uint8_t>(expected.length >> 8);
    const uint64_t where = reinterpret_cast<uintptr_t>(buffer);
    std::memcpy(bytes.data() + 78, &where, 8);
    const auto* laidOut = reinterpret_cast<const uint8_t*>(&record);
    EXPECT_EQ(std::vector<uint8_t>(laidOut, laidOut + sizeof(record)), bytes);
  }
}

TEST_F(Channel, ExecutesACommandOfTheSnapshotsInstance) {
  hostCalls.traceOn = true;
  const vlexCmdLunAddress& controller = PUBLISHED(controllerAddress);
  auto info = std::make_unique<OrvaInfo>();
  info->slot = 1;
  alignas(16) uint8_t reply[512] = {};
  const auto identify = [&](const vlexCmdLunAddress* address) {
    return PUBLISHED(OrvaInfo_ExeCmd)(0x11, 0, 0, reply, sizeof(reply), address, info.get());
  };
  ASSERT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  EXPECT_EQ(identify(&controller), 0);
  const auto sent = host.takeCommands();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].instance, 1u);
  EXPECT_EQ(reply[156] | reply[157] << 8, host.topology().controllers[1].maxPhysDevicesSupported);
  hostCalls.recording = true;
  hostCalls.failAt = 0;  // with code 0: the driver writes neither status nor reply
  EXPECT_EQ(identify(&controller), 0);
  EXPECT_EQ(takeTrace(), "");
}

TEST_F(Channel, AllocatesAlignedBlocks) {
  hostCalls.recording = true;
  std::free(PUBLISHED(orvamalloc)(5));
  EXPECT_EQ(hostCalls.alignment, 16u);
}

/// Makes the driver's instance i carry an id and a name from now on.
void renameInstance(simulator::SimulatedHost& host, uint32_t i, uint32_t id, const std::string& name) {
  std::vector<uint8_t> entry(168);
  std::memcpy(entry.data(), &id, 4);
  std::memcpy(entry.data() + 12, name.data(), std::min<size_t>(name.size(), 156));
  host.addFault({.call = "query", .action = FaultAction::set, .offset = 96 + 168 * i, .bytes = entry});
}

TEST_F(Channel, FindsTheFirstUsedInstanceOfAName) {
  hostCalls.traceOn = true;
  const auto query = [&](const char* name) { return PUBLISHED(OrvaInfo_QueryHBA)(name); };
  ASSERT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  const std::string unterminated(156, 'u');
  renameInstance(host, 3, 0xFFFFFFFF, "unused");
  renameInstance(host, 4, 0, "twice");
  renameInstance(host, 5, 1, "twice");
  renameInstance(host, 6, 2, unterminated);
  renameInstance(host, 9, 0xFFFFFFFE, "last");
  const std::pair<const char*, int> kNames[] = {
      {"vmhba2", 0}, {"Vmhba2", -1}, {"vmhba2 ", -1},           {"vmhba", -1}, {"unused", -1},
      {"twice", 4},  {"last", 9},    {unterminated.c_str(), 6}, {"uuu", -1},   {nullptr, -1}};
  for (const auto& [name, number] : kNames) EXPECT_EQ(query(name), number) << (name == nullptr ? "null" : name);
  EXPECT_EQ(query((unterminated + "u").c_str()), -1);
  EXPECT_EQ(takeTrace(), "");
}

TEST_F(Channel, TellsAnOemBuildByTheModuleLoadersOutput) {
  hostCalls.runModuleLoader = true;
  const std::string folder = testing::TempDir() + "dmu-loader." + std::to_string(getpid());
  std::filesystem::create_directory(folder);
  const std::string path = std::getenv("PATH");
  setenv("PATH", (folder + ":/usr/bin:/bin").c_str(), 1);
  const std::pair<const char*, int> kScripts[] = {
      {"echo \" Version: 1\"; echo \" OEM build\"", 1},
      {"echo xoemx", 1},
      {"echo Oem oEM OeM", 0},
      {"true", 0},
      {"echo oem; exit 3", 1},
      {"exit 1", 0},
      {"test \"$*\" = \"-s veltrane\" && echo oem", 1},
      {"head -c 5000 /dev/zero | tr '\\0' x; echo oem", 1},
      {"head -c 10000000 /dev/zero | tr '\\0' '\\n'; echo done", 0},
      {"head -c 1021 /dev/zero | tr '\\0' x; echo oem", 0},  // "oe" ends the first piece of 1,023 characters
      {"head -c 1022 /dev/zero | tr '\\0' x; echo oem", 0},
  };
  for (const auto& [script, answer] : kScripts) {
    const std::string command = folder + "/vmkload_mod";
    std::ofstream(command) << "#!/bin/sh\n" << script << "\n";
    chmod(command.c_str(), 0755);
    EXPECT_EQ(PUBLISHED(IsOEMDriver)(), answer) << script;
  }
  std::filesystem::remove_all(folder);
  EXPECT_EQ(PUBLISHED(IsOEMDriver)(), 0) << "no such command";
  setenv("PATH", path.c_str(), 1);
}

}  // namespace
