// A fault rule: which calls it hits, and exactly one action.
#include "simulator/fault_reader.h"

#include <algorithm>
#include <string>

#include "json/hex.h"
#include "json/input.h"
#include "simulator/disk_identity.h"
#include "simulator/drive_address.h"

namespace simulator {
namespace {

using input::JsonObject;
using input::Mistakes;
using input::Need;

constexpr const char* kActionKeys[] = {"error", "driverStatus", "length", "set", "delayMs", "vanish", "missing"};
constexpr size_t kMostText = 200;
constexpr uint32_t kMostDelayMs = 600'000;

void readCall(JsonObject& object, FaultRule& rule) {
  if (!object.text("call", rule.call, Need::required, 0, kMostText)) return;
  const std::vector<std::string_view> known(std::begin(kFaultCalls), std::end(kFaultCalls));
  if (std::find(known.begin(), known.end(), rule.call) == known.end())
    object.refuse("call", "unknown call \"" + rule.call + "\"" + input::suggestion(rule.call, known));
}

void readDriveOfRule(JsonObject& object, FaultRule& rule) {
  std::string name;
  if (!object.text("drive", name, Need::optional, 0, kMostText)) return;
  rule.drive = parseDriveName(name);
  if (!rule.drive) object.refuse("drive", kDriveNameRule + ("\"" + name + "\""));
}

void readVolumeOfRule(JsonObject& object, FaultRule& rule) {
  uint32_t number = 0;
  if (object.number("volume", number, Need::optional, 0, 0x3FFFFFFF)) rule.volume = number;
}

/// @return whether the key is there
bool readError(JsonObject& object, FaultRule& rule) {
  int32_t code = 0;
  if (!object.number("error", code, Need::optional)) return false;
  if (code == 0) object.refuse("error", "must not be 0, with which a call goes well");
  rule.value = static_cast<uint32_t>(code);
  return true;
}

/// @return whether there are bytes to put
bool readSet(JsonObject& object, FaultRule& rule) {
  std::string digits;
  const bool hasBytes = object.text("set", digits, Need::optional, 2, 8192);
  const bool hasOffset = object.number("offset", rule.offset, hasBytes ? Need::required : Need::optional);
  if (!hasBytes && hasOffset) object.refuse("offset", "goes with set, which is missing");
  if (!hasBytes) return false;
  const auto bytes = input::fromHex(digits);
  if (!bytes)
    object.refuse("set", "must be a text of hexadecimal digits, two a byte, not \"" + input::cut(digits) + "\"");
  rule.bytes = bytes.value_or(std::vector<uint8_t>{});
  return true;
}

/// @return whether the key is there
bool readTrue(JsonObject& object, const char* key) {
  bool value = true;
  const bool there = object.flag(key, value, Need::optional);
  if (there && !value) object.refuse(key, "can only be true");
  return there;
}

void readAction(JsonObject& object, FaultRule& rule) {
  const auto is = [&](FaultAction action, bool there) {
    if (there) rule.action = action;
  };
  is(FaultAction::error, readError(object, rule));
  is(FaultAction::driverStatus, object.number("driverStatus", rule.value, Need::optional, 1));
  is(FaultAction::length, object.number("length", rule.value, Need::optional));
  is(FaultAction::delay, object.number("delayMs", rule.value, Need::optional, 0, kMostDelayMs));
  is(FaultAction::set, readSet(object, rule));
  is(FaultAction::vanish, readTrue(object, "vanish"));
  is(FaultAction::missing, readTrue(object, "missing"));
}

bool hasOneAction(const nlohmann::json& rule) {
  return std::count_if(std::begin(kActionKeys), std::end(kActionKeys),
                       [&](const char* key) { return rule.contains(key); }) == 1;
}

}  // namespace

FaultRule readFault(const JsonObject::Element& element, Mistakes& mistakes) {
  FaultRule rule;
  rule.where = mistakes.file() + ": " + element.path;
  JsonObject object(element.value, element.path, mistakes);
  readCall(object, rule);
  object.text("controller", rule.controller, Need::optional, 1, kMostHbaName);
  readDriveOfRule(object, rule);
  readVolumeOfRule(object, rule);
  readDevice(object, rule.device, Need::optional);
  object.number("from", rule.from, Need::optional, 1);
  object.number("count", rule.count, Need::optional, 1);
  readAction(object, rule);
  if (element.value.is_object() && !hasOneAction(element.value))
    mistakes.add(element.path, "must have exactly one of error, driverStatus, length, set, delayMs, vanish, missing");
  object.refuseUnknownKeys();
  return rule;
}

}  // namespace simulator
