// A management library that nobody may call: what runs with it in place of the simulated one has to do without a host.
#include <cstdlib>

#include "platform/vmkmgmt.h"

#define DMU_EXPORTED __attribute__((visibility("default")))

DMU_EXPORTED uint32_t vmk_MgmtUserInit(const void* /*signature*/, uint64_t /*reserved*/,
                                       vmk_MgmtUserHandle** /*handle*/) {
  std::abort();
}

DMU_EXPORTED int32_t vmk_MgmtUserDestroy(vmk_MgmtUserHandle* /*handle*/) {
  std::abort();
}

DMU_EXPORTED int32_t vmk_MgmtUserCallbackInvokeInt(vmk_MgmtUserHandle* /*handle*/, uint64_t /*reserved*/,
                                                   uint64_t /*callbackId*/, uint32_t /*numParms*/, ...) {
  std::abort();
}
