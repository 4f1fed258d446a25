// The simulated host's public interface: loading a model, what it holds now, its faults, records and counters.
#include "simulator/host_model.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <new>

#include "json/input.h"
#include "simulator/built_in_topology.h"
#include "simulator/drive_address.h"
#include "simulator/exported.h"
#include "simulator/module_loader.h"
#include "simulator/topology_checks.h"
#include "simulator/topology_reader.h"

namespace simulator {
namespace {

constexpr const char* kTopologyVariable = "DMU_TOPOLOGY";
constexpr const char* kBuiltInName = "built-in topology";
constexpr const char* kDriver = "veltrane";

/// Null when none is named; an empty name is none.
const char* topologyOfEnvironment() {
  const char* file = std::getenv(kTopologyVariable);
  return file != nullptr && *file != '\0' ? file : nullptr;
}

/// @return what is wrong; nothing when `topology` was filled
std::optional<std::string> parse(const std::string& json, const std::string& name, Topology& topology) {
  input::Mistakes mistakes(name);
  Topology read = readTopology(json, mistakes);
  if (mistakes.none()) checkTopology(read, mistakes);
  if (!mistakes.none()) return mistakes.text();
  topology = std::move(read);
  return std::nullopt;
}

std::optional<std::string> parseFile(const std::string& file, Topology& topology) {
  std::string mistake;
  const auto text = input::readFile(file, mistake);
  if (!text) return file + ": cannot be read: " + mistake;
  return parse(*text, file, topology);
}

/// Where the kernel presents a local volume depends on the driver's build; an external one brings its numbers along.
HostDisk volumeDisk(const Volume& volume, bool oem) {
  HostDisk disk;
  disk.device = volume.device;
  if (volume.external) {
    disk.channel = 3;
    disk.target = volume.number >> 16 & 0x3FFF;
    disk.lun = volume.number & 0xFF;
  } else {
    disk.channel = 1;
    disk.target = oem ? 0 : volume.number & 0x3FFF;
    disk.lun = oem ? (volume.number & 0x3FFF) + 1 : 0;
  }
  return disk;
}

HostDisk driveDisk(const Drive& drive) {
  constexpr uint32_t kFirstTarget = 64;
  HostDisk disk;
  disk.device = drive.device;
  disk.target = kFirstTarget + drive.target;
  return disk;
}

}  // namespace

HostModel& HostModel::instance() {
  static HostModel& host = *new HostModel;
  return host;
}

HostModel::HostModel() {
  Topology topology;
  std::optional<std::string> mistake;
  if (const char* file = topologyOfEnvironment()) {
    try {
      mistake = parseFile(file, topology);
    } catch (const std::bad_alloc&) {  // would end the program, which is just loading this library
      mistake = file + std::string(": out of memory");
    }
  } else {
    mistake = parse(kBuiltInTopology, kBuiltInName, topology);
  }
  replaceModel(topology);
  unusable_ = mistake.value_or("");
}

void HostModel::replaceModel(const Topology& topology) {
  unusable_.clear();
  unusableSaid_ = false;
  stateFile_.clear();
  stateLock_.release();
  topology_ = topology;
  controllers_ = std::vector<ControllerModel>(topology.controllers.begin(), topology.controllers.end());
  ModuleLoader::instance().setOemDriver(topology.oemDriver);
  ModuleLoader::instance().clearRules();
  faults_.clear();
  for (const FaultRule& rule : topology.faults) addRule(rule);
}

std::optional<std::string> HostModel::loadFile(const std::string& file) {
  Topology topology;
  auto mistake = parseFile(file, topology);
  if (!mistake) load(topology);
  return mistake;
}

std::optional<std::string> HostModel::loadText(const std::string& json, const std::string& name) {
  Topology topology;
  auto mistake = parse(json, name, topology);
  if (!mistake) load(topology);
  return mistake;
}

void HostModel::load(const Topology& topology) {
  const std::lock_guard lock(mutex_);
  replaceModel(topology);
}

std::optional<std::string> HostModel::whyUnusable() const {
  const std::lock_guard lock(mutex_);
  return unusable_.empty() ? std::nullopt : std::optional(unusable_);
}

Topology HostModel::topology() const {
  const std::lock_guard lock(mutex_);
  return topology_;
}

std::string HostModel::builtInTopology() const {
  return kBuiltInTopology;
}

std::vector<HostDisk> HostModel::disks() const {
  const std::lock_guard lock(mutex_);
  isUsableElseSaysWhy();
  std::vector<HostDisk> disks;
  for (const ControllerModel& controller : controllers_) {
    const auto add = [&](HostDisk disk) {
      disk.hba = controller.config.hba;
      disk.driver = kDriver;
      disk.pci = controller.config.pci;
      disks.push_back(std::move(disk));
    };
    for (const Volume& volume : controller.config.volumes)
      if (controller.present(volume) && !volume.device.empty()) add(volumeDisk(volume, topology_.oemDriver));
    for (const Drive& drive : controller.config.drives)
      if (drive.exposed && controller.present(drive) && !drive.device.empty()) add(driveDisk(drive));
  }
  for (const ForeignDisk& disk : topology_.foreignDisks)
    disks.push_back({disk.device, disk.hba, disk.channel, disk.target, disk.lun, disk.driver, disk.pci});
  std::map<std::string, size_t> places;
  for (const std::string& device : topology_.diskOrder) places.emplace(device, places.size());
  const auto placeOf = [&](const HostDisk& disk) {
    const auto place = places.find(disk.device);
    return place == places.end() ? places.size() : place->second;
  };
  std::stable_sort(disks.begin(), disks.end(),
                   [&](const HostDisk& one, const HostDisk& other) { return placeOf(one) < placeOf(other); });
  return disks;
}

std::vector<ControllerState> HostModel::state() const {
  const std::lock_guard lock(mutex_);
  isUsableElseSaysWhy();
  std::vector<ControllerState> states;
  for (const ControllerModel& controller : controllers_) {
    ControllerState state;
    state.hba = controller.config.hba;
    state.driveCacheOn = controller.settings.driveCacheOn();
    for (const Drive& drive : controller.config.drives) {
      const uint32_t left = controller.blink.tenthsLeft(driveIndex(drive), now());
      state.drives.push_back({drive, left != 0, left, controller.present(drive)});
    }
    for (const Volume& volume : controller.config.volumes) {
      state.volumes.push_back({volume, controller.present(volume)});
      if (volume.number < controller.config.maxLogicalDrivesSupported)
        state.volumes.back().volume.cacheOn = controller.settings.cacheOn(volume.number);
    }
    states.push_back(std::move(state));
  }
  return states;
}

void HostModel::addRule(const FaultRule& rule) {
  faults_.add(rule);
  if (rule.call == "load") ModuleLoader::instance().addRule(rule);
}

void HostModel::addFault(const FaultRule& rule) {
  const std::lock_guard lock(mutex_);
  addRule(rule);
}

void HostModel::clearFaults() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
  ModuleLoader::instance().clearRules();
}

