// Puts a topology together: controllers, the host's disks, and fault rules for what failed.
#include "host/topology/recorded_topology.h"

#include "host/model/find_first.h"
#include "host/output/text.h"
#include "host/topology/disk_placing.h"
#include "host/topology/recorded_controller.h"
#include "host/topology/topology_text.h"
#include "simulator/disk_identity.h"
#include "simulator/drive_address.h"

namespace host::topology {
namespace {

using simulator::FaultAction;
using simulator::FaultRule;

/// What failed.
class FaultWriter {
 public:
  explicit FaultWriter(RecordedTopology& result) : topology_(result.topology), differences_(result.differences) {}

  void write(const SeenCalls& calls) {
    for (const SeenCalls::Run& run : calls.failures()) writeRun(run);
  }

 private:
  void writeRun(const SeenCalls::Run& run) {
    FaultRule rule;
    rule.call = run.kind.call;
    rule.device = run.kind.device;
    rule.from = run.from;
    rule.count = run.count;
    rule.action = run.failure.action;
    rule.value = run.failure.value;
    if (!run.kind.device.empty() && !hasDevice(run.kind.device)) return differ(run, "there is no such disk here");
    if (!run.kind.hba.empty() && !concerns(run.kind, rule)) return differ(run, "it is about nothing that is here");
    if (rule.call == "load" && ++loads_ > kMostLoadRules) return differ(run, "there are too many such rules");
    topology_.faults.push_back(rule);
    if (run.failure.bytes.empty()) return;
    rule.action = FaultAction::set;
    rule.value = 0;
    rule.bytes = run.failure.bytes;
    topology_.faults.push_back(rule);
  }

  void differ(const SeenCalls::Run& run, const std::string& reason) {
    const std::string& subject = run.kind.device.empty() ? run.kind.hba : run.kind.device;
    differences_.push_back(printable(subject) + ": " + run.kind.call + " failed: no fault rule here, since " + reason);
  }

  [[nodiscard]] bool hasDevice(const std::string& device) const {
    const auto isIt = [&](const auto& disk) { return disk.device == device; };
    const auto isOn = [&](const simulator::Controller& controller) {
      return findFirst(controller.volumes, isIt) != nullptr || findFirst(controller.drives, isIt) != nullptr;
    };
    return findFirst(topology_.foreignDisks, isIt) != nullptr || findFirst(topology_.controllers, isOn) != nullptr;
  }

  /// Fills in whom a command concerned.
  bool concerns(const CallKind& kind, FaultRule& rule) const {
    const simulator::Controller* controller =
        findFirst(topology_.controllers, [&](const simulator::Controller& other) { return other.hba == kind.hba; });
    if (controller == nullptr) return false;
    rule.controller = kind.hba;
    if (!kind.argument) return true;
    if (kind.call == "identifyPhysicalDevice") {
      rule.drive = kind.argument;
      return findFirst(controller->drives, [&](const simulator::Drive& drive) {
               return simulator::driveIndex(drive) == *kind.argument;
             }) != nullptr;
    }
    const simulator::Volume* volume = findFirst(
        controller->volumes, [&](const simulator::Volume& other) { return (other.number & 0xFFFF) == *kind.argument; });
    if (volume != nullptr) rule.volume = volume->number;
    return volume != nullptr;
  }

  static constexpr size_t kMostLoadRules = 64;

  simulator::Topology& topology_;
  std::vector<std::string>& differences_;
  size_t loads_ = 0;
};

void writeListed(const RecordedHost& host, const std::string& hba, RecordedTopology& result) {
  const auto differ = [&](const std::string& text) { result.differences.push_back(printable(hba) + ": " + text); };
  const bool isTaken = findFirst(result.topology.controllers,
                                 [&](const simulator::Controller& other) { return other.hba == hba; }) != nullptr;
  if (hba.empty() || hba.size() > simulator::kMostHbaName || !isWritable(hba)) {
    return differ("is no name of an HBA for a topology: left out");
  }
  if (isTaken) return differ("is listed twice: once here");
  const auto found = host.controllers.find(hba);
  if (found != host.controllers.end()) return writeController(host, found->second, result);
  if (!host.calls.wereSentTo(hba)) return differ("was not asked: left out");
  differ("told nothing of itself: without drives and volumes here");
  result.topology.controllers.emplace_back().hba = hba;
}

}  // namespace

RecordedTopology topologyOf(const RecordedHost& host) {
  RecordedTopology result;
  result.topology.oemDriver = host.isOemDriver;
  for (const std::string& hba : host.hbas) writeListed(host, hba, result);
  for (const std::string& name : host.changed) {
    result.differences.push_back(printable(name) + ": changed while it was recorded: as at first here");
  }
  placeDisks(host, result);
  FaultWriter(result).write(host.calls);
  return result;
}

}  // namespace host::topology
