// Finds volumes and drives of a controller.
#include "host/model/controller.h"

#include <algorithm>

#include "host/model/find_first.h"
#include "host/model/host_address.h"
#include "simulator/wire.h"

namespace host::model {

uint32_t Volume::number() const {
  return word & simulator::wire::kVolumeNumberMask;
}

bool Volume::isAt(const HostDisk& disk) const {
  if (isExternal) return externalVolumeAddress(word).isOf(disk);
  return volumeAddress(word, false).isOf(disk) || volumeAddress(word, true).isOf(disk);
}

const Volume* Controller::volumeOf(const HostDisk& disk) const {
  return findFirst(volumes, [&](const Volume& volume) { return volume.isAt(disk); });
}

const Drive* Controller::exposedDrive(const std::string& serial) const {
  if (serial.empty()) return nullptr;
  return findFirst(drives, [&](const Drive& drive) {
    return drive.isExposed && drive.identity && drive.identity->serial.starts_with(serial);
  });
}

const Drive* Controller::drive(uint32_t index) const {
  return findFirst(drives, [&](const Drive& drive) { return drive.index == index; });
}

const Volume* Controller::volumeWith(const Drive& drive) const {
  return findFirst(volumes,
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
