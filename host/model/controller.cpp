// Finds volumes and drives of a controller.
#include "host/model/controller.h"

#include <algorithm>

#include "simulator/wire.h"

namespace host::model {

uint32_t Volume::number() const {
  return word & simulator::wire::kVolumeNumberMask;
}

bool Volume::isAt(const HostDisk& disk) const {
  const uint32_t low = word & 0x3FFF;
  if (isExternal) {
    return disk.channel == 3 && disk.target == (word >> 16 & 0x3FFF) && disk.lun == (word & 0xFF);
  }
  const bool isPlain = disk.target == low && disk.lun == 0;
  const bool isOem = disk.target == 0 && disk.lun == low + 1;
  return disk.channel == 1 && (isPlain || isOem);
}

template <typename Items, typename Fits>
static auto* firstOf(Items& items, Fits fits) {
  const auto found = std::find_if(items.begin(), items.end(), fits);
  return found == items.end() ? nullptr : &*found;
}

const Volume* Controller::volumeOf(const HostDisk& disk) const {
  return firstOf(volumes, [&](const Volume& volume) { return volume.isAt(disk); });
}

const Drive* Controller::exposedDrive(const std::string& serial) const {
  if (serial.empty()) return nullptr;
  return firstOf(drives, [&](const Drive& drive) {
    return drive.isExposed && drive.identity && drive.identity->serial.starts_with(serial);
  });
}

const Drive* Controller::drive(uint32_t index) const {
  return firstOf(drives, [&](const Drive& drive) { return drive.index == index; });
}

const Volume* Controller::volumeWith(const Drive& drive) const {
  return firstOf(volumes,
                 [&](const Volume& volume) { return volume.members && volume.members->contains(drive.index); });
}

std::vector<uint32_t> missingMembers(const Controller& controller, const Volume& volume) {
  std::vector<uint32_t> missing;
  for (const uint32_t index : volume.members.value_or(std::set<uint32_t>{})) {
    const Drive* drive = controller.drive(index);
    if (drive == nullptr || !drive->isListed) missing.push_back(index);
  }
  return missing;
}

}  // namespace host::model
