// Calls operations with marked records and looks at what was written.
#include "host/check/calls.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/check/rule.h"
#include "host/loading/isolated_call.h"

namespace host::check {
namespace {

constexpr uint8_t kMark = 0xA5;

/// What a slot of a location array holds before the call; no plugin can allocate it.
char slotMark;

bool isMarked(const DriveTemperature& record) {
  return record.currentTemperature == kMark && record.maximumTemperature == kMark;
}

Answer callInformation(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, bool& wrote) {
  const InformationCall call(plugin, handle);
  wrote = !call.isUntouched(0);
  return {call.result, call.error};
}

Answer callLocator(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, bool&) {
  Answer answer;
  noteStep("a call of the locator LED");
  answer.result = plugin.setDriveLEDState(handle, 1, kSeconds, answer.error);
  return answer;
}

Answer callCacheOn(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, bool&) {
  Answer answer;
  noteStep("a call of write cache on");
  answer.result = plugin.cacheOn(handle, answer.error);
  return answer;
}

Answer callCacheOff(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, bool&) {
  Answer answer;
  noteStep("a call of write cache off");
  answer.result = plugin.cacheOff(handle, answer.error);
  return answer;
}

Answer callTemperature(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, bool& wrote) {
  const TemperatureCall call(plugin, handle, kCount);
  wrote = !call.written().empty();
  return {call.result, call.error};
}

Answer callLocation(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, bool& wrote) {
  const LocationCall call(plugin, handle, kCount);
  wrote = !call.written().empty();
  return {call.result, call.error};
}

}  // namespace

InformationCall::InformationCall(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle) {
  std::memset(&record_, kMark, sizeof(record_));
  noteStep("a call of device information");
  result = plugin.getDeviceInfo(handle, &record_.information, error);
}

bool InformationCall::isUntouched(size_t from, size_t to) const {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&record_);
  return std::all_of(bytes + from, bytes + to, [](uint8_t byte) { return byte == kMark; });
}

TemperatureCall::TemperatureCall(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count)
    : records_(kListRoom, {kMark, kMark}) {
  noteStep("a call of temperature");
  result = plugin.getDeviceTemperature(handle, records_.data(), count, error);
}

std::vector<DriveTemperature> TemperatureCall::written() const {
  size_t end = records_.size();
  while (end > 0 && isMarked(records_[end - 1])) --end;
  return {records_.begin(), records_.begin() + static_cast<ptrdiff_t>(end)};
}

LocationCall::LocationCall(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count)
    : slots_(kListRoom, &slotMark) {
  noteStep("a call of location");
  result = plugin.getDeviceLocation(handle, slots_.data(), count, error);
}

LocationCall::~LocationCall() {
  noteStep("releasing the texts of a call of location");
  for (char* slot : written()) std::free(slot == &slotMark ? nullptr : slot);
}

std::vector<char*> LocationCall::written() const {
  size_t end = slots_.size();
  while (end > 0 && slots_[end - 1] == &slotMark) --end;
  return {slots_.begin(), slots_.begin() + static_cast<ptrdiff_t>(end)};
}

std::vector<std::string> LocationCall::texts() const {
  std::vector<std::string> texts;
  for (const char* slot : written()) {
    const std::string what = "slot " + std::to_string(texts.size());
    expect(slot != nullptr && slot != &slotMark, what + ": expected a buffer, it was left out");
    const size_t length = strnlen(slot, kDmuLocationSize);
    expect(length < kDmuLocationSize, what + ": expected a text that ends inside 50 bytes, it does not");
    texts.emplace_back(slot, length);
  }
  return texts;
}

const std::array<Operation, 6>& allOperations() {
  static const std::array<Operation, 6> kOperations = {{{"device information", false, callInformation},
                                                        {"locator LED", true, callLocator},
                                                        {"write cache on", true, callCacheOn},
                                                        {"write cache off", true, callCacheOff},
                                                        {"temperature", false, callTemperature},
                                                        {"location", false, callLocation}}};
  return kOperations;
}

std::vector<Operation> operations(bool maySwitch) {
  std::vector<Operation> chosen;
  for (const Operation& operation : allOperations()) {
    if (maySwitch || !operation.switches) chosen.push_back(operation);
  }
  return chosen;
}

std::string words(const Operation& operation, const std::string& device) {
  return std::string(operation.name) + " of " + device;
}

void expectRefusal(const Operation& operation, const DmuPluginDescriptor& plugin, CtrlDevInfo* handle,
                   const std::string& device, const std::string& text) {
  const std::string what = words(operation, device);
  bool wrote = false;
  const Answer answer = operation.call(plugin, handle, wrote);
  expectResult(what, -1, answer.result);
  expectText(what + ": the error text", text, answer.error);
  expect(!wrote, what + ": it failed, but wrote to the host's record or array");
}

}  // namespace host::check
