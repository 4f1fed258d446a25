// The state of the hardware as JSON text.
#include "simulator/state_file.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "json/hex.h"
#include "json/input.h"
#include "json/json_text.h"

namespace simulator {
namespace {

using nlohmann::json;

constexpr const char* kStateFormat = "dmu-simulated-host-state";
constexpr int kStateVersion = 1;

json controllerState(const ControllerModel& controller) {
  const BlinkState& blink = controller.blink.state();
  return {{"blinkDuration", blink.duration},
          {"blinkStarted", blink.started},
          {"blinkEnable", input::toHex(blink.enable)},
          {"blinkExtended", input::toHex(blink.extended)},
          {"parameters", input::toHex(controller.settings.parameters())},
          {"cacheConfiguration", input::toHex(controller.settings.cacheConfiguration())}};
}

Bytes bytesAt(const json& object, const char* key) {
  return input::fromHex(object.at(key).get<std::string>()).value_or(Bytes{});
}

/// @return false when the buffers are not this controller's; throws when a key is missing or of another type
bool restoreController(const json& state, ControllerModel& controller) {
  BlinkState blink;
  blink.duration = state.at("blinkDuration").get<uint32_t>();
  blink.started = state.at("blinkStarted").get<uint64_t>();
  blink.enable = bytesAt(state, "blinkEnable");
  blink.extended = bytesAt(state, "blinkExtended");
  return controller.blink.restore(blink) &&
         controller.settings.restore(bytesAt(state, "parameters"), bytesAt(state, "cacheConfiguration"));
}

std::optional<std::string> restoreAll(const json& document, std::vector<ControllerModel>& controllers) {
  if (!document.is_object() || document.value("format", "") != kStateFormat) return "not a state of the simulated host";
  if (document.value("version", 0) != kStateVersion)
    return "a state of another version; this program knows version " + std::to_string(kStateVersion);

  std::vector<ControllerModel> restored = controllers;
  for (const auto& [hba, state] : document.at("controllers").items()) {
    const auto found = std::find_if(restored.begin(), restored.end(), [name = std::string_view(hba)](const auto& each) {
      return each.config.hba == name;
    });
    if (found == restored.end())
      return "it holds the state of " + input::cut(hba) + ", which this topology does not have";
    if (!restoreController(state, *found)) return "the state of " + hba + " does not fit this topology's controller";
  }
  controllers = std::move(restored);
  return std::nullopt;
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
  input::Mistakes mistakes(name);
  const json document = input::parseJson(text, mistakes);
  if (!mistakes.none()) return mistakes.text();
  try {
    if (const auto mistake = restoreAll(document, controllers)) return name + ": " + *mistake;
    return std::nullopt;
  } catch (const json::exception& mistake) {
    const std::string message = mistake.what();  // "[json.exception.KIND.NUMBER] TEXT"
    return name + ": damaged: " + message.substr(message.find("] ") + 2);
  }
}

}  // namespace simulator