std::vector<FaultReport> HostModel::faults() const {
  const std::lock_guard lock(mutex_);
  std::vector<FaultReport> reports = faults_.report();
  uint32_t loadRule = 0;
  for (FaultReport& report : reports)
    if (report.rule.call == "load") report.hits = ModuleLoader::instance().hits(loadRule++);
  return reports;
}

void HostModel::recordCommands(bool on) {
  const std::lock_guard lock(mutex_);
  recording_ = on;
}

std::vector<SentCommand> HostModel::takeCommands() {
  const std::lock_guard lock(mutex_);
  return std::exchange(recorded_, {});
}

CallCounts HostModel::counts() const {
  const std::lock_guard lock(mutex_);
  CallCounts counts = counts_;
  counts.load = ModuleLoader::instance().runs();
  counts.openChannels = static_cast<uint32_t>(channels_.size());
  return counts;
}

void HostModel::resetCounts() {
  const std::lock_guard lock(mutex_);
  const uint32_t openNodes = counts_.openNodes;
  counts_ = {};
  counts_.openNodes = openNodes;
  ModuleLoader::instance().resetRuns();
}

void HostModel::setClock(std::function<uint64_t()> tenths) {
  const std::lock_guard lock(mutex_);
  clock_ = std::move(tenths);
}

uint64_t HostModel::now() const {
  using Tenths = std::chrono::duration<uint64_t, std::deci>;
  if (clock_) return clock_();
  return std::chrono::duration_cast<Tenths>(std::chrono::system_clock::now().time_since_epoch()).count();
}

namespace {

/// A module loader command that is run before anything else was asked has to know of the topology in the environment.
[[gnu::constructor]] void libraryLoaded() {
  ModuleLoader::instance();
  if (topologyOfEnvironment() != nullptr) HostModel::instance();
}

}  // namespace
}  // namespace simulator

extern "C" DMU_EXPORTED simulator::SimulatedHost* dmuSimulatedHost() {
  return &simulator::HostModel::instance();
}
