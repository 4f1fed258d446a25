// Calls operations with marked records and looks at what was written.
#include "host/check/calls.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/check/expect.h"
#include "host/loading/isolated_call.h"

namespace host::check {
namespace {

constexpr uint8_t kMark = 0xA5;

/// How many records or slots a list has, whatever the plugin is told.
constexpr size_t kListRoom = 4096;

/// What a slot of a location array holds before the call; no plugin can allocate it.
char slotMark;

/// Calls an operation in one of the types above, and keeps what all of them have.
template <typename SomeCall, auto... arguments>
Call called(const DeviceHandle& handle) {
  const SomeCall call(handle, arguments...);
  return static_cast<const Call&>(call);
}

}  // namespace

InformationCall::InformationCall(const DeviceHandle& handle) {
  std::memset(&record_, kMark, sizeof(record_));
  noteStep("a call of device information");
  result = handle.plugin().getDeviceInfo(handle.get(), &record_.information, error);
  wrote = !isUntouched(0);
}

bool InformationCall::isUntouched(size_t from, size_t to) const {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&record_);
  return std::all_of(bytes + from, bytes + to, [](uint8_t byte) { return byte == kMark; });
}

InformationCall informationOf(const OpenSubject& subject, const std::string& when) {
  InformationCall call(subject.handle);
  expectResult(subject.of("device information") + when, 0, call.result);
  return call;
}

Call callLocator(const DeviceHandle& handle, uint32_t state, uint16_t seconds, const std::string& step) {
  Call call;
  noteStep(step);
  call.result = handle.plugin().setDriveLEDState(handle.get(), state, seconds, call.error);
  return call;
}

Call callCache(const DeviceHandle& handle, bool on, const std::string& step) {
  Call call;
  noteStep(step);
  call.result = (on ? handle.plugin().cacheOn : handle.plugin().cacheOff)(handle.get(), call.error);
  return call;
}

TemperatureCall::TemperatureCall(const DeviceHandle& handle, int32_t count) : written(kListRoom, {kMark, kMark}) {
  noteStep("a call of temperature");
  result = handle.plugin().getDeviceTemperature(handle.get(), written.data(), count, error);
  const auto isMarked = [](const DriveTemperature& record) {
    return record.currentTemperature == kMark && record.maximumTemperature == kMark;
  };
  while (!written.empty() && isMarked(written.back())) written.pop_back();
  wrote = !written.empty();
}

std::vector<std::string> TemperatureCall::texts() const {
  std::vector<std::string> texts;
  for (const DriveTemperature& record : written) {
    texts.push_back(std::to_string(record.currentTemperature) + "/" + std::to_string(record.maximumTemperature));
  }
  return texts;
}

LocationCall::LocationCall(const DeviceHandle& handle, int32_t count) : written(kListRoom, &slotMark) {
  noteStep("a call of location");
  result = handle.plugin().getDeviceLocation(handle.get(), written.data(), count, error);
  while (!written.empty() && written.back() == &slotMark) written.pop_back();
  wrote = !written.empty();
}

LocationCall::~LocationCall() {
  noteStep("releasing the texts of a call of location");
  for (char* slot : written) std::free(slot == &slotMark ? nullptr : slot);
}

std::vector<std::string> LocationCall::texts() const {
  std::vector<std::string> texts;
  for (const char* slot : written) {
    const std::string what = "slot " + std::to_string(texts.size());
    expect(slot != nullptr && slot != &slotMark, what + ": expected a buffer, it was left out");
    const size_t length = strnlen(slot, kDmuLocationSize);
    expect(length < kDmuLocationSize, what + ": expected a text that ends inside 50 bytes, it does not");
    texts.emplace_back(slot, length);
  }
  return texts;
}

const std::array<Operation, 6>& allOperations() {
  static const std::array<Operation, 6> kOperations = {{
      {"device information", false, called<InformationCall>},
      {"locator LED", true,
       [](const DeviceHandle& handle) { return callLocator(handle, 1, kSeconds, "a call of the locator LED"); }},
      {"write cache on", true,
       [](const DeviceHandle& handle) { return callCache(handle, true, "a call of write cache on"); }},
      {"write cache off", true,
       [](const DeviceHandle& handle) { return callCache(handle, false, "a call of write cache off"); }},
      {"temperature", false, called<TemperatureCall, kCount>},
      {"location", false, called<LocationCall, kCount>},
  }};
  return kOperations;
}

std::vector<Operation> readingOperations() {
  std::vector<Operation> chosen(allOperations().begin(), allOperations().end());
  std::erase_if(chosen, [](const Operation& operation) { return operation.switches; });
  return chosen;
}

void expectRefusals(std::span<const Operation> operations, const DeviceHandle& handle, const std::string& device,
                    const std::string& text) {
  for (const Operation& operation : operations) {
    const std::string what = operation.of(device);
    const Call call = operation.call(handle);
    expectAnswer(what, {-1, text}, call);
    expect(!call.wrote, what + ": it failed, but wrote to the host's record or array");
  }
}

}  // namespace host::check
