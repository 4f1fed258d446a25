// Goes through the calls of a recording.
#include "host/topology/recorded_host.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "host/disks/serial_page.h"
#include "host/interception/instance_list.h"
#include "host/model/controllers.h"

namespace host::topology {
namespace {

using simulator::FaultAction;
using simulator::Opcode;

constexpr size_t kLongestSerial = 60;
constexpr int kCommandNotFound = 127;  // the exit status of a shell

void fillVolume(model::Volume& known, const model::Volume& later) {
  if (!known.isIdentified && later.isIdentified) {
    known.isIdentified = true;
    known.label = later.label;
    known.externalBoxId = later.externalBoxId;
    known.logicalDriveId = later.logicalDriveId;
    known.uniqueId = later.uniqueId;
  }
  if (!known.memberCount && later.memberCount) {
    known.memberCount = later.memberCount;
    known.faultTolerance = later.faultTolerance;
    known.members = later.members;
    known.membersAt = later.membersAt;
    known.maxPhysicalDevices = later.maxPhysicalDevices;
    known.maxDrivesPerLogicalUnit = later.maxDrivesPerLogicalUnit;
  }
}

bool hasListedDrives(const model::Controller& controller) {
  return std::any_of(controller.drives.begin(), controller.drives.end(),
                     [](const model::Drive& drive) { return drive.isListed; });
}

/// Adds what another snapshot tells of the controller and this one does not.
void fill(model::Controller& target, const model::Controller& source) {
  if (target.volumes.empty()) target.volumes = source.volumes;
  for (model::Volume& volume : target.volumes) {
    for (const model::Volume& same : source.volumes) {
      if (same.word == volume.word) fillVolume(volume, same);
    }
  }
  if (!hasListedDrives(target) && hasListedDrives(source)) {
    target.drives = source.drives;
    target.otherDevices = source.otherDevices;
    target.driveReportFormat = source.driveReportFormat;
  }
  for (model::Drive& drive : target.drives) {
    const model::Drive* same = source.drive(drive.index);
    if (!drive.identity && same != nullptr) drive.identity = same->identity;
  }
  for (const model::Drive& drive : source.drives) {
    if (!drive.isListed && target.drive(drive.index) == nullptr) target.drives.push_back(drive);
  }
  if (!target.driveCacheOn) target.driveCacheOn = source.driveCacheOn;
  if (!target.volumesCacheOff) target.volumesCacheOff = source.volumesCacheOff;
}

/// A failed call, or its driver's status.
std::optional<Failure> failureWith(int32_t result, uint32_t status) {
  if (result != 0) return Failure{FaultAction::error, static_cast<uint32_t>(result), {}};
  if (status != 0) return Failure{FaultAction::driverStatus, status, {}};
  return std::nullopt;
}

bool saysOem(const std::string& output) {
  return output.find("oem") != std::string::npos || output.find("OEM") != std::string::npos;
}

class Reader {
 public:
  void take(const recording::OpenChannel& call) {
    host_.calls.add({"init", "", {}, ""}, failureWith(static_cast<int32_t>(call.answer.result), 0));
  }

  void take(const recording::Query& call) {
    const auto failure = failureWith(call.answer.result, call.answer.status);
    host_.calls.add({"query", "", {}, ""}, failure);
    if (failure || !hbas_.empty()) return;
    hbas_ = instanceNames(call.answer.instances.data());
    for (const auto& [number, name] : hbas_) host_.hbas.push_back(name);
  }

  void take(const recording::Command& call) {
    InterceptedCommand command;
    std::memcpy(&command.record, call.request.record.data(), recording::kRecordSize);
    command.command = simulator::decodeCommand(command.record);
    const auto hba = hbas_.find(call.request.controller);
    if (!command.command || hba == hbas_.end()) return;
    command.instance = call.request.controller;
    command.hba = hba->second;
    command.data = command.command->layout->toController ? call.request.data : call.answer.data;
    command.result = call.answer.result;
    command.driverStatus = call.answer.status;
    see(command);
  }

  void take(const recording::OpenNode& call) {
    host_.calls.add({"open", "", {}, call.request.device}, failureWith(call.answer.error, 0));
  }

  void take(const recording::NodeRequest& call) {
    host_.calls.add({"ioctl", "", {}, call.request.device}, failureOf(call));
  }

  void take(const recording::Run& call) {
    host_.isOemDriver = host_.isOemDriver || saysOem(call.answer.output);
    runs_.push_back(call.answer);
  }

