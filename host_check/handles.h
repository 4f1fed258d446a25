// The handles that the host has: objects of the checker's own, one for each open and never used again, so that a closed
// handle is told from every later one.
#pragma once

#include <cstdint>

#include "host_check/places.h"
#include <dmu/plugin.h>

namespace hostcheck {

/// What the host sees as a CtrlDevInfo.
struct Handle {
  CtrlDevInfo* real;     ///< the real plugin's
  const char* disk;      ///< as its open named it
  const void* openedAt;  ///< the call that opened it
  const void* closedAt;  ///< null: it is open
  uint32_t operations;   ///< how many run on it, or wait
  bool isOpenedByV2;
  bool isInherited;  ///< opened before a fork, by the parent: its close is the parent's affair

  [[nodiscard]] CtrlDevInfo* forHost() { return reinterpret_cast<CtrlDevInfo*>(this); }
  [[nodiscard]] Call opening() const { return {isOpenedByV2 ? "openDeviceV2" : "openDevice", openedAt}; }
  [[nodiscard]] Call closing() const { return {"closeDevice", closedAt}; }
};

/// Makes the handle of a successful open.
/// @param disk  copied
/// @return null: there is no memory
[[nodiscard]] Handle* addHandle(CtrlDevInfo* real, const char* disk, const Call& opening);

/// Notes each handle that is still open. Needs the lock.
void noteOpenHandles();

/// How many were opened, and how many of them are open. Needs the lock.
struct HandleCount {
  uint32_t opened;
  uint32_t open;
};
[[nodiscard]] HandleCount countHandles();

/// One operation of the host, from before it waits until after it has run.
class Operation {
 public:
  /// Notes what is wrong with the handle. A null is noted, and may be passed on.
  Operation(const Call& call, CtrlDevInfo* handle);
  ~Operation();
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  /// Whether the real plugin can take the call.
  [[nodiscard]] bool maySend() const { return maySend_; }
  /// The real plugin's handle; null where the host's is.
  [[nodiscard]] CtrlDevInfo* real() const { return handle_ == nullptr ? nullptr : handle_->real; }

  /// An operation that runs or waits on a handle. Needs the lock.
  [[nodiscard]] static const Operation* findOn(const Handle* handle);
  [[nodiscard]] const Call& call() const { return call_; }

 private:
  Call call_;
  Handle* handle_ = nullptr;
  bool maySend_ = false;
  Operation* previous_ = nullptr;
  Operation* next_ = nullptr;
};

/// Closes a handle of the host: at once, or by the last operation that still runs on it.
void closeHandle(const Call& call, CtrlDevInfo* handle);

}  // namespace hostcheck
