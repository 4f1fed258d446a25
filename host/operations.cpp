// Calls the plugin's operations.
#include "host/operations.h"

namespace host {

/// The plugin's text, or one that says what came back.
static std::string reason(const std::string& error, int32_t result) {
  return error.empty() ? "the plugin gave no reason (result " + std::to_string(result) + ")" : error;
}

Answer<DmuDeviceInfo> deviceInformation(const DeviceHandle& handle) {
  DmuDeviceInfo information{};
  std::string error;
  const int32_t result = handle.plugin().getDeviceInfo(handle.get(), &information, error);
  if (result != 0) return {std::nullopt, reason(error, result)};
  return {information, ""};
}

}  // namespace host
