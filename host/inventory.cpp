// Reads and checks the inventory file: no unknown key, none missing that must be there, every number in its range, no
// disk twice.
#include "host/inventory.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string_view>

#include "host/json_file.h"
#include "host/refusal.h"

namespace host {
namespace {

/// One JSON value with its place in the file, so that a mistake can be named.
class Node {
 public:
  Node(const Json& value, std::string file, std::string path)
      : value_(value), file_(std::move(file)), path_(std::move(path)) {}

  [[noreturn]] void refuse(const std::string& reason) const {
    throw Refusal(file_ + ": " + (path_.empty() ? "/" : path_) + ": " + reason);
  }

  /// Refuses anything but an object whose keys are among those given.
  void mustBeObjectOf(std::initializer_list<std::string_view> keys) const {
    if (!value_.is_object()) refuse("must be an object");
    for (const auto& [key, value] : value_.items()) {
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) child(key).refuse("unknown key");
    }
  }

  [[nodiscard]] bool has(const char* key) const { return value_.contains(key); }

  [[nodiscard]] Node at(const char* key) const {
    if (!has(key)) refuse("key \"" + std::string(key) + "\" is missing");
    return child(key);
  }

  [[nodiscard]] std::vector<Node> elements() const {
    if (!value_.is_array()) refuse("must be an array");
    std::vector<Node> nodes;
    for (size_t index = 0; index < value_.size(); ++index) {
      nodes.emplace_back(value_[index], file_, path_ + "/" + std::to_string(index));
    }
    return nodes;
  }

  [[nodiscard]] std::string text() const {
    if (!value_.is_string() || value_.get_ref<const std::string&>().empty()) refuse("must be a text that is not empty");
    return value_.get<std::string>();
  }

  [[nodiscard]] bool truth() const {
    if (!value_.is_boolean()) refuse("must be true or false");
    return value_.get<bool>();
  }

  template <typename Number>
  [[nodiscard]] Number number() const {
    constexpr uint64_t kMost = std::numeric_limits<Number>::max();
    if (!value_.is_number_unsigned() || value_.get<uint64_t>() > kMost) {
      refuse("must be a whole number from 0 to " + std::to_string(kMost));
    }
    return static_cast<Number>(value_.get<uint64_t>());
  }

  /// Reads an optional number; without it the value stays.
  template <typename Number>
  void readInto(const char* key, Number& value) const {
    if (has(key)) value = at(key).number<Number>();
  }

 private:
  [[nodiscard]] Node child(const std::string& key) const { return {value_.at(key), file_, path_ + "/" + key}; }

  const Json& value_;
  std::string file_;
  std::string path_;
};

/// The keys of a controller's "pci" in a topology, each optional as there.
simulator::PciIdentity pciOf(const Node& node) {
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

HostDisk diskOf(const Node& node) {
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

}  // namespace

std::vector<HostDisk> readInventory(const std::string& file) {
  const Json json = readJsonFile(file);
  const Node root(json, file, "");
  root.mustBeObjectOf({"disks"});
  std::vector<HostDisk> disks;
  std::set<std::string> devices;
  std::set<std::string> addresses;
  for (const Node& node : root.at("disks").elements()) {
    HostDisk disk = diskOf(node);
    if (!devices.insert(disk.device).second) node.at("device").refuse("\"" + disk.device + "\" is named twice");
    const std::string address = disk.hba + ":" + addressOf(disk);
    if (!addresses.insert(address).second) node.refuse("another disk has the address " + address + " too");
    disks.push_back(std::move(disk));
  }
  return disks;
}

}  // namespace host
