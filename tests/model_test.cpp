// What dmu-host reads of a controller from the commands that pass, beside what the simulated controller is: for every
// topology that there is and for many that nobody wrote, for drives that vanish and for commands that fail.
#include <algorithm>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/disks/open_record.h"
#include "host/interception/command_watcher.h"
#include "host/model/controllers.h"
#include "simulator/simulated_host.h"
#include <dmu/plugin.h>

namespace {

namespace model = host::model;
using simulator::FaultAction;
using simulator::FaultRule;
using simulator::Topology;

class ModelWatcher final : public host::CommandWatcher {
 public:
  model::Controllers controllers;

 private:
  bool holdsBack(const host::InterceptedCommand& /*command*/) override { return false; }
  void passed(host::InterceptedCommand command) override { controllers.see(command); }
};

class Model : public testing::Test {
 protected:
  Model() { watcher_.stepInFront(); }

  /// Asks a plugin that was just loaded what each of the host's disks is.
  void askForAll() {
    void* library = dlopen(DMU_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    const auto entry = reinterpret_cast<DmuPluginInitFunction>(dlsym(library, kDmuEntryPoint));
    const DmuPluginDescriptor& plugin = *entry();
    for (const simulator::HostDisk& disk : simulated_.disks()) {
      const DmuDeviceOpenInfo info = host::openRecordOf(disk);
      CtrlDevInfo* handle = nullptr;
      if (plugin.openDeviceV2(&info, &handle) != 0) continue;
      DmuDeviceInfo information = {};
      std::string error;
      (void)plugin.getDeviceInfo(handle, &information, error);
      plugin.closeDevice(handle);
    }
    dlclose(library);
  }

  void ask(const Topology& topology) {
    simulated_.load(topology);
    askForAll();
  }

  [[nodiscard]] const model::Controller* find(const std::string& hba) const { return watcher_.controllers.find(hba); }

  /// The built-in controller with two volumes, whose first command of a kind fails from now on.
  const model::Controller* askWhileFailing(const char* command) {
    if (simulated_.loadText(simulated_.builtInTopology(), "built in")) throw std::runtime_error("not loaded");
    FaultRule rule;
    rule.call = command;
    rule.action = FaultAction::driverStatus;
    rule.value = 5;
    simulated_.addFault(rule);
    askForAll();
    return find("vmhba2");
  }

  simulator::SimulatedHost& simulated_ = *dmuSimulatedHost();
  ModelWatcher watcher_;
};

uint32_t indexOf(const simulator::Drive& drive) {
  return (drive.bus - 1u) * 256 + drive.target;
}

/// Before it; what stands behind it is the reply's padding.
std::string withoutBlanks(const std::string& text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

void expectVolume(const simulator::Volume& truth, const model::Volume& seen) {
  EXPECT_EQ(seen.number(), truth.number);
  EXPECT_EQ(seen.isExternal, truth.external);
  EXPECT_EQ(seen.label, truth.label);
  EXPECT_EQ(seen.uniqueId, truth.uniqueId);
  EXPECT_EQ(seen.externalBoxId, truth.externalBoxId);
  EXPECT_EQ(seen.logicalDriveId, truth.logicalDriveId);
  if (truth.external) return;
  EXPECT_EQ(seen.memberCount, truth.members.size());
  EXPECT_EQ(seen.members, std::set<uint32_t>(truth.members.begin(), truth.members.end()));
}

void expectDrive(const simulator::Drive& truth, const model::Drive& seen) {
  EXPECT_EQ(seen.index, indexOf(truth));
  EXPECT_TRUE(seen.isListed);
  EXPECT_EQ(seen.isExposed, truth.exposed);
  EXPECT_EQ(seen.isMasked, !truth.exposed);
  EXPECT_EQ(seen.wwid, truth.wwid);
  EXPECT_EQ(seen.deviceType, truth.deviceType);
  if (!seen.hasRoom) return;
  ASSERT_TRUE(seen.identity.has_value());
  EXPECT_EQ(seen.identity->serial, withoutBlanks(truth.serial));
  EXPECT_EQ(seen.identity->bay.port, truth.port);
  EXPECT_EQ(seen.identity->bay.box, truth.box);
  EXPECT_EQ(seen.identity->bay.bay, truth.bay);
  EXPECT_EQ(seen.identity->currentTemperature, truth.currentTemperature);
  EXPECT_EQ(seen.identity->maximumTemperature, truth.maximumTemperature);
}

/// Drives that the plugin does not list, by their type, are not the model's either.
std::vector<simulator::Drive> listedDrives(const simulator::Controller& controller) {
  std::vector<simulator::Drive> drives = controller.drives;
  std::erase_if(drives, [](const simulator::Drive& drive) { return drive.deviceType > 4; });
  return drives;
}

void expectController(const simulator::Controller& truth, const model::Controller& seen) {
  EXPECT_EQ(seen.hba, truth.hba);
  EXPECT_EQ(seen.maxLogicalDrives, truth.maxLogicalDrivesSupported);
  EXPECT_EQ(seen.maxPhysicalDevices, truth.maxPhysDevicesSupported);
  EXPECT_EQ(seen.maxDrivesPerLogicalUnit, truth.maxPhysDrivesPerLogicalUnit);
  EXPECT_EQ(seen.hasExtendedBlinkArray, truth.extendedBlinkArray);
  ASSERT_EQ(seen.volumes.size(), truth.volumes.size());
  for (size_t i = 0; i < truth.volumes.size(); ++i) expectVolume(truth.volumes[i], seen.volumes[i]);
  const std::vector<simulator::Drive> drives = listedDrives(truth);
  EXPECT_EQ(seen.otherDevices.size(), truth.drives.size() - drives.size());
  ASSERT_EQ(seen.drives.size(), drives.size());
  for (size_t i = 0; i < drives.size(); ++i) expectDrive(drives[i], seen.drives[i]);
}

/// Each disk of the host leads to its volume or drive, as the plugin finds it.
void expectDisks(const simulator::Controller& truth, const model::Controller& seen,
                 const std::vector<simulator::HostDisk>& disks) {
  for (const simulator::HostDisk& disk : disks) {
    if (disk.hba != truth.hba) continue;
    const model::Volume* volume = seen.volumeOf(disk);
    for (const simulator::Volume& one : truth.volumes) {
      if (one.device != disk.device) continue;
      ASSERT_NE(volume, nullptr) << disk.device;
      EXPECT_EQ(volume->number(), one.number);
    }
    for (const simulator::Drive& one : truth.drives) {
      if (!one.exposed || one.device != disk.device || one.deviceType > 4) continue;
      EXPECT_EQ(volume, nullptr) << disk.device;
      const model::Drive* drive = seen.exposedDrive(withoutBlanks(one.serial));
      if (drive == nullptr) continue;  // beyond the plugin's list: it was never identified
      EXPECT_EQ(drive->index, indexOf(one));
    }
  }
}

/// Hosts of random controllers: volumes with members of their own, external ones, drives on two buses.
class RandomTopology {
 public:
  explicit RandomTopology(uint32_t seed) : random_(seed) {
    topology.oemDriver = isOneIn(2);
    const uint32_t count = 1 + below(3);
    for (uint32_t number = 0; number < count; ++number) topology.controllers.push_back(controller(number));
  }

  Topology topology;

 private:
  uint32_t below(uint32_t end) { return static_cast<uint32_t>(random_() % end); }
  bool isOneIn(uint32_t count) { return below(count) == 0; }

  simulator::Controller controller(uint32_t number) {
    simulator::Controller controller;
    controller.hba = "vmhba" + std::to_string(number * 9 + 1);
    controller.maxPhysDevicesSupported = static_cast<uint16_t>(512 + 8 * below(100));
    controller.maxPhysDrivesPerLogicalUnit = 64;
    controller.maxLogicalDrivesSupported = 64;
    controller.extendedBlinkArray = isOneIn(2);
    const uint32_t drives = 4 + below(60);
    for (uint32_t place = 0; place < drives; ++place) controller.drives.push_back(drive(number, place));
    std::vector<uint32_t> free;
    for (const simulator::Drive& drive : controller.drives) {
      if (!drive.exposed && drive.deviceType == 0) free.push_back(indexOf(drive));
    }
    const uint32_t volumes = below(6);
    for (uint32_t place = 0; place < volumes && free.size() > 5; ++place) {
      controller.volumes.push_back(volume(number, place, free));
    }
    if (isOneIn(2)) controller.volumes.push_back(externalVolume(number));
    return controller;
  }

  simulator::Drive drive(uint32_t number, uint32_t place) {
    const std::string name = "S" + std::to_string(number) + "X" + std::to_string(place);
    simulator::Drive drive;
    drive.bus = static_cast<uint8_t>(1 + place % 2);
    drive.target = static_cast<uint8_t>(place / 2 * 3);
    drive.exposed = isOneIn(4);
    if (drive.exposed) drive.device = "disk." + name;
    drive.serial = (isOneIn(4) ? "  " : "") + name;
    drive.port = isOneIn(3) ? "LONGER-THAN-EIGHT" : "1I";
    drive.box = static_cast<uint8_t>(below(250));
    drive.bay = static_cast<uint8_t>(place);
    drive.currentTemperature = static_cast<uint8_t>(below(256));
    drive.maximumTemperature = static_cast<uint8_t>(below(256));
    if (!drive.exposed && isOneIn(8)) drive.deviceType = 13;
    return drive;
  }

  simulator::Volume volume(uint32_t number, uint32_t place, std::vector<uint32_t>& free) {
    simulator::Volume volume;
    volume.number = place;
    volume.device = "volume." + std::to_string(number) + "." + std::to_string(place);
    volume.serial = "V" + std::to_string(number) + std::to_string(place);
    volume.label = "label " + std::to_string(below(1000));
    volume.uniqueId[place] = static_cast<uint8_t>(1 + number);
    const uint32_t members = 1 + below(5);
    volume.members.assign(free.end() - static_cast<std::ptrdiff_t>(members), free.end());
    free.resize(free.size() - members);
    return volume;
  }

  simulator::Volume externalVolume(uint32_t number) {
    simulator::Volume volume;
    volume.number = 0x20000 + 100 + below(100);  // commands carry the low 16 bits alone
    volume.device = "external." + std::to_string(number);
    volume.serial = "E" + std::to_string(number);
    volume.external = true;
    return volume;
  }

  std::mt19937 random_;
};

/// A controller without disks is asked nothing.
bool hasDisks(const simulator::Controller& controller) {
  return !controller.volumes.empty() || std::any_of(controller.drives.begin(), controller.drives.end(),
                                                    [](const simulator::Drive& drive) { return drive.exposed; });
}

TEST_F(Model, IsWhatTheControllerIs) {
  for (const char* file : {"simulator/built_in_topology.json", "examples/large-topology.json",
                           "tests/console/unusual.json", "tests/console/overfull.json"}) {
    SCOPED_TRACE(file);
    ASSERT_EQ(simulated_.loadFile(std::string(DMU_SOURCE_DIR "/") + file), std::nullopt);
    simulated_.clearFaults();
    askForAll();
    for (const simulator::Controller& controller : simulated_.topology().controllers) {
      const model::Controller* seen = find(controller.hba);
      ASSERT_NE(seen, nullptr);
      expectController(controller, *seen);
      expectDisks(controller, *seen, simulated_.disks());
    }
  }
}

TEST_F(Model, IsWhatRandomControllersAre) {
  for (uint32_t seed = 1; seed <= 200 / DMU_SLOWDOWN; ++seed) {
    SCOPED_TRACE(seed);
    const Topology topology = RandomTopology(seed).topology;
    ask(topology);
    for (const simulator::Controller& controller : topology.controllers) {
      const model::Controller* seen = find(controller.hba);
      if (!hasDisks(controller)) continue;
      ASSERT_NE(seen, nullptr);
      expectController(controller, *seen);
      expectDisks(controller, *seen, simulated_.disks());
    }
    if (HasFailure()) return;
  }
}

TEST_F(Model, TheDriversListOfControllersIsTheHosts) {
  EXPECT_EQ(watcher_.listedControllers(), std::vector<std::string>{});
  Topology topology = RandomTopology(1).topology;
  ASSERT_TRUE(hasDisks(topology.controllers[0]));
  for (const size_t count : {10U, 2U}) {
    topology.controllers.resize(count);
    std::vector<std::string> names;
    for (simulator::Controller& controller : topology.controllers) {
      if (controller.hba.empty()) controller.hba = "without disks " + std::to_string(names.size());
      names.push_back(controller.hba);
    }
    ask(topology);
    EXPECT_EQ(watcher_.listedControllers(), names);
  }
}

TEST_F(Model, MembersThatVanishAreMissing) {
  ASSERT_EQ(simulated_.loadText(simulated_.builtInTopology(), "built in"), std::nullopt);
  FaultRule vanish;
  vanish.call = "any";
  vanish.controller = "vmhba2";
  vanish.drive = 4;
  vanish.action = FaultAction::vanish;
  simulated_.addFault(vanish);
  askForAll();
  const model::Controller* seen = find("vmhba2");
  ASSERT_NE(seen, nullptr);
  EXPECT_EQ(missingMembers(*seen, seen->volumes[0]), std::vector<uint32_t>{});
  EXPECT_EQ(missingMembers(*seen, seen->volumes[1]), std::vector<uint32_t>{4});
  EXPECT_EQ(seen->drive(4), nullptr);
  ASSERT_NE(seen->drive(3), nullptr);
  EXPECT_EQ(seen->volumeWith(*seen->drive(3)), &seen->volumes[1]);
}

TEST_F(Model, WhatACommandThatFailsWouldHaveShownIsNotKnown) {
  EXPECT_EQ(askWhileFailing("identifyController"), nullptr);
  EXPECT_EQ(askWhileFailing("query"), nullptr);

  const model::Controller* seen = askWhileFailing("reportLogicalLuns");
  ASSERT_NE(seen, nullptr);
  EXPECT_TRUE(seen->hasFailedReport);
  EXPECT_TRUE(seen->volumes.empty());
  EXPECT_FALSE(seen->drives.empty());

  seen = askWhileFailing("reportPhysicalLuns");
  ASSERT_NE(seen, nullptr);
  EXPECT_TRUE(seen->hasFailedReport);
  EXPECT_FALSE(seen->volumes.empty());
  EXPECT_TRUE(seen->drives.empty());

  seen = askWhileFailing("identifyLogicalDevice");
  ASSERT_NE(seen, nullptr);
  EXPECT_FALSE(seen->hasFailedReport);
  EXPECT_EQ(seen->volumes[0].label, "");
  EXPECT_TRUE(seen->volumes[0].members.has_value());

  seen = askWhileFailing("senseConfiguration");
  ASSERT_NE(seen, nullptr);
  EXPECT_NE(seen->volumes[0].label, "");
  EXPECT_FALSE(seen->volumes[0].members.has_value());
  EXPECT_FALSE(seen->volumes[0].memberCount.has_value());

  seen = askWhileFailing("identifyPhysicalDevice");
  ASSERT_NE(seen, nullptr);
  EXPECT_FALSE(seen->drives[0].identity.has_value());
}

TEST_F(Model, ANewSnapshotForgetsTheOldOne) {
  ASSERT_EQ(simulated_.loadText(simulated_.builtInTopology(), "built in"), std::nullopt);
  askForAll();
  Topology smaller = simulated_.topology();
  smaller.controllers[0].volumes.erase(smaller.controllers[0].volumes.begin());
  smaller.controllers[0].drives.erase(smaller.controllers[0].drives.begin());
  ask(smaller);
  const model::Controller* seen = find(smaller.controllers[0].hba);
  ASSERT_NE(seen, nullptr);
  expectController(smaller.controllers[0], *seen);
}

}  // namespace