  void take(const recording::Disks& call) {
    if (!host_.disks) host_.disks = call.answer.disks;
  }

  void take(const recording::CloseChannel& /*call*/) {}
  void take(const recording::CloseNode& /*call*/) {}
  void take(const recording::Clock& /*call*/) {}

  RecordedHost finish() {
    for (const recording::Run::Answer& run : runs_) host_.calls.add({"load", "", {}, ""}, failureOf(run));
    for (const auto& [hba, snapshots] : snapshots_) {
      model::Controller known = *snapshots.front().find(hba);
      for (const model::Controllers& snapshot : snapshots) {
        model::Controller seen = *snapshot.find(hba);
        fill(known, seen);
        fill(seen, known);
        if (seen != known) host_.changed.insert(hba);
      }
      host_.controllers[hba] = std::move(known);
    }
    return std::move(host_);
  }

 private:
  void see(const InterceptedCommand& command) {
    const simulator::CommandLayout& layout = *command.command->layout;
    const bool isAboutOne =
        layout.argument == simulator::Argument::drive || layout.argument == simulator::Argument::volume;
    const auto argument = isAboutOne ? std::optional(command.command->argument) : std::nullopt;
    host_.calls.add({layout.name, command.hba, argument, ""}, failureWith(command.result, command.driverStatus));
    if (!command.succeeded() || layout.toController) return;
    std::vector<model::Controllers>& snapshots = snapshots_[command.hba];
    if (snapshots.empty() || layout.opcode == Opcode::identifyController) snapshots.emplace_back();
    snapshots.back().see(command);
  }

  /// A page that arrived whole tells the node's serial number.
  std::optional<Failure> failureOf(const recording::NodeRequest& call) {
    const sg_io_hdr& header = call.answer.header;
    const recording::Bytes& page = call.answer.data;
    if (call.answer.error != 0) return Failure{FaultAction::error, static_cast<uint32_t>(call.answer.error), {}};
    for (const uint32_t status :
         {uint32_t{header.driver_status}, uint32_t{header.host_status}, uint32_t{header.status}})
      if (status != 0) return Failure{FaultAction::driverStatus, status, {}};
    if (!asksForSerialNumber(call.request.cdb)) return std::nullopt;
    const auto size = static_cast<int64_t>(page.size());
    const auto received = static_cast<size_t>(std::clamp<int64_t>(size - header.resid, 0, size));
    const bool isPage = received >= kSerialPageHeader && page[1] == kSerialNumberPage;
    const size_t length = isPage ? std::min<size_t>(static_cast<size_t>(page[2]) << 8 | page[3], kLongestSerial) : 0;
    if (!isPage || received < kSerialPageHeader + length) {
      host_.cutSerials[call.request.device] = std::max(received, kSerialPageHeader) - kSerialPageHeader;
      return Failure{FaultAction::length,
                     static_cast<uint32_t>(received),
                     {page.begin(), page.begin() + static_cast<std::ptrdiff_t>(received)}};
    }
    const std::string serial = serialNumberIn(std::span(page).subspan(kSerialPageHeader, length));
    if (host_.serials.emplace(call.request.device, serial).first->second != serial) {
      host_.changed.insert(call.request.device);
    }
    return std::nullopt;
  }

  /// Of an OEM driver, what does not say so has been cut.
  [[nodiscard]] std::optional<Failure> failureOf(const recording::Run::Answer& run) const {
    const int exitStatus = run.status >> 8 & 0xFF;
    if (run.error != 0 || exitStatus == kCommandNotFound) return Failure{FaultAction::missing, 1, {}};
    if (host_.isOemDriver && !saysOem(run.output)) return Failure{FaultAction::length, 0, {}};
    if (run.output.empty()) return failureWith(exitStatus, 0);
    return std::nullopt;
  }

  RecordedHost host_;
  std::map<uint32_t, std::string> hbas_;                              // by number, as the driver listed them first
  std::map<std::string, std::vector<model::Controllers>> snapshots_;  // by HBA
  std::vector<recording::Run::Answer> runs_;
};

}  // namespace

RecordedHost hostOf(const recording::RecordedCalls& recorded) {
  Reader reader;
  for (const recording::AnyCall& call : recorded.calls) {
    std::visit([&](const auto& one) { reader.take(one); }, call);
  }
  return reader.finish();
}

}  // namespace host::topology
