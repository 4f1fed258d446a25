// Every limit, length, count and offset that a controller has or reports, one below, at and one above its bound.
#include <algorithm>
#include <climits>

#include "tests/expected_outcomes.h"
#include "tests/model.h"

namespace {

using Lose = void (*)(ExpectedOutcomes&);

/// A change to the controller or to its replies, and what the host gets then.
struct Bound {
  const char* name;
  std::function<void(simulator::Topology&)> change;
  Lose lose;
  bool extended = false;
  bool asksForMost = false;  ///< whether a buffer of the longest command is asked for, which nobody has
};

/// Bytes that stand in each reply of a command.
auto put(const char* call, uint32_t offset, const std::vector<uint8_t>& bytes, uint32_t from = 1,
         uint32_t count = UINT32_MAX) {
  return [=](simulator::Topology& t) { t.faults.push_back(model::put(call, offset, bytes, from, count)); };
}
auto put16(const char* call, uint32_t offset, uint16_t value) {
  return put(call, offset, {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)});
}
/// The length of a report's list, in its first or second reply.
auto putLength(const char* call, uint32_t reply, uint32_t length) {
  const auto byte = [&](int shift) { return static_cast<uint8_t>(length >> shift); };
  return put(call, 0, {byte(24), byte(16), byte(8), byte(0)}, reply, 1);
}
auto maxDevices(uint16_t count) {
  return [=](simulator::Topology& t) { t.controllers[0].maxPhysDevicesSupported = count; };
}
auto maxUnits(uint16_t count) {
  return [=](simulator::Topology& t) { t.controllers[0].maxLogicalDrivesSupported = count; };
}
auto volumeNumber(uint32_t number) {
  return [=](simulator::Topology& t) { t.controllers[0].volumes[0].number = number; };
}
auto deviceType(size_t drive, uint8_t type) {
  return [=](simulator::Topology& t) { t.controllers[0].drives[drive].deviceType = type; };
}
auto diskAt(uint8_t bus, uint8_t target) {
  return [=](simulator::Topology& t) {
    t.controllers[0].drives[2].bus = bus;
    t.controllers[0].drives[2].target = target;
  };
}
/// The member map stands elsewhere in the reply.
auto mapAt(uint16_t offset) {
  return [=](simulator::Topology& t) {
    put16("senseConfiguration", 250, offset)(t);
    put("senseConfiguration", offset, {1 << 2, 1 << 2})(t);
  };
}
auto cacheBitmapsAt(uint16_t first, uint16_t last) {
  return [=](simulator::Topology& t) {
    put16("senseCacheConfiguration", 9, first)(t);
    put16("senseCacheConfiguration", 22, last)(t);
  };
}

constexpr Lose nothing = [](ExpectedOutcomes& /*unchanged*/) {};
constexpr Lose noVolume = [](ExpectedOutcomes& e) { e.failAll(kVolume, kNotFound); };
constexpr Lose noDisk = [](ExpectedOutcomes& e) { e.failAll(kDisk, kNotFound); };
constexpr Lose noDrives = [](ExpectedOutcomes& e) { e.loseDrives(); };
constexpr Lose noMap = [](ExpectedOutcomes& e) { e.loseMap(); };
constexpr Lose noDiskLed = [](ExpectedOutcomes& e) { e.refuseLed(kDisk); };
constexpr Lose noCache = [](ExpectedOutcomes& e) { e.refuseCache(kVolume, -1); };
constexpr Lose cacheRefused = [](ExpectedOutcomes& e) { e.refuseCache(kVolume, kInvalidData); };
constexpr Lose oneMember = [](ExpectedOutcomes& e) { e.dropMember(1); };
constexpr Lose noDevices = [](ExpectedOutcomes& e) {
  noVolume(e);
  noDisk(e);
};
constexpr Lose noLed = [](ExpectedOutcomes& e) {
  e.refuseLed(kVolume);
  e.refuseLed(kDisk);
};
/// What a volume of so many members becomes; level 64: RAID 1 of more than two.
template <int32_t count, int32_t level = 64>
constexpr Lose members = [](ExpectedOutcomes& e) { e.setDriveCount(count, level); };

