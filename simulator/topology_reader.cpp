// The topology, object by object. Keys are named as the members of the structs that they fill.
#include "simulator/topology_reader.h"

#include <nlohmann/json.hpp>

#include "json/json_object.h"
#include "json/json_text.h"
#include "simulator/disk_identity.h"
#include "simulator/drive_address.h"
#include "simulator/fault_reader.h"
#include "simulator/raid_levels.h"

namespace simulator {
namespace {

using input::JsonObject;
using input::Mistakes;
using input::Need;
using nlohmann::json;

constexpr size_t kDriveSerial = 40;
constexpr size_t kNodeSerial = 60;
constexpr size_t kPortName = 64;
constexpr size_t kLabel = 64;

Drive readDrive(const JsonObject::Element& element, Mistakes& mistakes) {
  Drive drive;
  JsonObject object(element.value, element.path, mistakes);
  object.number("bus", drive.bus, Need::required, kLeastBus, kMostBus);
  object.number("target", drive.target, Need::required);
  object.flag("exposed", drive.exposed, Need::optional);
  object.flag("listed", drive.listed, Need::optional);
  readDevice(object, drive.device, drive.exposed ? Need::required : Need::optional, 0);
  object.text("serial", drive.serial, Need::required, 0, kDriveSerial);
  if (std::string serial; object.text("nodeSerial", serial, Need::optional, 0, kNodeSerial)) drive.nodeSerial = serial;
  object.text("port", drive.port, Need::required, 0, kPortName);
  object.number("box", drive.box, Need::required);
  object.number("bay", drive.bay, Need::required);
  object.number("currentTemperature", drive.currentTemperature, Need::optional);
  object.number("maximumTemperature", drive.maximumTemperature, Need::optional);
  object.hex("wwid", drive.wwid, Need::optional);
  object.number("deviceType", drive.deviceType, Need::optional);
  object.refuseUnknownKeys();
  return drive;
}

std::vector<uint32_t> readMembers(JsonObject& object, Need need, Mistakes& mistakes) {
  std::vector<uint32_t> members;
  for (const auto& element : object.list("members", need)) {
    const auto index = element.value.is_string() ? parseDriveName(element.value.get<std::string>()) : std::nullopt;
    if (!index) mistakes.add(element.path, kDriveNameRule + input::shown(element.value));
    members.push_back(index.value_or(0));
  }
  return members;
}

Volume readVolume(const JsonObject::Element& element, Mistakes& mistakes) {
  Volume volume;
  JsonObject object(element.value, element.path, mistakes);
  object.number("number", volume.number, Need::required, 0, 0x3FFFFFFF);
  readDevice(object, volume.device, Need::required, 0);
  object.text("serial", volume.serial, Need::required, 0, kNodeSerial);
  object.text("label", volume.label, Need::optional, 0, kLabel);
  std::string level;
  if (object.text("raidLevel", level, Need::required, 0, kLabel)) {
    const auto known = parseRaidLevel(level);
    if (!known) object.refuse("raidLevel", "must be one of " + raidLevelNames() + ", not \"" + level + "\"");
    volume.raidLevel = known.value_or(RaidLevel::raid0);
  }
  object.flag("external", volume.external, Need::optional);
  volume.members = readMembers(object, volume.external ? Need::optional : Need::required, mistakes);
  object.number("externalBoxId", volume.externalBoxId, Need::optional);
  object.number("logicalDriveId", volume.logicalDriveId, Need::optional);
  object.hex("uniqueId", volume.uniqueId, Need::optional);
  object.flag("cacheOn", volume.cacheOn, Need::optional);
  object.refuseUnknownKeys();
  return volume;
}

Controller readController(const JsonObject::Element& element, Mistakes& mistakes) {
  Controller controller;
  JsonObject object(element.value, element.path, mistakes);
  object.text("hba", controller.hba, Need::required, 1, kMostHbaName);
  if (const json* pci = object.find("pci", Need::optional))
    controller.pci = readPci({*pci, object.pathOf("pci")}, mistakes);
  object.number("maxPhysDevicesSupported", controller.maxPhysDevicesSupported, Need::required);
  object.number("maxPhysDrivesPerLogicalUnit", controller.maxPhysDrivesPerLogicalUnit, Need::required);
  object.number("maxLogicalDrivesSupported", controller.maxLogicalDrivesSupported, Need::required);
  object.flag("extendedBlinkArray", controller.extendedBlinkArray, Need::optional);
  object.flag("driveCacheOn", controller.driveCacheOn, Need::optional);
  for (const auto& drive : object.list("drives", Need::required))
    controller.drives.push_back(readDrive(drive, mistakes));
  for (const auto& volume : object.list("volumes", Need::optional))
    controller.volumes.push_back(readVolume(volume, mistakes));
  object.refuseUnknownKeys();
  return controller;
}

ForeignDisk readForeignDisk(const JsonObject::Element& element, Mistakes& mistakes) {
  ForeignDisk disk;
  JsonObject object(element.value, element.path, mistakes);
  readDevice(object, disk.device, Need::required);
  object.text("serial", disk.serial, Need::required, 0, kNodeSerial);
  object.text("hba", disk.hba, Need::required, 1, kMostHbaName);
  object.number("channel", disk.channel, Need::optional);
  object.number("target", disk.target, Need::optional);
  object.number("lun", disk.lun, Need::optional);
  object.text("driver", disk.driver, Need::required, 1, kMostDriverName);
  if (const json* pci = object.find("pci", Need::optional)) disk.pci = readPci({*pci, object.pathOf("pci")}, mistakes);
  object.refuseUnknownKeys();
  return disk;
}

std::vector<std::string> readDiskOrder(JsonObject& object, Mistakes& mistakes) {
  std::vector<std::string> order;
  for (const auto& element : object.list("diskOrder", Need::optional)) {
    if (!element.value.is_string()) mistakes.add(element.path, "must be a text, not " + input::shown(element.value));
    order.push_back(element.value.is_string() ? element.value.get<std::string>() : "");
  }
  return order;
}

Topology readAll(const json& document, Mistakes& mistakes) {
  Topology topology;
  JsonObject object(document, "", mistakes);
  object.flag("oemDriver", topology.oemDriver, Need::optional);
  for (const auto& controller : object.list("controllers", Need::required))
    topology.controllers.push_back(readController(controller, mistakes));
  for (const auto& disk : object.list("foreignDisks", Need::optional))
    topology.foreignDisks.push_back(readForeignDisk(disk, mistakes));
  topology.diskOrder = readDiskOrder(object, mistakes);
  for (const auto& fault : object.list("faults", Need::optional)) topology.faults.push_back(readFault(fault, mistakes));
  object.refuseUnknownKeys();
  return topology;
}

}  // namespace

Topology readTopology(const std::string& text, Mistakes& mistakes) {
  const json document = input::parseJson(text, mistakes);
  return mistakes.none() ? readAll(document, mistakes) : Topology{};
}

}  // namespace simulator
