// The bounds of the snapshot in each slot of the cache, as its last rebuild left it.
#include "controller/index_bounds.h"

#include <algorithm>
#include <iterator>

#include "controller/physical_drive.h"
#include "controller/snapshot_cache.h"

namespace dmu {

namespace {

struct KeptBounds {
  IndexBounds values[kMaxDevices / kEntriesPerBounds];
  size_t count;
};
KeptBounds keptBounds[std::size(ResourceMgr::Controllers)];

/// @param entries  kEntriesPerBounds of them
IndexBounds boundsOf(const OrvaInfo_Devices* entries) {
  IndexBounds bounds = {UINT16_MAX, 0};
  for (const OrvaInfo_Devices& device : std::span(entries, kEntriesPerBounds)) {
    const auto index = static_cast<uint16_t>(driveIndex(device.lunAddress));
    bounds = {std::min(bounds.lowest, index), std::max(bounds.highest, index)};
  }
  return bounds;
}

/// @return where the bounds of the snapshot are; null unless the cache holds it
KeptBounds* boundsOfHeld(const OrvaInfo& info) {
  const bool isHeld = info.slot < std::size(keptBounds) && ResourceMgr::Controllers[info.slot] == &info;
  return isHeld ? &keptBounds[info.slot] : nullptr;
}

}  // namespace

void keepIndexBounds(const OrvaInfo& info) {
  KeptBounds& kept = keptBounds[info.slot];
  kept.count = static_cast<size_t>(info.deviceCount) / kEntriesPerBounds;
  for (size_t k = 0; k < kept.count; ++k) kept.values[k] = boundsOf(info.devices + k * kEntriesPerBounds);
}

void forgetIndexBounds(const OrvaInfo& info) {
  if (KeptBounds* kept = boundsOfHeld(info)) kept->count = 0;
}

std::span<const IndexBounds> keptIndexBounds(const OrvaInfo& info) {
  const KeptBounds* kept = boundsOfHeld(info);
  if (kept == nullptr || info.hbaName[0] == '\0') return {};
  const size_t listed = static_cast<size_t>(std::max(info.deviceCount, 0)) / kEntriesPerBounds;
  return {kept->values, std::min(kept->count, listed)};
}

}  // namespace dmu
