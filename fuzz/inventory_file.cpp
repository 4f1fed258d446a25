// Arbitrary text as an inventory: refused with the file's name and reasons, or taken, and then written and read again
// the same.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "fuzz/memory_file.h"
#include "host/disks/disk_record.h"
#include "host/disks/inventory.h"
#include "host/refusal.h"

namespace {

host::Json listed(const std::vector<host::HostDisk>& disks) {
  host::Json list = host::Json::array();
  for (const host::HostDisk& disk : disks) list.push_back(host::toJson(disk));
  return {{"disks", list}};
}

bool areSame(const host::HostDisk& one, const host::HostDisk& other) {
  return one.device == other.device && one.hba == other.hba && host::addressOf(one) == host::addressOf(other) &&
         one.driver == other.driver && host::toJson(one.pci) == host::toJson(other.pci);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::memoryFile().hold({reinterpret_cast<const char*>(data), size});
  std::vector<host::HostDisk> disks;
  try {
    disks = host::readInventory(fuzz::memoryFile().name());
  } catch (const host::Refusal& refusal) {
    fuzz::require(fuzz::isRefusalOf(fuzz::memoryFile().name(), refusal.what()), "a refusal says what and why");
    return 0;
  }
  fuzz::memoryFile().hold(listed(disks).dump());
  const auto again = host::readInventory(fuzz::memoryFile().name());
  fuzz::require(std::equal(disks.begin(), disks.end(), again.begin(), again.end(), areSame),
                "an inventory is read as it is written");
  return 0;
}
