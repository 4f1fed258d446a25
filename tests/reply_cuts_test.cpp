// Every reply cut at nothing, and before and after each field that is read.
#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>

#include "simulator/command_decoder.h"
#include "tests/expected_outcomes.h"

namespace {

namespace wire = simulator::wire;
using simulator::FaultAction;
using simulator::FaultRule;

struct Field {
  uint32_t offset;
  uint32_t size;
};
#define FIELD(layout, field) Field({offsetof(wire::layout, field), sizeof(wire::layout::field)})

/// One reply: its fields that are read, and what the host gets when no more than `cut` bytes arrive.
struct Reply {
  FaultRule rule;
  std::vector<Field> fields;
  void (*lose)(ExpectedOutcomes&, uint32_t cut, bool extended);
};

FaultRule rule(const char* call, uint32_t from = 1, uint32_t count = UINT32_MAX) {
  return {.call = call, .from = from, .count = count, .action = FaultAction::length};
}

FaultRule ofDrive(uint32_t drive) {
  return {.call = "identifyPhysicalDevice", .drive = drive, .action = FaultAction::length};
}

const std::vector<Field> kDriveFields = {
    FIELD(IdentifyPhysicalDevice, serial),
    FIELD(IdentifyPhysicalDevice, box),
    FIELD(IdentifyPhysicalDevice, bay),
    FIELD(IdentifyPhysicalDevice, uniqueInquiryResponse),
    FIELD(IdentifyPhysicalDevice, currentTemperature),
    FIELD(IdentifyPhysicalDevice, maximumTemperature),
    FIELD(IdentifyPhysicalDevice, switchName),
    FIELD(IdentifyPhysicalDevice, connectorName),
    FIELD(IdentifyPhysicalDevice, deviceId),
    FIELD(IdentifyPhysicalDevice, boxConnectorName),
};

/// Place and temperatures of a drive whose reply was cut.
std::pair<std::string, std::string> cutDrive(uint32_t cut, const std::string& bay) {
  using Drive = wire::IdentifyPhysicalDevice;
  const auto reached = [&](size_t offset, const std::string& value, const char* otherwise) {
    return cut > offset ? value : otherwise;
  };
  return {reached(offsetof(Drive, connectorName), "1I", "") + ":" + reached(offsetof(Drive, box), "1", "0") + ":" +
              reached(offsetof(Drive, bay), bay, "0"),
          reached(offsetof(Drive, currentTemperature), "30", "0") + "/" +
              reached(offsetof(Drive, maximumTemperature), "60", "0")};
}

const Reply kReplies[] = {
    {rule("query"),
     {{96, 4}, {96 + 12, 156}, {96 + 168, 4}, {96 + 9 * 168, 168}},
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut > 96 + 12) return;
       e.failAll(kVolume, kOpenFails);
       e.failAll(kDisk, kOpenFails);
     }},
    {rule("identifyController"),
     {FIELD(IdentifyController, localVolumes), FIELD(IdentifyController, maxLogicalDrives),
      FIELD(IdentifyController, localVolumes16), FIELD(IdentifyController, maxPhysicalDevices),
      FIELD(IdentifyController, maxDrivesPerLogicalUnit), FIELD(IdentifyController, extendedBlinkArray)},
     [](ExpectedOutcomes& e, uint32_t cut, bool extended) {
       if (cut < 154) e.refuseCache(kVolume, -1);  // the limit is not that of the cache configuration
       if (cut < 160) e.loseMap();                 // nor that of the member map
       if (cut < 158 || (extended && cut < 164)) e.refuseLed(kDisk);
       if (extended && cut < 164) e.refuseLed(kVolume);
       if (cut < 1) e.failAll(kVolume, kNotFound);  // an external volume has another address
     }},
    {rule("reportLogicalLuns", 1, 1),
     {{0, 4}},
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut < 4) e.failAll(kVolume, kNotFound);
     }},
    {rule("reportLogicalLuns", 2, 1),
     {{0, 4}, {8, 8}},
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut < 16) e.failAll(kVolume, kNotFound);
     }},
    {rule("reportPhysicalLuns", 1, 1),
     {{0, 4}},
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut < 4) e.loseDrives();
     }},
    {rule("reportPhysicalLuns", 2, 1),
     {{0, 4}, {4, 1}, {8, 8}, {16, 8}, {24, 1}, {32, 8}, {40, 8}, {48, 1}, {56, 8}, {64, 8}, {72, 1}},
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut < 16) e.loseMember(0);
       if (cut < 40) e.loseMember(1);
       if (cut < 64) e.failAll(kDisk, kNotFound);
     }},
    {rule("identifyLogicalDevice"),
     {FIELD(IdentifyLogicalDevice, externalBoxId), FIELD(IdentifyLogicalDevice, logicalDriveId),
      FIELD(IdentifyLogicalDevice, label), FIELD(IdentifyLogicalDevice, uniqueVolumeId)},
     [](ExpectedOutcomes&, uint32_t, bool) {}},
    {rule("senseConfiguration"),
     {FIELD(SenseConfiguration, controllerDrives),
      FIELD(SenseConfiguration, memberDrives),
      FIELD(SenseConfiguration, faultTolerance),
      FIELD(SenseConfiguration, membersAt),
      FIELD(SenseConfiguration, sparesAt),
      FIELD(SenseConfiguration, totalLength),
      FIELD(SenseConfiguration, maxPhysicalDevices),
      FIELD(SenseConfiguration, maxDrivesPerLogicalUnit),
      FIELD(SenseConfiguration, fixedLength),
      {300, 1},
      {301, 128}},
     [](ExpectedOutcomes& e, uint32_t cut, bool extended) {
       if (cut < 12) return e.setDriveCount(0, 0);
       if (cut < 14) e.setDriveCount(2, 0);
       if (cut < 264) return e.loseMap();
       if (cut < 302 || (extended && cut < 337)) e.dropMember(1);
       if (cut < 301) e.dropMember(0);
     }},
    {ofDrive(2), kDriveFields,
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       const auto [place, temperatures] = cutDrive(cut, "2");
       e.setMember(0, place, temperatures);
     }},
    {ofDrive(5), kDriveFields,
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut < 92) return e.failAll(kDisk, kNotFound);
       const auto [place, temperatures] = cutDrive(cut, "5");
       e.outcomes[kDisk + kLocation].output = "port:box:bay " + place;
       e.outcomes[kDisk + kTemperature].output = temperatures;
     }},
    {rule("senseBlinkDriveLed"),
     {FIELD(BlinkBuffer, duration),
      FIELD(BlinkBuffer, elapsed),
      FIELD(BlinkBuffer, enable),
      FIELD(BlinkBuffer, extendedAt),
      FIELD(BlinkBuffer, maxPhysicalDevices),
      FIELD(BlinkBuffer, totalLength),
      FIELD(BlinkBuffer, fixedLength),
      {276, 1024}},
     [](ExpectedOutcomes& e, uint32_t cut, bool extended) {
       if (cut < 276) e.refuseLed(kVolume);  // the controller does not know what goes back for its own
       if (cut < 276 || (extended && cut < 276 + 1024)) e.refuseLed(kDisk);
     }},
    {rule("senseControllerParameters"),
     {FIELD(ControllerParameters, driveConfigFlags)},
     [](ExpectedOutcomes&, uint32_t, bool) {}},
    {rule("senseCacheConfiguration"),
     {FIELD(CacheConfiguration, cacheOffAt),
      FIELD(CacheConfiguration, flushAt),
      FIELD(CacheConfiguration, readCacheOffAt),
      FIELD(CacheConfiguration, totalLength),
      FIELD(CacheConfiguration, maxLogicalDrives),
      FIELD(CacheConfiguration, writeCacheOffAt),
      FIELD(CacheConfiguration, fixedLength),
      {267, 8}},
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut < 28) e.refuseCache(kVolume, cut < 22 ? -1 : kInvalidData);
     }},
    {rule("ioctl"),
     {{1, 1}, {2, 2}, {4, 21}},
     [](ExpectedOutcomes& e, uint32_t cut, bool) {
       if (cut < 4 + 21) e.loseSerialNumber();
     }},
};

