// The frame of every service: the controller is open for as long as the service works on its snapshot.
#pragma once

#include "controller/snapshot_cache.h"
#include "plugin/device_handle.h"

namespace dmu {

/// The controller of one service call: open from construction to the end of the scope. A failed open closes nothing:
/// the channel stays as it is.
class OpenController {
 public:
  explicit OpenController(CtrlDevInfo& handle) : handle_(handle), info_(OrvaInfo_OpenCtrl(handle.hbaName)) {}
  ~OpenController() {
    if (info_ != nullptr) OrvaInfo_CloseCtrl(handle_.hbaName);
  }
  OpenController(const OpenController&) = delete;
  OpenController& operator=(const OpenController&) = delete;

  /// Null: could not be opened. Valid no longer than this object.
  [[nodiscard]] OrvaInfo* info() const { return info_; }

 private:
  CtrlDevInfo& handle_;
  OrvaInfo* info_;
};

/// Error texts that several services leave.
inline constexpr char kControllerNotOpened[] = "Failed to open controller.";
inline constexpr char kDeviceNotFound[] = "Device is not found.";
inline constexpr char kMaskedDevice[] = "Masked device specified.";

}  // namespace dmu
