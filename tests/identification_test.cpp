// What is read of a controller, of a volume and of a drive.
#include <cstring>

#include "channel/management_channel.h"
#include "controller/controller_identification.h"
#include "controller/logical_drive.h"
#include "controller/physical_drive.h"
#include "tests/host_process.h"
#include "tests/model.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

class Identification : public PluginTest {
 protected:
  ~Identification() override { PUBLISHED(OrvaInfo_Cleanup)(); }
};

TEST_F(Identification, OfTheFlagsTheExtendedBlinkArraysAloneChanges) {
  for (const bool takes : {true, false}) {
    simulator::Controller controller = model::controller();
    controller.extendedBlinkArray = takes;
    host.load(model::topology(controller));
    OrvaInfo* info = openCtrl("vmhba1");
    info->ctrlFlags = takes ? 0x80 : 0x82;
    EXPECT_EQ(PUBLISHED(OrvaInfo_GetInfoFromCtrl)(info), 0);
    EXPECT_EQ(info->ctrlFlags, takes ? 0x82 : 0x80);
  }
}

TEST_F(Identification, AMemberMapIsReplacedByAGoodReplyAlone) {
  simulator::Controller controller = model::controller();
  controller.volumes = {model::volume(0x102, {0, 9, 255})};
  host.load(model::topology(controller));
  OrvaInfo* info = openCtrl("vmhba1");
  const size_t blocks = heldByPlugin().blocks;
  OrvaInfo_Devices entry = {};
  entry.lunAddress = {{2, 1, 0, 0x40, 0, 0, 0, 0}};
  const auto sense = [&] { return PUBLISHED(OrvaInfo_SenseConfiguration)(info, &entry); };
  EXPECT_EQ(sense(), 0);
  ASSERT_NE(entry.raidMap, nullptr);
  EXPECT_THAT(std::vector<uint8_t>(entry.raidMap, entry.raidMap + 2), ElementsAre(1, 2));
  EXPECT_EQ(entry.raidMap[31], 0x80);
  EXPECT_EQ(sense(), 0);
  EXPECT_EQ(heldByPlugin().blocks, blocks + 1) << "the old map was released";
  for (const uint32_t offset : {260u, 262u}) {
    host.addFault(model::put("senseConfiguration", offset, {1}, 1, 1));
    hostCalls.traceOn = true;
    EXPECT_EQ(sense(), 0);
    EXPECT_NE(entry.raidMap, nullptr);
    EXPECT_THAT(takeTrace(), EndsWith("Error: inconsistent MaxPhysDrivesPerLogicalUnit or supported.\n"));
  }
  std::free(entry.raidMap);
}

TEST_F(Identification, DriveIndexComesFromBusAndTarget) {
  const std::pair<vlexCmdLunAddress, uint32_t> kAddresses[] = {{{{0, 0, 0, 0xC0, 0, 0, 5, 1}}, 5},
                                                               {{{0, 0, 0, 0, 0, 0, 0, 2}}, 256},
                                                               {{{9, 9, 9, 0x80, 9, 9, 5, 0x41}}, 5},
                                                               {{{0, 0, 0, 0xC0, 0, 0, 255, 0x3F}}, 62 * 256 + 255},
                                                               {{{0, 0, 0, 0xC0, 0, 0, 7, 0xC0}}, 0xFFFFFF07},
                                                               {{{0, 0, 0, 0x40, 0, 0, 5, 1}}, 0xFFFFFFFF}};
  for (const auto& [address, index] : kAddresses) EXPECT_EQ(PUBLISHED(OrvaInfo_GetBMICDeviceIndex)(&address), index);
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
    std::memset(entry.serialNo, 0x7E, sizeof(entry.serialNo) - 1);
    std::memcpy(entry.serialNo, "before", 7);
    entry.serialNoLength = 6;
    std::vector<unsigned char> field(c.field.begin(), c.field.end());
    const int result = PUBLISHED(OrvaInfo_ParseSerialNo)(field.data(), static_cast<uint8_t>(field.size()), &entry);
    EXPECT_EQ(result, c.stored == nullptr ? -1 : 0) << c.field;
    EXPECT_STREQ(entry.serialNo, c.stored == nullptr ? "before" : c.stored);
    EXPECT_EQ(entry.serialNoLength, std::strlen(entry.serialNo));
  }
}

}  // namespace
