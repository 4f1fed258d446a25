// The driver's table of controller instances and the search in it.
#include "channel/instance_query.h"

#include <cstddef>
#include <cstring>
#include <string_view>

#include "channel/management_channel.h"
#include "plugin/trace.h"

namespace {

constexpr uint32_t kUnusedInstance = 0xFFFFFFFF;

/// One controller instance of the driver. Little-endian.
///
///   offset  width    field
///        0  u32      instanceId     0xFFFFFFFF: unused
///        4  u8[8]                   not read
///       12  u8[156]  instanceName   the HBA name; text, not necessarily terminated
struct [[gnu::packed]] InstanceEntry {
  uint32_t instanceId;
  uint8_t unread[8];
  char instanceName[156];
};
static_assert(offsetof(InstanceEntry, instanceId) == 0);
static_assert(offsetof(InstanceEntry, instanceName) == 12);
static_assert(sizeof(InstanceEntry) == 168);

/// The driver's table: 96 bytes that are not read, then ten entries.
struct [[gnu::packed]] InstanceList {
  uint8_t unread[96];
  InstanceEntry entries[10];
};
static_assert(offsetof(InstanceList, entries) == 96);
static_assert(sizeof(InstanceList) == kInstanceListSize);

bool carriesName(const InstanceEntry& entry, std::string_view name) {
  if (entry.instanceId == kUnusedInstance) return false;
  return std::string_view(entry.instanceName, strnlen(entry.instanceName, sizeof(entry.instanceName))) == name;
}

}  // namespace

int32_t OrvaInfo_QueryHBA(const char* hbaName) {
  if (hbaName == nullptr) return -1;
  if (!dmu::channelIsOpen(__func__)) return -1;
  InstanceList list = {};
  uint32_t status = 0;
  const int32_t code = vmk_MgmtUserCallbackInvokeInt(mgmtHandle, 0, kQueryInstances, 2, &list, &status);
  if (code != 0) {
    DMU_TRACE(__func__, "Failed to invoke callback, 0x%x.\n", static_cast<uint32_t>(code));
    return -1;
  }
  if (status != 0) {
    DMU_TRACE(__func__, "Failed to query instances, error returned from driver: 0x%x.\n", status);
    return -1;
  }
  int32_t number = 0;
  for (const InstanceEntry& entry : list.entries) {
    if (carriesName(entry, hbaName)) return number;
    ++number;
  }
  return -1;
}
