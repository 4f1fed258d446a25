// The ten slots, the age of their snapshots and the rebuild.
#include "controller/snapshot_cache.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "channel/command_buffer.h"
#include "channel/instance_query.h"
#include "channel/management_channel.h"
#include "controller/controller_identification.h"
#include "controller/device_scan.h"
#include "controller/index_bounds.h"
#include "plugin/trace.h"

namespace {

constexpr unsigned kLastSlot = 9;
constexpr double kMaxAgeSeconds = 30.0;

}  // namespace

OrvaInfo* ResourceMgr::Controllers[10] = {};
ResourceMgr OrvaCache;

ResourceMgr::~ResourceMgr() {
  OrvaInfo_FreeCtrlsCache();
}

void ResourceMgr::OrvaInfo_FreeCtrlsCache() {
  for (OrvaInfo*& info : Controllers) {
    OrvaInfo_FreeOrvaInfo(info);
    info = nullptr;
  }
}

OrvaInfo* OrvaInfo_OpenCtrl(char* hbaName) {
  if (OrvaInfo_Init() != 0) return nullptr;
  int slot = 0;
  for (OrvaInfo* info : ResourceMgr::Controllers) {
    const int here = slot++;
    if (info == nullptr) continue;
    DMU_TRACE(__func__, "%d: %p, %s\n", here, static_cast<void*>(info), info->hbaName);
    if (hbaName == nullptr || std::strcmp(info->hbaName, hbaName) != 0) continue;
    if (!OrvaInfo_CacheTimedout(info)) return info;
    DMU_TRACE(__func__, "cached timedout, update needed.\n");
    break;
  }
  const int number = OrvaInfo_QueryHBA(hbaName);
  if (number == -1) return nullptr;
  DMU_TRACE(__func__, "To update cache.\n");
  return OrvaInfo_UpdateCtrl(number, hbaName);
}

int OrvaInfo_CloseCtrl(char* /*hbaName*/) {
  return OrvaInfo_Cleanup();
}

OrvaInfo* OrvaInfo_UpdateCtrl(int slot, char* hbaName) {
  if (static_cast<unsigned>(slot) > kLastSlot || hbaName == nullptr) return nullptr;
  OrvaInfo*& info = ResourceMgr::Controllers[slot];
  if (info == nullptr) {
    info = dmu::makeCommandBuffer<OrvaInfo>().release();
    if (info == nullptr) {
      DMU_TRACE(__func__, "Failed to allocate memory.\n");
      return nullptr;
    }
  } else {
    OrvaInfo_ClearOrvaInfo(info);
  }
  info->slot = static_cast<uint32_t>(slot);
  if (OrvaInfo_GetInfoFromCtrl(info) != 0 || OrvaInfo_DeviceScan(info) != 0) {
    OrvaInfo_ClearOrvaInfo(info);
    return nullptr;
  }
  info->lastUpdate = std::time(nullptr);
  const size_t length = strnlen(hbaName, sizeof(info->hbaName) - 1);
  std::memcpy(info->hbaName, hbaName, length);
  dmu::keepIndexBounds(*info);
  return info;
}

bool OrvaInfo_CacheTimedout(OrvaInfo* info) {
  if (info == nullptr) return false;
  if (std::difftime(std::time(nullptr), info->lastUpdate) <= kMaxAgeSeconds) return false;
  DMU_TRACE(__func__, "Cache timedout.\n");
  return true;
}

void OrvaInfo_ClearOrvaInfo(OrvaInfo* info) {
  if (info == nullptr) return;
  for (OrvaInfo_Devices& device : info->devices) std::free(device.raidMap);
  std::memset(info, 0, sizeof(*info));
}

void OrvaInfo_FreeOrvaInfo(OrvaInfo* info) {
  OrvaInfo_ClearOrvaInfo(info);
  std::free(info);
}

void OrvaInfo_CleanupCtrls() {
  OrvaCache.OrvaInfo_FreeCtrlsCache();
}
