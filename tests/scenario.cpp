// The scenario's controllers, its calls, and what is to hold after it.
#include "tests/scenario.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "controller/snapshot_cache.h"
#include "plugin/device_handle.h"
#include "tests/model.h"

namespace {

constexpr uint8_t kFiller = 0xEE;
constexpr uint32_t kFillerNumber = 0xEEEEEEEE;
constexpr int32_t kRoom = 4;

template <typename Record>
bool isFilled(const Record& record) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
  return std::all_of(bytes, bytes + sizeof(record), [](uint8_t byte) { return byte == kFiller; });
}

/// What the host got in its records, each filled before the call.
template <typename Record, size_t size, typename Show>
std::string show(const std::array<Record, size>& records, Show showOne) {
  std::string text;
  for (const Record& record : records) {
    if (!isFilled(record)) text += (text.empty() ? "" : ", ") + showOne(record);
  }
  return text.empty() ? kUntouched : text;
}

template <typename Record, size_t size>
std::array<Record, size> filled() {
  std::array<Record, size> records;
  std::memset(records.data(), kFiller, sizeof(records));
  return records;
}

std::string showNumber(uint32_t number) {
  return number == kFillerNumber || number == kFiller ? "-" : std::to_string(number);
}

}  // namespace

Outcomes callAll(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle,
                 const std::function<std::string(Operation)>& hardware) {
  Outcomes outcomes;
  const auto call = [&](auto invoke, auto output) {
    std::string text = "before";
    const int32_t result = invoke(text);
    outcomes.push_back({result, {text.data(), text.size()}, output()});  // a copy of the test's own
    if (hostCalls.recording) ++hostCalls.step;
  };
  const auto changed = [&](Operation operation) {
    return [&, operation] { return hardware ? hardware(operation) : std::string(); };
  };
  DmuDeviceInfo info{kFillerNumber, kFiller, kFillerNumber};
  call([&](std::string& text) { return plugin.getDeviceInfo(handle, &info, text); },
       [&] {
         if (info.deviceType == kFillerNumber) return std::string(kUntouched);
         return std::to_string(info.deviceType) + "/" + showNumber(info.physicalDisks) + "/" +
                showNumber(info.raidLevel);
       });
  call([&](std::string& text) { return plugin.setDriveLEDState(handle, 1, 30, text); }, changed(kLed));
  call([&](std::string& text) { return plugin.cacheOn(handle, text); }, changed(kCacheOn));
  call([&](std::string& text) { return plugin.cacheOff(handle, text); }, changed(kCacheOff));
  auto temperatures = filled<DriveTemperature, kRoom>();
  call([&](std::string& text) { return plugin.getDeviceTemperature(handle, temperatures.data(), kRoom, text); },
       [&] {
         return show(temperatures, [](const DriveTemperature& t) {
           return std::to_string(t.currentTemperature) + "/" + std::to_string(t.maximumTemperature);
         });
       });
  auto locations = filled<char*, kRoom>();
  call([&](std::string& text) { return plugin.getDeviceLocation(handle, locations.data(), kRoom, text); },
       [&] {
         return show(locations, [](char* text) {
           std::string copy = text == nullptr ? "null" : text;
           std::free(text);
           return copy;
         });
       });
  return outcomes;
}

ScenarioTest::ScenarioTest() {
  hostCalls.now = 5000;
}

simulator::Topology ScenarioTest::small() {
  simulator::Controller controller = model::controller();
  controller.drives = {model::drive(2), model::drive(10), model::drive(5, true)};
  controller.drives[1].currentTemperature = 41;
  controller.drives[2].serial = "SERIAL-OF-A-DISK-0005";  // longer than a string holds without memory of its own
  controller.volumes = {model::volume(0, {2, 10}, simulator::RaidLevel::raid1)};
  controller.volumes[0].cacheOn = false;
  return model::topology(controller);
}

