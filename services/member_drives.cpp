// Location texts and the test for known members.
#include "services/member_drives.h"

#include <cstdio>

namespace dmu {

void formatLocation(char* text, size_t size, const OrvaInfo_Devices& drive, const char* suffix) {
  std::snprintf(text, size, "port:box:bay %.8s:%u:%u%s", drive.portName, drive.box, drive.bay, suffix);
}

bool hasKnownMembers(const OrvaInfo_Devices& device) {
  return isVolume(device.lunAddress) && device.raidMap != nullptr && device.physicalDisks != 0 && device.external == 0;
}

}  // namespace dmu
