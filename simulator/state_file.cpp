// The state of the hardware as JSON text.
#include "simulator/state_file.h"

#include <nlohmann/json.hpp>

#include "json/hex.h"
#include "json/json_object.h"
#include "json/json_text.h"

namespace simulator {
namespace {

using input::JsonObject;
using input::Mistakes;
using input::Need;
using nlohmann::json;

constexpr const char* kStateFormat = "dmu-simulated-host-state";
constexpr uint32_t kStateVersion = 1;

json controllerState(const ControllerModel& controller) {
  const BlinkState& blink = controller.blink.state();
  return {{"blinkDuration", blink.duration},
          {"blinkStarted", blink.started},
          {"blinkEnable", input::toHex(blink.enable)},
          {"blinkExtended", input::toHex(blink.extended)},
          {"parameters", input::toHex(controller.settings.parameters())},
          {"cacheConfiguration", input::toHex(controller.settings.cacheConfiguration())}};
}

/// @param buffer  as this topology's controller has it; receives as many other bytes
void readBuffer(JsonObject& state, const char* key, Bytes& buffer) {
  Bytes bytes;
  if (!state.bytes(key, bytes, Need::required)) return;
  if (bytes.size() != buffer.size())
    return state.refuse(key, "must be " + std::to_string(buffer.size()) +
                                 " bytes, as on this topology's controller, not " + std::to_string(bytes.size()));
  buffer = bytes;
}

void readController(const JsonObject::Element& element, ControllerModel& controller, Mistakes& mistakes) {
  const size_t before = mistakes.count();
  BlinkState blink = controller.blink.state();
  Bytes parameters = controller.settings.parameters();
  Bytes cacheConfiguration = controller.settings.cacheConfiguration();
  JsonObject object(element.value, element.path, mistakes);
  object.number("blinkDuration", blink.duration, Need::required);
  object.number("blinkStarted", blink.started, Need::required);
  readBuffer(object, "blinkEnable", blink.enable);
  readBuffer(object, "blinkExtended", blink.extended);
  readBuffer(object, "parameters", parameters);
  readBuffer(object, "cacheConfiguration", cacheConfiguration);
  object.refuseUnknownKeys();
  if (mistakes.count() == before &&
      !(controller.blink.restore(blink) && controller.settings.restore(parameters, cacheConfiguration)))
    object.refuse("cacheConfiguration", "must have the offsets and lengths of this topology's controller");
}

void readControllers(const JsonObject::Element& element, std::vector<ControllerModel>& controllers,
                     Mistakes& mistakes) {
  JsonObject object(element.value, element.path, mistakes);
  for (ControllerModel& controller : controllers) {
    const char* hba = controller.config.hba.c_str();
    if (const json* state = object.find(hba, Need::optional))
      readController({*state, object.pathOf(hba)}, controller, mistakes);
  }
  object.refuseUnknownKeys("no controller of this topology");
}

void readAll(const json& document, std::vector<ControllerModel>& controllers, Mistakes& mistakes) {
  JsonObject object(document, "", mistakes);
  const json* format = object.find("format", Need::optional);
  if (format == nullptr || *format != kStateFormat) return mistakes.add("not a state of the simulated host");
  uint32_t version = kStateVersion;
  object.number("version", version, Need::required);
  if (version != kStateVersion)
    return object.refuse("version", "a state of version " + std::to_string(version) + "; this program knows version " +
                                        std::to_string(kStateVersion));
  if (const json* states = object.find("controllers", Need::required))
    readControllers({*states, object.pathOf("controllers")}, controllers, mistakes);
  object.refuseUnknownKeys();
}

}  // namespace

std::string stateText(const std::vector<ControllerModel>& controllers) {
  json states = json::object();
  for (const ControllerModel& controller : controllers) states[controller.config.hba] = controllerState(controller);
  return json{{"format", kStateFormat}, {"version", kStateVersion}, {"controllers", states}}.dump(
             2, ' ', false, json::error_handler_t::replace) +
         "\n";
}

std::optional<std::string> restoreState(const std::string& text, const std::string& name,
                                        std::vector<ControllerModel>& controllers) {
  Mistakes mistakes(name);
  const json document = input::parseJson(text, mistakes);
  std::vector<ControllerModel> restored = controllers;
  if (mistakes.none()) readAll(document, restored, mistakes);
  if (!mistakes.none()) return mistakes.text();
  controllers = std::move(restored);
  return std::nullopt;
}

}  // namespace simulator
