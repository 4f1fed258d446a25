// The channel, the layout of commands, and the search for a controller. The driver checks its own description at every
// opening of a channel, and every command that it is sent.
#include <cstdlib>
#include <cstring>

#include "channel/command.h"
#include "channel/command_buffer.h"
#include "channel/instance_query.h"
#include "channel/management_channel.h"
#include "tests/host_process.h"
#include "tests/model.h"

namespace {

class Channel : public PluginTest {
 protected:
  ~Channel() override { PUBLISHED(OrvaInfo_Cleanup)(); }
};

/// A CDB with numbers that no command of a scenario has; bytes that are not given are 0.
struct CdbCase {
  const char* name;
  uint8_t opcode;
  uint64_t cmdParam;
  int32_t length;
  std::vector<uint8_t> cdb;
};

TEST_F(Channel, LaysOutCommandsWithNumbersOfEverySize) {
  const CdbCase kCases[] = {
      {"a logical drive of 32 bits", 0x10, 0x12345678, 512, {0x26, 0x78, 0, 0, 0, 0, 0x10, 0x02, 0x00, 0x56}},
      {"no drive index", 0x15, ~uint64_t{0}, 2560, {0x26, 0, 0xFF, 0, 0, 0, 0x15, 0x0A, 0x00, 0xFF}},
      {"a length of 17 bits", 0xC0, 7, 0x12345, {0x27, 0, 0, 0, 0, 0, 0xC0, 0x01, 0x23}},
      {"a length of 32 bits", 0xC3, 0x302, 0x12345678, {0xC3, 2, 0, 0, 0, 0, 0x12, 0x34, 0x56, 0x78}},
      {"another opcode", 0x12, 0xFF, 512, {0x12}},
  };
  const vlexCmdLunAddress address = {{1, 2, 3, 4, 5, 6, 7, 8}};
  char buffer[1];
  for (const CdbCase& expected : kCases) {
    pqi_ioctl_passthruCmd_struct record = {};
    EXPECT_EQ(
        PUBLISHED(OrvaInfo_FillCmd)(expected.opcode, 0, expected.cmdParam, buffer, expected.length, &address, &record),
        0);
    std::vector<uint8_t> cdb = expected.cdb;
    cdb.resize(sizeof(record.cdb));
    EXPECT_THAT(record.cdb, testing::ElementsAreArray(cdb)) << expected.name;
    EXPECT_EQ(std::memcmp(&record.lunAddress, &address, sizeof(address)), 0);
    EXPECT_EQ(record.bufferSize, expected.length & 0xFFFF) << expected.name;
  }
}

TEST_F(Channel, WithoutAStatusOfTheDriverACommandHasSucceeded) {
  auto info = std::make_unique<OrvaInfo>();
  alignas(16) uint8_t reply[512] = {};
  hostCalls.recording = true;
  EXPECT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  hostCalls.failAt = hostCalls.made.size();  // with code 0
  EXPECT_EQ(PUBLISHED(OrvaInfo_ExeCmd)(0x11, 0, 0, reply, 512, &PUBLISHED(controllerAddress), info.get()), 0);
  std::free(PUBLISHED(orvamalloc)(5));
  EXPECT_EQ(hostCalls.alignment, 16u);
}

TEST_F(Channel, SaysWithWhichCodeItsOpeningFailed) {
  hostCalls.recording = true;
  hostCalls.failAt = hostCalls.made.size();
  hostCalls.failCode = 0x2301;
  EXPECT_EQ(PUBLISHED(OrvaInfo_Init)(), 0x2301u);
  EXPECT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u) << "nothing was left of it";
}

TEST_F(Channel, FindsTheFirstUsedInstanceOfAName) {
  const std::string unterminated(156, 'u');
  const std::tuple<uint32_t, uint32_t, std::string> kInstances[] = {
      {3, 0xFFFFFFFF, "unused"}, {4, 0, "twice"}, {5, 1, "twice"}, {6, 2, unterminated}, {9, 0xFFFFFFFE, "last"}};
  for (const auto& [number, id, name] : kInstances) {
    std::vector<uint8_t> entry(168);
    std::memcpy(entry.data(), &id, 4);
    std::copy(name.begin(), name.end(), entry.begin() + 12);
    host.addFault(model::put("query", 96 + 168 * number, entry));
  }
  const std::pair<std::string, int> kNames[] = {
      {"vmhba2", 0},  {"Vmhba2", -1}, {"vmhba2 ", -1}, {"vmhba", -1},     {"twice", 4},
      {"unused", -1}, {"last", 9},    {"uuu", -1},     {unterminated, 6}, {unterminated + "u", -1}};
  ASSERT_EQ(PUBLISHED(OrvaInfo_Init)(), 0u);
  for (const auto& [name, number] : kNames) EXPECT_EQ(PUBLISHED(OrvaInfo_QueryHBA)(name.c_str()), number) << name;
  EXPECT_EQ(PUBLISHED(OrvaInfo_QueryHBA)(nullptr), -1);
}

}  // namespace
