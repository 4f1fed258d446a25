// Asks controller after controller, joins what they list with the host's nodes, and asks the plugin whether it is so.
#include "host/discovery/discovery.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "host/discovery/node_names.h"
#include "host/disks/disk_drives.h"
#include "host/disks/plugin_calls.h"
#include "host/disks/serial_number.h"
#include "host/model/host_address.h"
#include "host/output/files.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"
#include <dmu/plugin.h>

namespace host {
namespace {

constexpr model::HostAddress kNoDevice = {4095, 4095, 4095};  // numbers that no channel, target or LUN has

HostDisk diskAt(const std::string& hba, const model::HostAddress& address) {
  HostDisk disk;
  disk.hba = hba;
  disk.channel = address.channel;
  disk.target = address.target;
  disk.lun = address.lun;
  disk.driver = kDmuDriver;
  disk.pci.isPciDevice = false;
  disk.device = hba + ":" + addressOf(disk);
  return disk;
}

Answer<DmuDeviceInfo> ask(Session& session, const HostDisk& disk) {
  const DeviceHandle handle = openHandle(session.plugin(), disk);
  if (handle.get() == nullptr) return {std::nullopt, "the plugin opened no handle"};
  return deviceInformation(handle);
}

/// Why the plugin does not answer that a disk is of this type; empty when it does.
std::string whyNot(Session& session, const HostDisk& disk, uint8_t type) {
  const auto answer = ask(session, disk);
  if (!answer.value) return answer.error;
  return answer.value->deviceType == type ? "" : "the plugin takes it for something else";
}

/// The driver's controllers, in its order.
std::vector<std::string> listControllers(Session& session) {
  const std::string error = askController(session, kNoController);
  std::vector<std::string> names = session.commands().listedControllers();
  if (names.empty()) throw Refusal("the driver lists no controllers: " + printable(error));
  return names;
}

/// The address under which the host has the volume: it depends on the driver, so the plugin is asked at each.
std::vector<HostDisk> possibleAddresses(const std::string& hba, const model::Volume& volume) {
  if (volume.isExternal) return {diskAt(hba, model::externalVolumeAddress(volume.word))};
  return {diskAt(hba, model::volumeAddress(volume.word, false)), diskAt(hba, model::volumeAddress(volume.word, true))};
}

std::string idOf(const model::Volume& volume) {
  std::string digits;
  for (const uint8_t byte : volume.uniqueId) {
    char two[3];
    std::snprintf(two, sizeof(two), "%02x", unsigned{byte});
    digits += two;
  }
  return digits;
}

/// A volume that the plugin answers for.
struct FoundVolume {
  HostDisk disk;
  std::string id;
};

/// An exposed drive, and the nodes that answer its serial number.
struct FoundDrive {
  std::string hba;
  model::Drive drive;
  std::vector<std::string> nodes;
};

class Search {
 public:
  Search(Session& session, const Nodes& nodes) : session_(session), nodes_(nodes) {}

  Discovery run() {
    for (const std::string& hba : listControllers(session_)) readListed(hba);
    if (!nodes_.error.empty()) leave("nodes", nodes_.error);
    std::vector<std::string> ids;
    for (const FoundVolume& volume : volumes_) ids.push_back(volume.id);
    JoinedNodes joined = joinNodes(ids, nodes_.names);
    joinDrives(joined.left);
    for (const std::string& hba : controllers_) {
      for (size_t volume = 0; volume < volumes_.size(); ++volume) {
        if (volumes_[volume].disk.hba == hba) list(volumes_[volume].disk, joined.ofVolumes[volume]);
      }
      for (const FoundDrive& drive : drives_) {
        if (drive.hba == hba) list(drive);
      }
    }
    return std::move(found_);
  }

 private:
  void leave(const std::string& what, const std::string& why) { found_.left.push_back({what, why}); }

  void readListed(const std::string& hba) {
    const std::string why = askController(session_, hba);
    const model::Controller* const controller = session_.controllers().find(hba);
    if (controller == nullptr) return found_.silent.push_back({hba.empty() ? "a controller without a name" : hba, why});
    controllers_.push_back(hba);
    const model::Controller known = *controller;  // the questions below may read it anew
    for (const model::Volume& volume : known.volumes) findVolume(hba, volume);
    for (const model::Drive& drive : known.drives) {
      if (drive.isListed && drive.isExposed) drives_.push_back({hba, drive, {}});
    }
  }

