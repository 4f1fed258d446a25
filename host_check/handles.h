// The handles that the host has: objects of the checker's own, one for each open and never used again, so that a closed
// handle is told from every later one.
#pragma once

#include <cstdint>
#include <optional>
#include <pthread.h>

#include "host_check/places.h"
#include "host_check/rules.h"
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
  bool isExcused;  ///< its close is the parent's affair, which opened it before a fork; or that is noted already

  [[nodiscard]] const CtrlDevInfo* forHost() const { return reinterpret_cast<const CtrlDevInfo*>(this); }
  [[nodiscard]] CtrlDevInfo* forHost() { return reinterpret_cast<CtrlDevInfo*>(this); }
  [[nodiscard]] Call opening() const { return {isOpenedByV2 ? "openDeviceV2" : "openDevice", openedAt}; }
  [[nodiscard]] Call closing() const { return {"closeDevice", closedAt}; }
};

/// Makes the handle of a successful open.
/// @param disk  copied
/// @return null: there is no memory
[[nodiscard]] Handle* addHandle(CtrlDevInfo* real, const char* disk, const Call& opening);

/// Notes each handle that is still open, once.
/// @param ending  the dlclose or exit before which it should have been closed
void noteOpenHandles(const Call& ending);

/// Waits until no operation runs.
/// @return false: one still runs, or the calling thread is inside one
[[nodiscard]] bool waitForOperations(int seconds);

/// In the child after a fork: the operations are those of threads that are not there, and the handles the parent's to
/// close. Needs the lock.
void forgetParent();

/// The disk of a handle as the host gave it; "" where there is none. Needs the lock.
[[nodiscard]] const char* diskOf(const CtrlDevInfo* handle);

/// How many were opened, and how many of them are open. Needs the lock.
struct HandleCount {
  uint32_t opened;
  uint32_t open;
};
[[nodiscard]] HandleCount countHandles();

/// What a call did wrong with a handle.
struct Breach {
  Rule rule;
  Call other;  ///< that it collides with
};

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
  /// Notes each operation that runs or waits while the plugin is unloaded or the process exits, once.
  static void noteRunning(const Call& ending);
  [[nodiscard]] const Call& call() const { return call_; }
  [[nodiscard]] bool isOfThisThread() const { return pthread_equal(thread_, pthread_self()) != 0; }
  [[nodiscard]] const Operation* next() const { return next_; }

 private:
  /// Enters the operation into the list of those that run or wait, unless something is wrong.
  [[nodiscard]] std::optional<Breach> begin(const CtrlDevInfo* given);

  Call call_;
  Handle* handle_ = nullptr;
  bool maySend_ = false;
  bool isNoted_ = false;
  pthread_t thread_ = pthread_self();
  Operation* previous_ = nullptr;
  Operation* next_ = nullptr;
};

/// Closes a handle of the host: at once, or by the last operation that still runs on it.
void closeHandle(const Call& call, CtrlDevInfo* handle);

}  // namespace hostcheck