const Bound kBounds[] = {
    {"logical list announced, -1", putLength("reportLogicalLuns", 1, 7), noVolume},
    {"logical list announced, +1", putLength("reportLogicalLuns", 1, 9), nothing},
    {"logical list, -1", putLength("reportLogicalLuns", 2, 7), noVolume},
    {"logical list, +1", putLength("reportLogicalLuns", 2, 9), nothing},
    {"logical list, next entry", putLength("reportLogicalLuns", 2, 16), nothing},
    {"logical list of one command, 0", putLength("reportLogicalLuns", 1, 0x7FFFFFF7), noDevices, false, true},
    {"logical list of one command, +1", putLength("reportLogicalLuns", 1, 0x7FFFFFF8), noDevices},
    {"logical list beyond 32 bits", putLength("reportLogicalLuns", 1, 0xFFFFFFF8), noDevices},
    {"physical list announced, -1", putLength("reportPhysicalLuns", 1, 71), noDisk},
    {"physical list announced, +1", putLength("reportPhysicalLuns", 1, 73), nothing},
    {"physical list, -1", putLength("reportPhysicalLuns", 2, 71), noDisk},
    {"physical list, +1", putLength("reportPhysicalLuns", 2, 73), nothing},
    {"physical list, next entry", putLength("reportPhysicalLuns", 2, 96), nothing},
    {"physical list of one command, 0", putLength("reportPhysicalLuns", 1, 0x7FFFFFF7), noDrives, false, true},
    {"physical list of one command, +1", putLength("reportPhysicalLuns", 1, 0x7FFFFFF8), noDrives},
    {"physical list beyond 32 bits", putLength("reportPhysicalLuns", 1, 0xFFFFFFF8), noDrives},
    {"device type, 0", deviceType(2, 4), nothing},
    {"device type, +1", deviceType(2, 5), noDisk},
    {"device type of a member, +1", deviceType(1, 5), [](ExpectedOutcomes& e) { e.loseMember(1); }},
    {"device type in another report format",
     [](simulator::Topology& t) {
       deviceType(2, 5)(t);
       put("reportPhysicalLuns", 4, {1})(t);
     },
     nothing},
    {"local volumes, -1", put("identifyController", 0, {0}), noVolume},
    {"local volumes, +1", put("identifyController", 0, {2}), nothing},
    {"local volumes in 8 bits", put("identifyController", 154, {0}), nothing},
    {"local volumes in 16 bits, -1",
     [](simulator::Topology& t) {
       put("identifyController", 0, {0xFE})(t);
       put("identifyController", 154, {0})(t);
     },
     nothing},
    {"local volumes in 16 bits, 0", put("identifyController", 0, {0xFF}), nothing},
    {"local volumes in 16 bits and none",
     [](simulator::Topology& t) {
       put("identifyController", 0, {0xFF})(t);
       put("identifyController", 154, {0})(t);
     },
     noVolume},
    {"extended array by the high byte", put("identifyController", 162, {0, 1}), nothing, true},
    {"drives of the fixed blink array, -1", maxDevices(255), nothing},
    {"drives of the fixed blink array, +1", maxDevices(257), noLed},
    {"last drive of the map, -1", maxDevices(15), oneMember},
    {"last drive of the map, 0", maxDevices(16), nothing},
    {"last drive of the map, +1", maxDevices(17), nothing},
    {"last drive of the extended array, -1", maxDevices(295), oneMember, true},
    {"last drive of the extended array, 0", maxDevices(296), nothing, true},
    {"last drive of the extended array, +1", maxDevices(297), nothing, true},
    {"blink buffer of one command, 0", maxDevices(65535 - 276), nothing, true},
    {"blink buffer of one command, +1", maxDevices(65536 - 276), noLed, true},
    {"disk in the extended array, 0", diskAt(4, 255), nothing, true},
    {"disk in the extended array, +1", diskAt(5, 0), noDiskLed, true},
    {"disk in the fixed array, 0", diskAt(1, 255), nothing},
    {"disk in the fixed array, +1", diskAt(2, 0), noDiskLed},
    {"devices of the member map, -1", put16("senseConfiguration", 260, 255), noMap},
    {"devices of the member map, +1", put16("senseConfiguration", 260, 257), noMap},
    {"drives of a logical unit, -1", put16("senseConfiguration", 262, 127), noMap},
    {"drives of a logical unit, +1", put16("senseConfiguration", 262, 129), noMap},
    {"map in the first reply, -1", mapAt(479), nothing},
    {"map in the first reply, 0", mapAt(480), nothing},
    {"map in the first reply, +1", mapAt(481), nothing},
    {"map in the longest reply, 0", mapAt(65471), nothing},
    {"map in the longest reply, +1", mapAt(65472), noMap},
    {"map that no longer reply holds",
     [](simulator::Topology& t) {
       maxDevices(3)(t);
       put16("senseConfiguration", 250, 512)(t);
     },
     noMap},
    {"no member", put16("senseConfiguration", 10, 0), members<0, 1>},
    {"one member", put16("senseConfiguration", 10, 1), members<1, 1>},
    {"three members", put16("senseConfiguration", 10, 3), members<3>},
    {"members in 8 bits, -1", put16("senseConfiguration", 10, 255), members<255>},
    {"members in 8 bits, 0", put16("senseConfiguration", 10, 256), members<0>},
    {"members in 8 bits, +1", put16("senseConfiguration", 10, 257), members<1>},
    {"units of the cache configuration, -1", put16("senseCacheConfiguration", 20, 63), noCache},
    {"units of the cache configuration, +1", put16("senseCacheConfiguration", 20, 65), noCache},
    {"cache bitmaps in the first reply, -1", cacheBitmapsAt(479, 504), cacheRefused},
    {"cache bitmaps in the first reply, 0", cacheBitmapsAt(480, 504), noCache},
    {"cache bitmaps in the first reply, +1", cacheBitmapsAt(481, 504), noCache},
    {"cache bitmaps in the second reply", cacheBitmapsAt(480, 505), cacheRefused},
    {"cache bitmaps in the longest reply, 0", cacheBitmapsAt(480, 65016), cacheRefused},
    {"cache bitmaps in the longest reply, +1", cacheBitmapsAt(480, 65017), noCache},
    {"cache bitmaps before the fixed part", cacheBitmapsAt(480, 0), noCache},
    {"cache bitmaps that end at no byte",
     [](simulator::Topology& t) {
       maxUnits(7)(t);
       cacheBitmapsAt(510, 0)(t);
     },
     noCache},
    {"units in one block, -1", maxUnits(489), nothing},
    {"units in one block, 0", maxUnits(490), nothing},
    {"units in one block, +1", maxUnits(492), nothing},
    {"last unit, -1", volumeNumber(62), nothing},
    {"last unit, 0", volumeNumber(63), nothing},
    {"last unit, +1", volumeNumber(64), noCache},
    {"place of the extended array", put("senseBlinkDriveLed", 264, {1}), noLed},
    {"devices of the blink buffer", put("senseBlinkDriveLed", 266, {1}), nothing},
    {"length of the blink buffer", put("senseBlinkDriveLed", 268, {1}), nothing},
    {"fixed length of the blink buffer", put("senseBlinkDriveLed", 272, {1}), noLed},
};

class Bounds : public ScenarioTest {};

TEST_F(Bounds, LimitsAndOffsets) {
  for (const Bound& bound : kBounds) {
    SCOPED_TRACE(bound.name);
    simulator::Topology topology = bound.extended ? extended() : small();
    load(topology);
    ExpectedOutcomes expected(run());
    bound.lose(expected);
    bound.change(topology);
    load(topology);
    hostCalls.made.clear();
    hostCalls.traceOn = hostCalls.recording = true;
    EXPECT_EQ(run(), expected.outcomes);
    const bool asked = std::any_of(hostCalls.made.begin(), hostCalls.made.end(),
                                   [](const PluginCall& call) { return call.size == INT32_MAX; });
    EXPECT_EQ(asked, bound.asksForMost);
    for (const simulator::FaultReport& fault : host.faults()) EXPECT_GT(fault.hits, 0u) << fault.rule.call;
    expectNothingLeft();
    takeTrace();
  }
}

}  // namespace
