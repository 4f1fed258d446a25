// Calls the operations as a host does.
#include "fuzz/operations.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "fuzz/input.h"

namespace fuzz {

int32_t askTemperatures(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count, std::string& error) {
  constexpr uint8_t kUntouched = 0xEE;
  DriveTemperature records[kSlots];
  std::memset(records, kUntouched, sizeof(records));
  const int32_t result = plugin.getDeviceTemperature(handle, records, count, error);
  require(result >= -1 && result <= std::max(count, 1), "no more temperatures than asked for");
  for (const DriveTemperature* record = records + std::max({result, count, 1}); record < std::end(records); ++record) {
    require(record->currentTemperature == kUntouched, "no temperature beyond those asked for");
  }
  return result;
}

int32_t askLocations(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count, std::string& error) {
  char untouched = 0;
  char* texts[kSlots];
  std::fill_n(texts, kSlots, &untouched);
  const int32_t result = plugin.getDeviceLocation(handle, texts, count, error);
  require(result >= -1 && result <= std::max(count, 1), "no more locations than asked for");
  for (int32_t i = 0; i < kSlots; ++i) {
    if (i >= result) {
      require(texts[i] == &untouched || (result < 0 && texts[i] == nullptr), "no location beyond those reported");
      continue;
    }
    require(std::strncmp(texts[i], "port:box:bay ", 13) == 0 && std::strlen(texts[i]) < 50, "a location is one");
    require(i == 0 || std::strcmp(texts[i - 1], texts[i]) <= 0, "locations are sorted");
  }
  for (int32_t i = 0; i < result; ++i) std::free(texts[i]);
  return result;
}

bool hadNoController(const std::string& error) {
  return error == "Failed to open controller." || error == "Invalid handle!" || error.starts_with("Mutex lock error: ");
}

void requireDocumented(int32_t result, const std::string& error) {
  require(error.empty() || error == "Device is not found." || hadNoController(error), "a text is a documented one");
  require(error.empty() || result == -1, "a text comes with a failure");
}

}  // namespace fuzz
