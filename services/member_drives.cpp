// Location texts, and what is known of a volume's members.
#include "services/member_drives.h"

#include <cstdio>

namespace dmu {

LocationText::LocationText(const OrvaInfo_Devices& drive, const char* suffix) {
  std::snprintf(text, sizeof(text), "port:box:bay %.8s:%u:%u%s", drive.portName, drive.box, drive.bay, suffix);
}

bool hasKnownMembers(const OrvaInfo_Devices& device) {
  return isVolume(device.lunAddress) && device.raidMap != nullptr && device.physicalDisks != 0 && device.external == 0;
}

int driveCount(const OrvaInfo_Devices& device) {
  return isVolume(device.lunAddress) ? device.physicalDisks : 1;
}

}  // namespace dmu