class ReplyCuts : public ScenarioTest {};

TEST_F(ReplyCuts, AreOfEveryCommandThatReads) {
  for (const simulator::CommandLayout& command : simulator::kCommands) {
    const bool isCut = std::any_of(std::begin(kReplies), std::end(kReplies),
                                   [&](const Reply& reply) { return reply.rule.call == command.name; });
    EXPECT_NE(isCut, command.toController) << command.name;
  }
}

TEST_F(ReplyCuts, BeforeAndAfterEachField) {
  for (const bool isExtended : {false, true}) {
    const simulator::Topology whole = isExtended ? extended() : small();
    load(whole);
    const Outcomes good = run();
    for (const Reply& reply : kReplies) {
      std::set<uint32_t> cuts = {0};
      for (const Field& field : reply.fields) {
        cuts.insert(field.offset);
        cuts.insert(field.offset + field.size);
      }
      for (const uint32_t cut : cuts) {
        SCOPED_TRACE(reply.rule.call + " cut at " + std::to_string(cut));
        simulator::Topology topology = whole;
        topology.faults.push_back(reply.rule);
        topology.faults.back().value = cut;
        ExpectedOutcomes expected(good);
        reply.lose(expected, cut, isExtended);
        load(topology);
        hostCalls.traceOn = true;
        EXPECT_EQ(run(), expected.outcomes);
        expectNothingLeft();
        takeTrace();
        EXPECT_GT(host.faults().front().hits, 0u);
        load(whole);
        expectRecovered(good);
      }
    }
  }
}

}  // namespace
