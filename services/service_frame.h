// The frame of every service: open the controller, find the handle's device, do the work, close the controller.
#pragma once

#include <string>

#include "controller/device_lookup.h"
#include "controller/snapshot_cache.h"
#include "plugin/device_handle.h"
#include "plugin/memory_guard.h"

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

/// Runs a service on the handle's device while its controller is open.
///
/// @param error         replaced with "Failed to open controller." or "Device is not found."
/// @param beforeLookup  called with the snapshot before the device is looked for
/// @param service       called with the snapshot and the device's entry
/// @return what `service` returned; -1 with one of the texts, or with none when memory ran out
template <typename BeforeLookup, typename Service>
[[nodiscard]] int withDevice(CtrlDevInfo& handle, std::string& error, BeforeLookup beforeLookup, Service service) {
  return unlessMemoryRunsOut(-1, [&] {
    const OpenController controller(handle);
    if (controller.info() == nullptr) {
      error = "Failed to open controller.";
      return -1;
    }
    beforeLookup(*controller.info());
    OrvaInfo_Devices* device = OrvaInfo_LookForDev(controller.info(), &handle);
    if (device == nullptr) {
      error = "Device is not found.";
      return -1;
    }
    return static_cast<int>(service(*controller.info(), *device));
  });
}

template <typename Service>
[[nodiscard]] int withDevice(CtrlDevInfo& handle, std::string& error, Service service) {
  const auto nothingBefore = [](OrvaInfo&) {};
  return withDevice(handle, error, nothingBefore, service);
}

/// What two services answer for an entry that the lookup never returns.
inline constexpr char kMaskedDevice[] = "Masked device specified.";

}  // namespace dmu
