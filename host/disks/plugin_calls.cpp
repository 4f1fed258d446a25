// Calls the plugin's operations.
#include "host/disks/plugin_calls.h"

#include <algorithm>
#include <cstdlib>

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

CallResult setLocatorLed(const DeviceHandle& handle, bool on, uint16_t seconds) {
  CallResult action;
  action.result = handle.plugin().setDriveLEDState(handle.get(), on ? 1 : 0, seconds, action.error);
  return action;
}

CallResult setCache(const DeviceHandle& handle, bool on) {
  const DmuSetCache operation = on ? handle.plugin().cacheOn : handle.plugin().cacheOff;
  CallResult action;
  action.result = operation(handle.get(), action.error);
  return action;
}

// More than the plugin's list of devices holds: to ask again is to ask for each missing member again.
constexpr int32_t kFirstRoom = 4096;
constexpr int32_t kMostRoom = 65536;  // a controller cannot number more drives

/// Asks a list operation with more and more room, until not all of it was used.
///
/// @param ask  called with the room and the error text; fills as many records as fit and returns their number
template <typename Ask>
static int32_t askForAll(Ask ask, std::string& error) {
  int32_t room = kFirstRoom;
  int32_t result = ask(room, error);
  while (result == room && room < kMostRoom) {
    room *= 2;
    result = ask(room, error);
  }
  return std::min(result, room);
}

Answer<std::vector<DriveTemperature>> temperatures(const DeviceHandle& handle) {
  std::vector<DriveTemperature> records;
  std::string error;
  const int32_t result = askForAll(
      [&](int32_t room, std::string& text) {
        records.assign(static_cast<size_t>(room), {});
        return handle.plugin().getDeviceTemperature(handle.get(), records.data(), room, text);
      },
      error);
  if (result < 0) return {std::nullopt, reason(error, result)};
  records.resize(static_cast<size_t>(result));
  return {std::move(records), ""};
}

Answer<std::vector<Place>> places(const DeviceHandle& handle) {
  std::vector<Place> found;
  std::string error;
  const int32_t result = askForAll(
      [&](int32_t room, std::string& text) {
        std::vector<char*> slots(static_cast<size_t>(room), nullptr);
        const int32_t stored = handle.plugin().getDeviceLocation(handle.get(), slots.data(), room, text);
        found.clear();
        for (char* slot : slots) {
          if (slot == nullptr) break;
          found.push_back(placeOf(slot));
          std::free(slot);
        }
        return stored;
      },
      error);
  if (result < 0) return {std::nullopt, reason(error, result)};
  return {std::move(found), ""};
}

}  // namespace host