  void findVolume(const std::string& hba, const model::Volume& volume) {
    const std::string name = hba + ": volume " + std::to_string(volume.number());
    std::string why;
    for (const HostDisk& disk : possibleAddresses(hba, volume)) {
      const std::string reason = whyNot(session_, disk, kDmuLogicalVolume);
      if (why.empty()) why = reason;
      if (!reason.empty()) continue;
      const auto other = std::find_if(volumes_.begin(), volumes_.end(),
                                      [&](const FoundVolume& one) { return one.disk.device == disk.device; });
      if (other != volumes_.end()) return leave(name, "another volume has its address, " + disk.device);
      volumes_.push_back({disk, idOf(volume)});
      return;
    }
    leave(name, why);
  }

  /// Asks the nodes that are no volume's.
  void joinDrives(const std::vector<LeftNode>& nodes) {
    Activity activity(nodes.size(), "nodes");
    for (const LeftNode& node : nodes) {
      activity.advance();
      const std::string why = node.why.empty() ? joinDrive(node.name) : node.why;
      if (!why.empty()) leave(node.name, why);
    }
  }

  /// @return why the node is no exposed drive's; empty when it is
  std::string joinDrive(const std::string& node) {
    const SerialAnswer answer = readSerialNumber(node);
    if (!answer.error.empty()) return answer.error;
    if (!answer.serial) return "it has no serial number";
    FoundDrive* found = nullptr;
    for (const std::string& hba : controllers_) {
      const auto fits = [&](const FoundDrive& one) {
        return one.hba == hba && one.drive.identity && one.drive.identity->serial.starts_with(*answer.serial);
      };
      const auto first = std::find_if(drives_.begin(), drives_.end(), fits);
      if (first == drives_.end()) continue;
      if (found != nullptr) return "controllers " + found->hba + " and " + hba + " list its serial number";
      const bool isOnlyBeginning = first->drive.identity->serial != *answer.serial;
      if (isOnlyBeginning && std::any_of(first + 1, drives_.end(), fits)) {
        return "several drives of " + hba + " begin with its serial number";
      }
      found = &*first;
    }
    if (found == nullptr) return "no controller lists its serial number, " + printable(*answer.serial);
    found->nodes.push_back(node);
    return "";
  }

  /// Lists a disk under the first of its nodes.
  void list(HostDisk disk, const std::vector<std::string>& nodes) {
    if (!nodes.empty()) disk.device = nodes.front();
    for (size_t other = 1; other < nodes.size(); ++other) leave(nodes[other], "another node of " + disk.device);
    found_.disks.push_back(std::move(disk));
  }

  void list(const FoundDrive& found) {
    HostDisk disk = diskAt(found.hba, model::driveAddress(found.drive.index));
    const auto& identity = found.drive.identity;
    const std::string name = found.hba + ": " +
                             (identity && !identity->serial.empty() ? "drive serial:" + printable(identity->serial)
                                                                    : "drive " + std::to_string(found.drive.index));
    const std::string place = identity ? ", in " + bayText(placeOf(*identity)) : "";
    if (found.nodes.empty()) return leave(name + place, "no node answers its serial number");
    disk.device = found.nodes.front();
    if (const std::string why = whyNot(session_, disk, kDmuPhysicalDisk); !why.empty()) {
      return leave(name + place, why + " (by its node " + disk.device + ")");
    }
    list(disk, found.nodes);
  }

  Session& session_;
  const Nodes& nodes_;
  std::vector<std::string> controllers_;  // that answered
  std::vector<FoundVolume> volumes_;
  std::vector<FoundDrive> drives_;
  Discovery found_;
};

}  // namespace

std::string askController(Session& session, const std::string& hba) {
  return ask(session, diskAt(hba, kNoDevice)).error;
}

void reportSilent(Report& report, const Discovery& found) {
  for (const NotJoined& controller : found.silent) {
    report.refused(Refusal(printable(controller.what + " does not answer: " + controller.why)));
  }
}

Discovery discoverDisks(Session& session, const Nodes& nodes) {
  return Search(session, nodes).run();
}

Nodes nodesIn(const std::string& folder) {
  Nodes nodes;
  if (const auto names = namesIn(folder)) {
    nodes.names = *names;
  } else {
    nodes.error = folder + ": " + std::strerror(errno);
  }
  return nodes;
}

}  // namespace host
