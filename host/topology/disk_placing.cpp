// Looks for each disk's volume or drive by its address.
#include "host/topology/disk_placing.h"

#include <optional>
#include <set>
#include <tuple>

#include "host/model/find_first.h"
#include "host/model/host_address.h"
#include "host/output/text.h"
#include <dmu/plugin.h>

namespace host::topology {
namespace {

constexpr size_t kLongestNodeSerial = 60;

bool isSame(const simulator::PciIdentity& one, const simulator::PciIdentity& other) {
  const auto tied = [](const simulator::PciIdentity& pci) {
    return std::tie(pci.isPciDevice, pci.segment, pci.bus, pci.slot, pci.function, pci.vendorId, pci.subVendorId,
                    pci.deviceId, pci.subDeviceId, pci.physicalSlot);
  };
  return tied(one) == tied(other);
}

class DiskPlacing {
 public:
  DiskPlacing(const RecordedHost& host, RecordedTopology& result)
      : host_(host), topology_(result.topology), differences_(result.differences) {}

  void place() {
    for (const HostDisk& disk : host_.disks.value_or(std::vector<HostDisk>{})) reserveDrive(disk);
    if (!host_.disks) differences_.emplace_back("the recording has no list of the host's disks: it has none here");
    std::vector<std::string> order;
    for (const HostDisk& disk : host_.disks.value_or(std::vector<HostDisk>{})) {
      if (!devices_.insert(disk.device).second) {
        differences_.push_back(printable(disk.device) + ": is listed twice: once here");
        continue;
      }
      order.push_back(disk.device);
      if (!host_.serials.contains(disk.device) && host_.cutSerials.contains(disk.device)) {
        differences_.push_back(printable(disk.device) +
                               ": its serial number never arrived whole: question marks here, and fault rules cut it");
      }
      simulator::Controller* controller = controllerOf(disk);
      if (controller != nullptr && (becomesVolume(disk, *controller) || becomesDrive(disk, *controller))) continue;
      if (disk.driver == kDmuDriver) {
        differences_.push_back(printable(disk.device) + ": no volume or drive of " + printable(disk.hba) +
                               " is at its address: among the foreign disks here");
      }
      topology_.foreignDisks.push_back({disk.device, serialOf(disk.device).value_or(""), disk.hba, disk.channel,
                                        disk.target, disk.lun, disk.driver, disk.pci});
    }
    if (order != orderOfTopology()) topology_.diskOrder = std::move(order);
  }

 private:
  [[nodiscard]] std::optional<std::string> serialOf(const std::string& device) const {
    if (const auto found = host_.serials.find(device); found != host_.serials.end()) return found->second;
    if (const auto cut = host_.cutSerials.find(device); cut != host_.cutSerials.end()) {
      return std::string(std::min(cut->second, kLongestNodeSerial), '?');
    }
    return std::nullopt;
  }

  /// The controller that can present the disk, with the PCI identity of the first one.
  simulator::Controller* controllerOf(const HostDisk& disk) {
    simulator::Controller* controller =
        findFirst(topology_.controllers, [&](const simulator::Controller& other) { return other.hba == disk.hba; });
    if (controller == nullptr || disk.driver != kDmuDriver) return nullptr;
    if (identified_.insert(disk.hba).second) controller->pci = disk.pci;
    return isSame(controller->pci, disk.pci) ? controller : nullptr;
  }

  bool becomesVolume(const HostDisk& disk, simulator::Controller& controller) const {
    simulator::Volume* volume = findFirst(controller.volumes, [&](const simulator::Volume& other) {
      const model::HostAddress address = other.external ? model::externalVolumeAddress(other.number)
                                                        : model::volumeAddress(other.number, topology_.oemDriver);
      return other.device.empty() && address.isOf(disk);
    });
    if (volume == nullptr) return false;
    volume->device = disk.device;
    volume->serial = serialOf(disk.device).value_or("");
    return true;
  }

  /// The free drives at the disk's address, one on each bus.
  [[nodiscard]] static std::vector<simulator::Drive*> drivesAt(const HostDisk& disk,
                                                               simulator::Controller& controller) {
    std::vector<simulator::Drive*> drives;
    for (simulator::Drive& drive : controller.drives) {
      const bool isThere = model::driveAddress(drive.target).isOf(disk);
      if (isThere && drive.exposed && drive.device.empty()) drives.push_back(&drive);
    }
    return drives;
  }

  /// A drive that has the serial number of the disk's node is the disk's, whichever comes first.
  void reserveDrive(const HostDisk& disk) {
    simulator::Controller* controller = controllerOf(disk);
    if (controller == nullptr || !reserved_.insert(disk.device).second) return;
    const auto serial = serialOf(disk.device);
    for (simulator::Drive* drive : drivesAt(disk, *controller)) {
      if (drive->serial != serial) continue;
      drive->device = disk.device;
      return;
    }
  }

  /// The plugin finds a drive by its serial number, so it matters little which of those at one address it is.
  bool becomesDrive(const HostDisk& disk, simulator::Controller& controller) const {
    if (findFirst(controller.drives, [&](const simulator::Drive& drive) { return drive.device == disk.device; })) {
      return true;
    }
    const auto drives = drivesAt(disk, controller);
    if (drives.empty()) return false;
    drives.front()->device = disk.device;
    if (const auto serial = serialOf(disk.device); serial && serial != drives.front()->serial) {
      drives.front()->nodeSerial = serial;
    }
    return true;
  }

  /// As the simulated host lists its disks by itself.
  [[nodiscard]] std::vector<std::string> orderOfTopology() const {
    std::vector<std::string> order;
    const auto add = [&](const auto& disks) {
      for (const auto& disk : disks) {
        if (!disk.device.empty()) order.push_back(disk.device);
      }
    };
    for (const simulator::Controller& controller : topology_.controllers) {
      add(controller.volumes);
      add(controller.drives);
    }
    add(topology_.foreignDisks);
    return order;
  }

  const RecordedHost& host_;
  simulator::Topology& topology_;
  std::vector<std::string>& differences_;
  std::set<std::string> devices_;
  std::set<std::string> reserved_;
  std::set<std::string> identified_;  // HBAs whose PCI identity is known
};

}  // namespace

void placeDisks(const RecordedHost& host, RecordedTopology& result) {
  DiskPlacing(host, result).place();
}

}  // namespace host::topology
