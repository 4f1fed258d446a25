// Every call that the plugin makes fails in turn: allocations, calls of the driver, calls of the platform; each alone,
// and with all of its kind that follow. What the host must get then is worked out here from what the call is for.
#include <cerrno>
#include <cstring>
#include <set>

#include "tests/expected_outcomes.h"
#include "tests/failed_calls.h"

namespace {

/// The place in the sources from which each line was written.
std::vector<std::string> placesOf(const std::vector<std::string>& writes) {
  static const testing::Matcher<const std::string&> isPlace = testing::MatchesRegex("[A-Za-z0-9_]+:[0-9]+");
  std::vector<std::string> places;
  for (const std::string& write : writes) {
    places.push_back(write.substr(0, write.find(' ')));
    EXPECT_THAT(places.back(), isPlace);
  }
  return places;
}

class FaultSweep : public ScenarioTest, public testing::WithParamInterface<const char*> {
 protected:
  FaultSweep() {
    load(controller());
    (void)run();  // what is allocated once for good is there before anything is counted
    load(controller());
    hostCalls.traceOn = true;
    hostCalls.recording = true;
    good = run();
    expectNothingLeft();
    std::swap(calls, hostCalls.made);
    places = placesOf(takeTraceWrites());
  }

  static simulator::Topology controller() {
    const std::string name = GetParam();
    return name == "Small" ? small() : name == "Extended" ? extended() : askedTwice();
  }

  /// Runs the scenario anew with one of its calls failing.
  Outcomes runWithout(size_t call, bool andLater, int32_t code, uint32_t status) {
    load(controller());
    hostCalls.made.clear();
    hostCalls.traceOn = hostCalls.recording = true;
    hostCalls.failAt = call;
    hostCalls.failLater = andLater;
    hostCalls.failCode = code;
    hostCalls.failStatus = status;
    Outcomes outcomes = run();
    expectNothingLeft();
    return outcomes;
  }

  template <typename Which>
  [[nodiscard]] std::vector<size_t> callsThat(Which which) const {
    std::vector<size_t> found;
    for (size_t i = 0; i < calls.size(); ++i) {
      if (which(calls[i])) found.push_back(i);
    }
    return found;
  }

  [[nodiscard]] std::string describe(size_t i) const {
    return std::string(calls[i].name) + " of " + std::to_string(calls[i].size) + " in step " +
           std::to_string(calls[i].step) + ", call " + std::to_string(i);
  }

  /// Lets a call fail, and sees what the host and the trace get and that the next run is as good as the first.
  /// @param traced  what the channel says; the caller's words follow
  void tryWithout(size_t call, bool andLater, int32_t code, uint32_t status, const std::string& traced) {
    SCOPED_TRACE(describe(call) + ", status " + std::to_string(status) + (andLater ? ", and later" : ""));
    const int32_t result = status == 0 ? code : static_cast<int32_t>(status);
    FailedCalls expected(good, calls);
    andLater ? expected.failFrom(call, result) : expected.fail(call, result);
    EXPECT_EQ(runWithout(call, andLater, code, status), expected.outcomes);
    EXPECT_THAT(takeTrace(), testing::HasSubstr(traced + expected.trace(call)));
    expectRecovered(good);
  }

