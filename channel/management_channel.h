// The channel to the driver's management interface. One per process at most; everything in this room runs under the
// plugin lock. Begin reading here, then command.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/vmkmgmt.h"

/// One callback of the driver's management interface.
///
///   offset  width   field          (32-bit host)
///        0  u32     location       1
///        4  pointer callback       null: the driver carries it out
///        8  u8      synchronous    1: the call returns when the driver has finished
///        9  u8      numParms       2 or 3
///       10  u16                    zero
///       12  u32[4]  parmSizes      bytes of each parameter
///       28  u32[4]  parmTypes      0 into the driver, 1 out of it, 2 both
///       44  u64     callbackId
struct [[gnu::packed]] MgmtCallbackInfo {
  uint32_t location;
  void* callback;
  uint8_t synchronous;
  uint8_t numParms;
  uint16_t zero;
  uint32_t parmSizes[4];
  uint32_t parmTypes[4];
  uint64_t callbackId;
};

/// The driver's management interface, as the platform is asked for it.
///
///   offset  width   field          (32-bit host)
///        0  u32     version        0x01000000
///        4  u8[32]  name           text, the rest zero
///       36  u8[32]  vendor         text, the rest zero
///       68  u32     numCallbacks
///       72  pointer callbacks      the callback table
struct [[gnu::packed]] MgmtApiSignature {
  uint32_t version;
  char name[32];
  char vendor[32];
  uint32_t numCallbacks;
  MgmtCallbackInfo* callbacks;
};

static_assert(offsetof(MgmtCallbackInfo, location) == 0);
static_assert(offsetof(MgmtCallbackInfo, callback) == 4);
static_assert(offsetof(MgmtApiSignature, version) == 0);
static_assert(offsetof(MgmtApiSignature, name) == 4);
static_assert(offsetof(MgmtApiSignature, vendor) == 36);
static_assert(offsetof(MgmtApiSignature, numCallbacks) == 68);
static_assert(offsetof(MgmtApiSignature, callbacks) == 72);
#ifdef __i386__
static_assert(offsetof(MgmtCallbackInfo, synchronous) == 8);
static_assert(offsetof(MgmtCallbackInfo, numParms) == 9);
static_assert(offsetof(MgmtCallbackInfo, zero) == 10);
static_assert(offsetof(MgmtCallbackInfo, parmSizes) == 12);
static_assert(offsetof(MgmtCallbackInfo, parmTypes) == 28);
static_assert(offsetof(MgmtCallbackInfo, callbackId) == 44);
static_assert(sizeof(MgmtCallbackInfo) == 52);
static_assert(sizeof(MgmtApiSignature) == 76);
#endif

/// The two callbacks that the plugin invokes.
inline constexpr uint64_t kQueryInstances = 0x10;
inline constexpr uint64_t kPassthru = 0x12;

/// Sizes that the driver declares for their parameters, in bytes.
inline constexpr uint32_t kInstanceListSize = 1776;
inline constexpr uint32_t kPassthruRecordSize = 86;

extern "C" {

/// The open channel, else null. Set by OrvaInfo_Init and cleared by OrvaInfo_Cleanup alone.
extern vmk_MgmtUserHandle* mgmtHandle;

extern MgmtApiSignature pqiMgmtApiSig;
extern MgmtCallbackInfo pqiMgmtCallbackInfo[4];

/// Opens the channel, or goes on with the open one.
/// @return 0 when a channel is open; else the platform's error code, and none is
uint32_t OrvaInfo_Init();

/// Closes the channel, if one is open.
/// @return what the platform returned; 0 when none was open
int32_t OrvaInfo_Cleanup();
}

namespace dmu {

/// Whether the channel is open; where it is not, the trace says so on behalf of the published function `function`.
[[nodiscard]] bool channelIsOpen(const char* function);

}  // namespace dmu
