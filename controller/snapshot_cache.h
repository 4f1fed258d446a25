// The cache of controller snapshots: ten slots, each good for 30 seconds. Every service begins with OrvaInfo_OpenCtrl,
// which rebuilds what is missing or stale, and ends with OrvaInfo_CloseCtrl.
#pragma once

#include "controller/snapshot.h"

/// Owns the cache: frees every snapshot when the library is unloaded.
class ResourceMgr {
 public:
  ~ResourceMgr();

  /// Frees every snapshot and leaves all slots null.
  void OrvaInfo_FreeCtrlsCache();

  /// Slot n holds the snapshot of the driver's controller instance n, or null.
  static OrvaInfo* Controllers[10];
};

extern "C" {

extern ResourceMgr OrvaCache;

/// Opens the management channel and the controller's snapshot, rebuilding it when it is missing or more than 30
/// seconds old.
/// @return a snapshot, borrowed until OrvaInfo_CloseCtrl; null when the channel, the instance query or the rebuild
///         failed, and then nothing is owed: a channel that was opened stays open for the next call
OrvaInfo* OrvaInfo_OpenCtrl(char* hbaName);

/// Closes the management channel; the snapshot stays cached.
/// @return the result of OrvaInfo_Cleanup
int OrvaInfo_CloseCtrl(char* hbaName);

/// Rebuilds the snapshot in a slot, in the memory that it has.
/// @return the snapshot; null for a slot above 9, a null name, no memory (the slot stays empty), or a failed
///         identification or scan (the slot's snapshot is cleared)
OrvaInfo* OrvaInfo_UpdateCtrl(int slot, char* hbaName);

/// @return whether the snapshot is more than 30 seconds old; false for null
bool OrvaInfo_CacheTimedout(OrvaInfo* info);

/// Releases the member maps and fills the snapshot with zeros. Null is ignored.
void OrvaInfo_ClearOrvaInfo(OrvaInfo* info);

/// Clears and releases the snapshot. Null is ignored.
void OrvaInfo_FreeOrvaInfo(OrvaInfo* info);

/// The same as ResourceMgr::OrvaInfo_FreeCtrlsCache.
void OrvaInfo_CleanupCtrls();
}