  Outcomes good;
  std::vector<PluginCall> calls;
  std::vector<std::string> places;  ///< of the lines of the trace
};

TEST_P(FaultSweep, OneAllocationFails) {
  const std::vector<size_t> points = callsThat([](const PluginCall& call) { return call.isAllocation(); });
  const std::vector<size_t> lists =
      callsThat([](const PluginCall& call) { return call.is("new") && call.step == kVolume + kLocation; });
  EXPECT_EQ(lists.size(), kNewCanFail ? 1u : 0u) << "the list of locations is made at its size";
  EXPECT_GE(points.size(), kNewCanFail ? 34u : 24u);
  for (const size_t i : points) tryWithout(i, false, 0, 0, "");
}

/// What an operation may end with while nothing can be allocated; a snapshot of before may still answer it.
bool isAnswerWithoutMemory(size_t step, const Outcome& outcome, const Outcome& good) {
  const size_t operation = (step - kVolume) % kOperations;
  const bool isCache = operation == kCacheOn || operation == kCacheOff;
  if (outcome.result == -1) return isCache ? outcome.output == "off" : outcome.output != good.output;
  switch (operation) {
    case kInfo:
      return outcome == good || (step == kVolume && outcome.output == "1/0/0");
    case kLed:
      return outcome == Outcome{0, "before", "0 blinking"};
    case kTemperature:
      return (step > kDisk && outcome == good) || outcome == Outcome{0, "before", kUntouched};
    case kLocation:
      return outcome == Outcome{0, "before", kUntouched};
    default:
      return false;
  }
}

TEST_P(FaultSweep, MemoryRunsOut) {
  if (!kNewCanFail) GTEST_SKIP() << "what operator new gives cannot run out here";
  const std::vector<size_t> points = callsThat([](const PluginCall& call) { return call.isAllocation(); });
  for (const size_t i : points) {
    SCOPED_TRACE(describe(i));
    const Outcomes outcomes = runWithout(i, true, 0, 0);
    for (size_t step = 0; step < outcomes.size(); ++step) {
      if (step < calls[i].step) {
        EXPECT_EQ(outcomes[step], good[step]);
      } else if (step > calls[i].step && step >= kVolume) {
        EXPECT_TRUE(isAnswerWithoutMemory(step, outcomes[step], good[step])) << step << ": " << outcomes[step];
      }
    }
    expectRecovered(good);
  }
}

/// What the channel traces of a call of the driver that failed with code 0xBAD0005, or with status 0x77.
std::string traceOf(const PluginCall& call, uint32_t status) {
  if (call.is("destroy")) return "";
  if (call.is("init")) return "OrvaInfo_Init: Failed to initialize management handle, 0xbad0005.\n";
  if (status == 0) return "Failed to invoke callback, 0xbad0005.\n";
  if (call.is("query")) return "OrvaInfo_QueryHBA: Failed to query instances, error returned from driver: 0x77.\n";
  return "OrvaInfo_ExeCmd: Failed to execute command, error returned from driver, 0x77.\n";
}

TEST_P(FaultSweep, CallsOfTheDriverFail) {
  const std::vector<size_t> points = callsThat([](const PluginCall& call) { return call.isOfDriver(); });
  EXPECT_GE(points.size(), 12u * 2 + 11 + 12) << "channels, a snapshot, and the LED's and the settings' commands";
  for (const size_t i : points) {
    const bool isChannel = calls[i].is("init") || calls[i].is("destroy");
    for (const uint32_t status : {0u, 0x77u}) {
      if (isChannel && status != 0) continue;
      for (const bool andLater : {false, true}) {
        tryWithout(i, andLater, 0xBAD0005, status, traceOf(calls[i], status));
      }
    }
  }
}

TEST_P(FaultSweep, CallsOfThePlatformFail) {
  const std::vector<size_t> points = callsThat([](const PluginCall& call) {
    return !call.isAllocation() && !call.isOfDriver() && !call.is("access") && !call.is("fopen");
  });
  EXPECT_EQ(points.size(), 12u * 2 + 3) << "the lock of each operation, the node and the module loader";
  for (const size_t i : points) {
    for (const bool andLater : {false, true}) tryWithout(i, andLater, EDEADLK, 0, "");
  }
}

TEST_P(FaultSweep, ALineOfTheTraceIsNotWritten) {
  for (const char* name : {"access", "fopen"}) {
    const std::vector<size_t> points = callsThat([&](const PluginCall& call) { return call.is(name); });
    ASSERT_EQ(points.size(), places.size()) << "one for each line";
    std::set<std::string> seen;
    for (size_t line = 0; line < points.size(); ++line) {
      if (!seen.insert(places[line]).second) continue;
      for (const bool andLater : {false, true}) {
        SCOPED_TRACE(std::string(name) + " for " + places[line]);
        std::vector<std::string> expected = places;
        expected.erase(expected.begin() + static_cast<ptrdiff_t>(line),
                       andLater ? expected.end() : expected.begin() + static_cast<ptrdiff_t>(line) + 1);
        EXPECT_EQ(runWithout(points[line], andLater, 0, 0), good);
        EXPECT_EQ(placesOf(takeTraceWrites()), expected);
      }
    }
    EXPECT_GE(seen.size(), 70u);
  }
}

TEST_P(FaultSweep, NothingFails) {
  Outcomes expected = {{0, "", ""},
                       {0, "", "SERIAL-OF-A-DISK-0005"},
                       {0, "before", "1/2/1"},
                       {2, "before", "2 blinking"},
                       {2, "before", "on"},
                       {2, "before", "off"},
                       {2, "before", "41/60, 30/60"},
                       {2, "before", "port:box:bay 1I:1:10, port:box:bay 1I:1:2"},
                       {0, "before", "2/-/-"},
                       {1, "before", "1 blinking"},
                       {1, "before", "on"},
                       {1, "before", "off"},
                       {1, "before", "30/60"},
                       {1, "before", "port:box:bay 1I:1:5"}};
  if (GetParam() == std::string("AskedTwice")) {
    for (const Operation cache : {kCacheOn, kCacheOff}) expected[kVolume + cache] = {kInvalidData, "before", "off"};
  }
  EXPECT_EQ(good, expected);
}

INSTANTIATE_TEST_SUITE_P(Controllers, FaultSweep, testing::Values("Small", "Extended", "AskedTwice"),
                         [](const auto& controller) { return std::string(controller.param); });

}  // namespace