simulator::Topology ScenarioTest::extended() {
  simulator::Topology topology = small();
  simulator::Controller& controller = topology.controllers[0];
  controller.maxPhysDevicesSupported = 1024;
  controller.extendedBlinkArray = true;
  controller.drives[1].bus = 2;
  controller.drives[1].target = 39;
  controller.volumes[0].members = {2, 295};
  return topology;
}

simulator::Topology ScenarioTest::askedTwice() {
  simulator::Topology topology = small();
  topology.faults = {model::put("senseConfiguration", 250, {480 & 0xFF, 480 >> 8}),
                     model::put("senseConfiguration", 480, {1 << 2, 1 << 2}),
                     model::put("senseCacheConfiguration", 9, {480 & 0xFF, 480 >> 8}),
                     model::put("senseCacheConfiguration", 22, {600 & 0xFF, 600 >> 8})};
  return topology;
}

void ScenarioTest::load(const simulator::Topology& topology) {
  topology_ = topology;
  hostCalls.recording = false;
  PUBLISHED(OrvaInfo_CleanupCtrls)();
  PUBLISHED(OrvaInfo_CloseCtrl)(nullptr);
  host.load(topology);
  (void)host.takeCommands();
  takeTrace();
}

std::string ScenarioTest::hardware(Operation operation, bool ofVolume) const {
  const std::vector<simulator::ControllerState> states = host.state();
  const simulator::ControllerState& state = states.front();
  if (operation != kLed) {
    return (ofVolume ? state.volumes.front().volume.cacheOn : state.driveCacheOn) ? "on" : "off";
  }
  int blinking = 0;
  for (const simulator::DriveState& drive : state.drives) blinking += drive.blinking && drive.drive.exposed != ofVolume;
  return std::to_string(blinking) + " blinking";
}

Outcomes ScenarioTest::run() {
  *hostCalls.now += 31;
  hostCalls.step = kOpen;
  CtrlDevInfo* volume = nullptr;
  CtrlDevInfo* disk = nullptr;
  Outcomes outcomes = {{plugin->openDevice("vmhba1", 1, topology_.controllers[0].volumes[0].number, 0, kDmuDriver, 1, 2,
                                           3, 4, 5, 6, 7, 8, 9, 10, 11, &volume),
                        "", ""}};
  hostCalls.step = kOpenV2;
  DmuDeviceOpenInfo info = {.devName = "disk5", .hba = "vmhba1", .target = 69, .driver = kDmuDriver};
  outcomes.push_back({plugin->openDeviceV2(&info, &disk), "", ""});
  if (disk != nullptr) outcomes.back().output.assign(disk->serialNumber.data(), disk->serialNumber.size());
  for (const bool isVolume : {true, false}) {
    hostCalls.step = isVolume ? kVolume : kDisk;
    const Outcomes of =
        callAll(*plugin, isVolume ? volume : disk, [&](Operation operation) { return hardware(operation, isVolume); });
    outcomes.insert(outcomes.end(), of.begin(), of.end());
  }
  hostCalls.step = kClose;
  plugin->closeDevice(volume);
  plugin->closeDevice(disk);
  return outcomes;
}

void ScenarioTest::expectNothingLeft() {
  hostCalls.recording = false;
  EXPECT_TRUE(lockIsFree());
  const Held held = heldByPlugin();
  EXPECT_LE(held.blocks, 2 + kTextsForGood) << "no more than a snapshot and a member map";
  EXPECT_EQ(held.files, 0);
  EXPECT_LE(held.channels, 1);
  EXPECT_EQ(host.counts().openNodes, 0u);
}

void ScenarioTest::expectRecovered(const Outcomes& good) {
  host.load(topology_);
  hostCalls.traceOn = false;
  EXPECT_EQ(run(), good);
  EXPECT_EQ(heldByPlugin().channels, 0);
  PUBLISHED(OrvaInfo_CleanupCtrls)();
  EXPECT_EQ(heldByPlugin().blocks, kTextsForGood);
}
