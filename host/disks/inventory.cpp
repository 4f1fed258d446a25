// Reads and checks the inventory file: no unknown key, none missing that must be there, every number in its range, no
// disk twice.
#include "host/disks/inventory.h"

#include <set>

#include "host/json_file.h"
#include "host/json_node.h"
#include "json/input.h"

namespace host {
namespace {

/// The keys of a controller's "pci" in a topology, each optional as there.
simulator::PciIdentity pciOf(const JsonNode& node) {
  node.mustBeObjectOf({"isPciDevice", "segment", "bus", "slot", "function", "vendorId", "subVendorId", "deviceId",
                       "subDeviceId", "physicalSlot"});
  simulator::PciIdentity pci;
  if (node.has("isPciDevice")) pci.isPciDevice = node.at("isPciDevice").truth();
  node.readInto("segment", pci.segment);
  node.readInto("bus", pci.bus);
  node.readInto("slot", pci.slot);
  node.readInto("function", pci.function);
  node.readInto("vendorId", pci.vendorId);
  node.readInto("subVendorId", pci.subVendorId);
  node.readInto("deviceId", pci.deviceId);
  node.readInto("subDeviceId", pci.subDeviceId);
  node.readInto("physicalSlot", pci.physicalSlot);
  return pci;
}

}  // namespace

HostDisk diskOf(const JsonNode& node) {
  node.mustBeObjectOf({"device", "hba", "channel", "target", "lun", "driver", "pci"});
  HostDisk disk;
  disk.device = node.at("device").text();
  if (disk.device.find('/') != std::string::npos)
    node.at("device").refuse("must be a name below /dev/disks, without /");
  disk.hba = node.at("hba").text();
  disk.channel = node.at("channel").number<uint32_t>();
  disk.target = node.at("target").number<uint32_t>();
  disk.lun = node.at("lun").number<uint32_t>();
  disk.driver = node.at("driver").text();
  disk.pci.isPciDevice = false;
  if (node.has("pci")) disk.pci = pciOf(node.at("pci"));
  return disk;
}

std::vector<HostDisk> readInventory(const std::string& file) {
  const Json json = readJsonFile(file);
  const JsonNode root(json, file);
  root.mustBeObjectOf({"disks"});
  std::vector<HostDisk> disks;
  std::set<std::string> devices;
  std::set<std::string> addresses;
  for (const JsonNode& node : root.at("disks").elements()) {
    HostDisk disk = diskOf(node);
    if (!devices.insert(disk.device).second)
      node.at("device").refuse("\"" + input::cut(disk.device) + "\" is named twice");
    const std::string address = disk.hba + ":" + addressOf(disk);
    if (!addresses.insert(address).second) node.refuse("another disk has the address " + input::cut(address) + " too");
    disks.push_back(std::move(disk));
  }
  return disks;
}

}  // namespace host
