// Reads the inventory file, disk by disk, with every mistake that is in it.
#include "host/disks/inventory.h"

#include <nlohmann/json.hpp>

#include "host/refusal.h"
#include "json/input.h"
#include "json/json_text.h"
#include "json/unique.h"
#include "simulator/disk_identity.h"

namespace host {
namespace {

constexpr uint32_t kDiskChannel = 0;

using input::JsonObject;
using input::Need;

/// A document of this program's, which says more of each disk than an inventory and of the run that wrote it.
bool isDocument(const nlohmann::json& document) {
  if (!document.is_object()) return false;
  const auto format = document.find("format");
  return format != document.end() && *format == "dmu-host";
}

std::vector<HostDisk> readDisks(const nlohmann::json& document, input::Mistakes& mistakes) {
  std::vector<HostDisk> disks;
  input::Unique devices("device", mistakes);
  input::Unique addresses("address", mistakes);
  JsonObject object(document, "", mistakes);
  const OtherKeys others = isDocument(document) ? OtherKeys::ignored : OtherKeys::refused;
  for (const auto& element : object.list(isDocument(document) ? "devices" : "disks", Need::required)) {
    const size_t before = mistakes.count();
    const HostDisk disk = diskOf(element, mistakes, others);
    const bool isWhole = mistakes.count() == before;
    if (!disk.device.empty()) devices.claim(disk.device, element.path + "/device");
    const bool mayShareAddress = disk.channel == kDiskChannel;  // drives of two buses, told apart by serial number
    if (isWhole && !mayShareAddress) addresses.claim(disk.hba + ":" + addressOf(disk), element.path);
    disks.push_back(disk);
  }
  if (others == OtherKeys::refused) object.refuseUnknownKeys();
  return disks;
}

}  // namespace

HostDisk diskOf(const JsonObject::Element& element, input::Mistakes& mistakes, OtherKeys others) {
  HostDisk disk;
  JsonObject object(element.value, element.path, mistakes);
  simulator::readDevice(object, disk.device, Need::required);
  object.text("hba", disk.hba, Need::required, 1, simulator::kMostHbaName);
  object.number("channel", disk.channel, Need::required);
  object.number("target", disk.target, Need::required);
  object.number("lun", disk.lun, Need::required);
  object.text("driver", disk.driver, Need::required, 1, simulator::kMostDriverName);
  disk.pci.isPciDevice = false;
  if (const nlohmann::json* pci = object.find("pci", Need::optional))
    disk.pci = simulator::readPci({*pci, object.pathOf("pci")}, mistakes);
  if (others == OtherKeys::refused) object.refuseUnknownKeys();
  return disk;
}

std::vector<HostDisk> readInventory(const std::string& file) {
  std::string error;
  const auto content = input::readFile(file, error);
  if (!content) throw Refusal(file + ": cannot be read: " + error);
  input::Mistakes mistakes(file);
  const nlohmann::json document = input::parseJson(*content, mistakes);
  std::vector<HostDisk> disks = mistakes.none() ? readDisks(document, mistakes) : std::vector<HostDisk>{};
  if (!mistakes.none()) throw Refusal(mistakes.text());
  return disks;
}

}  // namespace host
