// The driver's description and the opening and closing of the channel.
#include "channel/management_channel.h"

#include "plugin/trace.h"

namespace {

constexpr uint32_t kByDriver = 1;

}  // namespace

vmk_MgmtUserHandle* mgmtHandle = nullptr;

// Every value is the driver's own, those of the two callbacks that are never invoked (0x11 and 0x13) included.
MgmtCallbackInfo pqiMgmtCallbackInfo[4] = {
    {kByDriver, nullptr, 1, 2, 0, {kInstanceListSize, 4}, {1, 1}, kQueryInstances},
    {kByDriver, nullptr, 1, 3, 0, {4, 12, 4}, {0, 1, 1}, 0x11},
    {kByDriver, nullptr, 1, 3, 0, {4, kPassthruRecordSize, 4}, {0, 2, 1}, kPassthru},
    {kByDriver, nullptr, 1, 2, 0, {4, 4}, {0, 1}, 0x13},
};

MgmtApiSignature pqiMgmtApiSig = {0x01000000, "veltrane.api", "com.tarquelle", 4, pqiMgmtCallbackInfo};

uint32_t OrvaInfo_Init() {
  if (mgmtHandle != nullptr) {
    DMU_TRACE(__func__, "Trying to reinitialize management handle.\n");
    return 0;
  }
  const uint32_t code = vmk_MgmtUserInit(&pqiMgmtApiSig, 0, &mgmtHandle);
  if (code != 0) {
    mgmtHandle = nullptr;
    DMU_TRACE(__func__, "Failed to initialize management handle, 0x%x.\n", code);
    return code;
  }
  return 0;
}

int32_t OrvaInfo_Cleanup() {
  if (mgmtHandle == nullptr) {
    DMU_TRACE(__func__, "Trying to destroy null management handle.\n");
    return 0;
  }
  const int32_t result = vmk_MgmtUserDestroy(mgmtHandle);
  mgmtHandle = nullptr;
  return result;
}

bool dmu::channelIsOpen(const char* function) {
  if (mgmtHandle != nullptr) return true;
  DMU_TRACE(function, "Uninitialized.\n");
  return false;
}
