// Loads the plugin for a rule, picks the disks that it is tried with, and counts commands.
#include "host/check/trial.h"

#include <algorithm>
#include <map>

#include "host/disks/open_record.h"
#include "host/interception/command_log.h"
#include "host/loading/isolated_call.h"
#include "host/refusal.h"

namespace host::check {
namespace {

constexpr size_t kMostOfAKind = 4;  // on each controller: large hosts need no more

std::string nameOf(Kind kind) {
  if (kind == Kind::disk) return "physical disk";
  return kind == Kind::volume ? "volume with members" : "external volume";
}

/// A drive beyond the controller's blink array cannot be switched, and a volume without members has nothing to ask for.
bool canBeTried(const Subject& subject) {
  if (subject.controller == nullptr) return true;
  const bool hasRoomToBlink =
      subject.controller->extendedBlinkArray || subject.controller->maxPhysDevicesSupported <= 256;
  return hasRoomToBlink && (subject.kind != Kind::volume || !subject.volume->members.empty());
}

}  // namespace

bool CommandCounter::holdsBack(const InterceptedCommand& command) {
  const std::lock_guard lock(mutex_);
  if (counts_.begun++ == 0) firstCaller_ = std::this_thread::get_id();
  if (command.writes()) ++counts_.writes;
  counts_.mostAtOnce = std::max(counts_.mostAtOnce, ++counts_.onTheirWay);
  return command.writes() && holdsBackWrites_;
}

void CommandCounter::passed(InterceptedCommand command) {
  const std::lock_guard lock(mutex_);
  --counts_.onTheirWay;
  const bool comesFirst = command.command && command.command->layout->opcode == simulator::Opcode::identifyController;
  if (comesFirst && !command.succeeded()) noteUnreached(host::nameOf(command), resultText(command));
  if (std::this_thread::get_id() == firstCaller_) counts_.firstIsBack = true;
}

void CommandCounter::channelCalled(const ChannelCall& call) {
  const std::lock_guard lock(mutex_);
  const bool failed = call.result != 0 || call.driverStatus != 0;
  if (failed && std::string(call.name) != "destroy") noteUnreached(call.name, resultText(call));
}

void CommandCounter::noteUnreached(const std::string& call, const std::string& result) {
  ++counts_.unreached;
  counts_.lastUnreached = call + ": " + result;
}

CommandCounts CommandCounter::counts() const {
  const std::lock_guard lock(mutex_);
  return counts_;
}

OpenSubject OpenedInTurn::Iterator::operator*() const {
  return {*subject_, trial_.open(subject_->disk)};
}

Trial::Trial(const Setup& setup) : setup_(setup), commands_(setup.readOnly) {
  commands_.stepInFront();
  if (!isSimulated()) return;
  topology_ = simulatedHost().topology();
  topology_.faults.clear();
  simulatedHost().load(topology_);
}

const PluginLibrary& Trial::library() {
  if (library_) return *library_;
  noteStep("loading it");
  try {
    library_.emplace(setup_.pluginFile);
  } catch (const Refusal&) {
    throw Skipped{"the plugin does not load (see library.loads)"};
  }
  noteStep("calling DmuPluginInit");
  return *library_;
}

const DmuPluginDescriptor& Trial::plugin() {
  if (plugin_ == nullptr) {
    const DmuPluginDescriptor* descriptor = library().entry()();
    if (!whyUnusable(descriptor).empty() || descriptor->openDevice == nullptr) {
      throw Skipped{"the plugin's descriptor cannot be used (see the group descriptor)"};
    }
    plugin_ = descriptor;
  }
  return *plugin_;
}

void Trial::unload() {
  plugin_ = nullptr;
  noteStep("unloading it");
  library_.reset();
}

std::vector<HostDisk> Trial::servedDisks() const {
  std::vector<HostDisk> served;
  std::copy_if(setup_.disks.begin(), setup_.disks.end(), std::back_inserter(served),
               [](const HostDisk& disk) { return disk.driver == kDmuDriver; });
  if (served.empty()) throw Skipped{std::string("the host has no disk of the driver ") + kDmuDriver};
  return served;
}

std::optional<Subject> Trial::modelledSubject(const HostDisk& disk) const {
  for (const simulator::Controller& controller : topology_.controllers) {
    if (controller.hba != disk.hba) continue;
    for (const simulator::Volume& volume : controller.volumes) {
      if (volume.device != disk.device) continue;
      return Subject{disk, volume.external ? Kind::externalVolume : Kind::volume, &controller, &volume, nullptr};
    }
    for (const simulator::Drive& drive : controller.drives) {
      if (drive.exposed && drive.device == disk.device) return Subject{disk, Kind::disk, &controller, nullptr, &drive};
    }
  }
  return std::nullopt;
}

std::optional<Subject> Trial::askedSubject(const HostDisk& disk) {
  const auto information = deviceInformation(open(disk)).value;
  if (!information) return std::nullopt;
  Subject subject{disk, Kind::disk, nullptr, nullptr, nullptr};
  if (information->deviceType == kDmuLogicalVolume) {
    subject.kind = information->raidLevel == kDmuRaidLevelUnknown ? Kind::externalVolume : Kind::volume;
  }
  return subject;
}

std::optional<Subject> Trial::subjectOf(const HostDisk& disk) {
  return isSimulated() ? modelledSubject(disk) : askedSubject(disk);
}

void Trial::findSubjects() {
  subjects_.emplace();
  std::map<std::pair<std::string, Kind>, size_t> counts;
  for (const HostDisk& disk : servedDisks()) {
    auto subject = subjectOf(disk);
    if (subject && canBeTried(*subject) && counts[{disk.hba, subject->kind}]++ < kMostOfAKind) {
      subjects_->push_back(*std::move(subject));
    }
  }
}

std::vector<Subject> Trial::subjects() {
  if (!subjects_) findSubjects();
  if (!subjects_->empty()) return *subjects_;
  const std::string why = commands().lastUnreached;
  throw Skipped{why.empty() ? "the plugin answers for none of the host's disks"
                            : "no controller can be reached: " + why};
}

std::vector<Subject> Trial::subjects(Kind kind) {
  std::vector<Subject> chosen = subjects();
  std::erase_if(chosen, [kind](const Subject& subject) { return subject.kind != kind; });
  if (chosen.empty()) throw Skipped{"the host has no " + nameOf(kind)};
  return chosen;
}

std::vector<Subject> Trial::subjectsWithDrives() {
  std::vector<Subject> chosen = subjects();
  std::erase_if(chosen, [](const Subject& subject) { return subject.kind == Kind::externalVolume; });
  if (chosen.empty()) throw Skipped{"the host has no disk with drives of its own"};
  return chosen;
}

HostDisk Trial::diskOfNoController() {
  HostDisk disk = subjects().front().disk;
  disk.hba = "no-such-hba";
  return disk;
}

HostDisk Trial::diskOfNoDevice() {
  HostDisk disk = subjects().front().disk;
  disk.device = "no-such-node";
  disk.channel = disk.target = disk.lun = 4095;
  return disk;
}

std::vector<Operation> Trial::operations() const {
  if (!isSimulated() || setup_.readOnly) return readingOperations();
  return {allOperations().begin(), allOperations().end()};
}

void Trial::scatterDrives() {
  constexpr uint8_t kBays[] = {10, 9, 2, 11, 1, 100, 12, 3};  // sorted by none of place, number and text
  for (simulator::Controller& controller : topology_.controllers) {
    size_t place = 0;
    for (simulator::Drive& drive : controller.drives) {
      drive.box = static_cast<uint8_t>(place / std::size(kBays) + 1);
      drive.bay = kBays[place % std::size(kBays)];
      drive.currentTemperature = static_cast<uint8_t>(20 + place % 200);
      ++place;
    }
  }
  simulatedHost().load(topology_);
}

DeviceHandle Trial::open(const HostDisk& disk) {
  noteStep("opening " + disk.device);
  const DmuDeviceOpenInfo record = openRecordOf(disk);
  CtrlDevInfo* handle = nullptr;
  expectResult("open of " + disk.device, 0, plugin().openDeviceV2(&record, &handle));
  expect(handle != nullptr, "open of " + disk.device + ": expected a handle, got null");
  return {plugin(), handle};
}

void Trial::addFault(const std::string& call, simulator::FaultAction action, uint32_t value, uint32_t count) const {
  simulator::FaultRule rule;
  rule.call = call;
  rule.action = action;
  rule.value = value;
  rule.count = count;
  simulatedHost().addFault(rule);
}

}  // namespace host::check
