// Reads the files that name disks.
#include "host/naming/known_names.h"

#include "host/disks/inventory.h"
#include "host/naming/device_names.h"

namespace host {
namespace {

std::vector<std::string> namesOf(const std::vector<HostDisk>& disks) {
  std::vector<std::string> names;
  for (const HostDisk& disk : disks) {
    names.push_back(disk.device);
    names.push_back(disk.hba + ":" + addressOf(disk));
  }
  return names;
}

/// Serial numbers and places, which a topology tells of the disks that the host sees.
std::vector<std::string> furtherNamesOf(const simulator::Topology& topology) {
  std::vector<std::string> names;
  const auto addSerial = [&](const std::string& serial) {
    if (!serial.empty()) names.push_back(std::string(kSerialPrefix) + serial);
  };
  for (const simulator::Controller& controller : topology.controllers) {
    for (const simulator::Volume& volume : controller.volumes) addSerial(volume.serial);
    for (const simulator::Drive& drive : controller.drives) {
      if (!drive.exposed) continue;
      addSerial(drive.nodeSerial.value_or(drive.serial));
      names.push_back(std::string(kBayPrefix) + drive.port + ":" + std::to_string(drive.box) + ":" +
                      std::to_string(drive.bay));
    }
  }
  for (const simulator::ForeignDisk& disk : topology.foreignDisks) addSerial(disk.serial);
  return names;
}

std::vector<std::string> simulatedNames(const std::string& topologyFile) {
  const ManagementLibrary library({.file = "", .simulatedFor = "completion"});
  simulator::SimulatedHost* const host = library.simulatedHost();
  if (host == nullptr) return {};
  if (!topologyFile.empty() && host->loadFile(topologyFile)) return {};
  std::vector<std::string> names = namesOf(host->disks());
  const std::vector<std::string> further = furtherNamesOf(host->topology());
  names.insert(names.end(), further.begin(), further.end());
  return names;
}

}  // namespace

std::vector<std::string> knownNames(const GlobalOptions& options) {
  try {
    if (!options.replayFile.empty())
      return namesOf(recording::Replay(recording::Recording(options.replayFile)).disks());
    if (!options.inventoryFile.empty()) return namesOf(readInventory(options.inventoryFile));
    // A library that was named may be a real host's: it is not even loaded.
    return options.libraryFile.empty() ? simulatedNames(options.topologyFile) : std::vector<std::string>{};
  } catch (const Refusal&) {
    return {};
  }
}

}  // namespace host
