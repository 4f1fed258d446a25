// Spells the keys that simulator/topology_reader.cpp and fault_reader.cpp read.
#include "host/topology/topology_text.h"

#include <algorithm>

#include "host/disks/disk_record.h"
#include "host/output/json_values.h"
#include "json/hex.h"
#include "simulator/drive_address.h"
#include "simulator/raid_levels.h"

namespace host::topology {
namespace {

using simulator::FaultAction;

/// Adds the key unless the value is the default.
template <typename Value>
void add(Json& object, const char* key, const Value& value, const Value& byDefault) {
  if (value != byDefault) object[key] = value;
}

template <size_t size>
void addHex(Json& object, const char* key, const std::array<uint8_t, size>& bytes) {
  if (bytes != std::array<uint8_t, size>{}) object[key] = input::toHex(bytes);
}

Json toJson(const simulator::Drive& drive) {
  const simulator::Drive usual;
  Json json = {{"bus", drive.bus}, {"target", drive.target}};
  add(json, "exposed", drive.exposed, usual.exposed);
  add(json, "listed", drive.listed, usual.listed);
  if (drive.exposed) json["device"] = drive.device;
  json["serial"] = drive.serial;
  if (drive.nodeSerial) json["nodeSerial"] = *drive.nodeSerial;
  json.update({{"port", drive.port}, {"box", drive.box}, {"bay", drive.bay}});
  add(json, "currentTemperature", drive.currentTemperature, usual.currentTemperature);
  add(json, "maximumTemperature", drive.maximumTemperature, usual.maximumTemperature);
  addHex(json, "wwid", drive.wwid);
  add(json, "deviceType", drive.deviceType, usual.deviceType);
  return json;
}

Json toJson(const simulator::Volume& volume) {
  const simulator::Volume usual;
  Json json = {{"number", volume.number}, {"device", volume.device}, {"serial", volume.serial}};
  add(json, "label", volume.label, usual.label);
  json["raidLevel"] = simulator::ruleOf(volume.raidLevel).name;
  add(json, "external", volume.external, usual.external);
  Json members = Json::array();
  for (const uint32_t index : volume.members) members.push_back(simulator::driveName(index));
  json["members"] = std::move(members);
  add(json, "externalBoxId", volume.externalBoxId, usual.externalBoxId);
  add(json, "logicalDriveId", volume.logicalDriveId, usual.logicalDriveId);
  addHex(json, "uniqueId", volume.uniqueId);
  add(json, "cacheOn", volume.cacheOn, usual.cacheOn);
  return json;
}

Json toJson(const simulator::ForeignDisk& disk) {
  const simulator::ForeignDisk usual;
  Json json = {{"device", disk.device}, {"serial", disk.serial}, {"hba", disk.hba},      {"channel", disk.channel},
               {"target", disk.target}, {"lun", disk.lun},       {"driver", disk.driver}};
  const Json pci = host::toJson(disk.pci);
  if (pci != host::toJson(usual.pci)) json["pci"] = pci;
  return json;
}

Json toJson(const simulator::FaultRule& rule) {
  const simulator::FaultRule usual;
  Json json = {{"call", rule.call}};
  add(json, "controller", rule.controller, usual.controller);
  if (rule.drive) json["drive"] = simulator::driveName(*rule.drive);
  if (rule.volume) json["volume"] = *rule.volume;
  add(json, "device", rule.device, usual.device);
  add(json, "from", rule.from, usual.from);
  add(json, "count", rule.count, usual.count);
  if (rule.action == FaultAction::error) json["error"] = static_cast<int32_t>(rule.value);
  if (rule.action == FaultAction::driverStatus) json["driverStatus"] = rule.value;
  if (rule.action == FaultAction::length) json["length"] = rule.value;
  if (rule.action == FaultAction::set) json.update({{"set", input::toHex(rule.bytes)}, {"offset", rule.offset}});
  if (rule.action == FaultAction::delay) json["delayMs"] = rule.value;
  if (rule.action == FaultAction::vanish) json["vanish"] = true;
  if (rule.action == FaultAction::missing) json["missing"] = true;
  return json;
}

Json toJson(const simulator::Controller& controller);

template <typename Items>
Json listOf(const Items& items) {
  Json list = Json::array();
  for (const auto& item : items) list.push_back(toJson(item));
  return list;
}

Json toJson(const simulator::Controller& controller) {
  Json json = {{"hba", controller.hba},
               {"pci", host::toJson(controller.pci)},
               {"maxPhysDevicesSupported", controller.maxPhysDevicesSupported},
               {"maxPhysDrivesPerLogicalUnit", controller.maxPhysDrivesPerLogicalUnit},
               {"maxLogicalDrivesSupported", controller.maxLogicalDrivesSupported}};
  add(json, "extendedBlinkArray", controller.extendedBlinkArray, false);
  add(json, "driveCacheOn", controller.driveCacheOn, false);
  json["drives"] = listOf(controller.drives);
  json["volumes"] = listOf(controller.volumes);
  return json;
}

std::string onOneLine(const Json& value) {
  if (!value.is_structured()) return value.dump();
  std::string text;
  for (const auto& [key, item] : value.items()) {
    text += text.empty() ? "" : ", ";
    if (value.is_object()) text += Json(key).dump() + ": ";
    text += onOneLine(item);
  }
  return value.is_object() ? "{" + text + "}" : "[" + text + "]";
}

bool isListOfObjects(const Json& value) {
  return value.is_array() && !value.empty() && value.front().is_object();
}

/// Whether there is a list of objects in it, which takes lines of its own.
bool isLong(const Json& value) {
  return isListOfObjects(value) || (value.is_object() && std::any_of(value.begin(), value.end(), isListOfObjects));
}

std::string onLines(const Json& value, const std::string& indent) {
  if (!isLong(value)) return onOneLine(value);
  const std::string inner = indent + "  ";
  std::string text;
  for (const auto& [key, item] : value.items()) {
    text += (text.empty() ? "\n" : ",\n") + inner;
    if (value.is_object()) text += Json(key).dump() + ": ";
    text += onLines(item, inner);
  }
  text += "\n" + indent;
  return value.is_object() ? "{" + text + "}" : "[" + text + "]";
}

}  // namespace

Json toJson(const simulator::Topology& topology) {
  Json json = {{"oemDriver", topology.oemDriver}, {"controllers", listOf(topology.controllers)}};
  if (!topology.foreignDisks.empty()) json["foreignDisks"] = listOf(topology.foreignDisks);
  if (!topology.diskOrder.empty()) json["diskOrder"] = topology.diskOrder;
  if (!topology.faults.empty()) json["faults"] = listOf(topology.faults);
  return json;
}

bool isWritable(const std::string& text) {
  const auto isControl = [](char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
  };
  if (std::any_of(text.begin(), text.end(), isControl)) return false;
  for (size_t at = text.find('\xC2'); at != std::string::npos; at = text.find('\xC2', at + 1)) {
    if (text.substr(at + 1, 1) < "\xA0") return false;  // U+0080 to U+009F
  }
  return utf8Of(text) == text;
}

std::string writable(std::string text) {
  if (isWritable(text)) return text;
  const auto isSpecial = [](char byte) { return byte < 0x20 || byte > 0x7E; };
  std::replace_if(text.begin(), text.end(), isSpecial, '?');
  return text;
}

std::string textOf(const Json& topology) {
  return onLines(topology, "") + "\n";
}

}  // namespace host::topology
