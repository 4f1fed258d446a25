// The driver's checks of signature, callback table and pass-through record.
#include "simulator/interface_checks.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace simulator {
namespace {

constexpr uint32_t kVersion = 0x01000000;
constexpr std::string_view kName = "veltrane.api";
constexpr std::string_view kVendor = "com.tarquelle";

constexpr wire::CallbackEntry kCallbacks[] = {
    {1, nullptr, 1, 2, 0, {1776, 4}, {1, 1}, kQueryInstances},
    {1, nullptr, 1, 3, 0, {4, 12, 4}, {0, 1, 1}, 0x11},
    {1, nullptr, 1, 3, 0, {4, 86, 4}, {0, 2, 1}, kPassthru},
    {1, nullptr, 1, 2, 0, {4, 4}, {0, 1}, 0x13},
};

template <size_t Size>
bool isText(const char (&field)[Size], std::string_view text) {
  char expected[Size]{};
  text.copy(expected, Size);
  return std::memcmp(field, expected, Size) == 0;
}

bool isControllerAddress(const wire::LunAddress& address) {
  constexpr wire::LunAddress kController{};
  return std::memcmp(&address, &kController, sizeof address) == 0;
}

}  // namespace

ManagementError checkSignature(const wire::InterfaceSignature& signature) {
  if (signature.version != kVersion) return ManagementError::signatureVersion;
  if (!isText(signature.name, kName)) return ManagementError::signatureName;
  if (!isText(signature.vendor, kVendor)) return ManagementError::signatureVendor;
  if (signature.callbackCount != std::size(kCallbacks)) return ManagementError::callbackCount;
  if (signature.callbacks == nullptr || std::memcmp(signature.callbacks, kCallbacks, sizeof kCallbacks) != 0)
    return ManagementError::callbackTable;
  return ManagementError::none;
}

const wire::CallbackEntry* findCallback(uint64_t id) {
  for (const wire::CallbackEntry& callback : kCallbacks)
    if (callback.id == id) return &callback;
  return nullptr;
}

ManagementError checkRecord(const wire::PassthruRecord& record, DecodedCommand& command) {
  const auto decoded = decodeCommand(record);
  if (!decoded) return ManagementError::unknownCommand;
  command = *decoded;
  const CommandLayout& layout = *command.layout;

  if (!isControllerAddress(record.address)) return ManagementError::lunAddress;
  if (record.typeAttributeDirection != layout.direction()) return ManagementError::typeOrDirection;
  if (record.cdbLength != layout.cdbLength()) return ManagementError::cdbLength;
  const auto cdb = encodeCdb(command);
  if (!std::equal(cdb.begin(), cdb.end(), record.cdb)) return ManagementError::cdbBytes;
  if (record.timeout != layout.timeout()) return ManagementError::timeout;
  if (command.length == 0 || record.bufferSize != (command.length & 0xFFFF)) return ManagementError::bufferSize;
  if (record.buffer == 0 || record.buffer > UINTPTR_MAX) return ManagementError::buffer;
  return ManagementError::none;
}

}  // namespace simulator
