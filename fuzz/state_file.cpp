// Arbitrary text as the state of a controller: refused, and nothing is changed, or taken, and then written and
// read again the same.
#include "simulator/state_file.h"

#include "fuzz/input.h"
#include "simulator/simulated_host.h"

namespace {

std::vector<simulator::ControllerModel> smallHost() {
  simulator::Controller controller;
  controller.hba = "hba0";
  controller.maxPhysDevicesSupported = 16;
  controller.maxPhysDrivesPerLogicalUnit = 8;
  controller.maxLogicalDrivesSupported = 8;
  controller.extendedBlinkArray = true;
  return {simulator::ControllerModel(controller)};
}

bool areSame(const simulator::ControllerModel& one, const simulator::ControllerModel& other) {
  const simulator::BlinkState& blink = one.blink.state();
  const simulator::BlinkState& otherBlink = other.blink.state();
  return blink.duration == otherBlink.duration && blink.started == otherBlink.started &&
         blink.enable == otherBlink.enable && blink.extended == otherBlink.extended &&
         one.settings.parameters() == other.settings.parameters() &&
         one.settings.cacheConfiguration() == other.settings.cacheConfiguration();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto kNew = smallHost();
  auto controllers = kNew;
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (const auto refused = simulator::restoreState(text, "fuzzed", controllers)) {
    fuzz::require(fuzz::isRefusalOf("fuzzed", *refused), "a refusal says what and why");
    fuzz::require(areSame(controllers[0], kNew[0]), "a refused state changes nothing");
    return 0;
  }
  const std::string written = simulator::stateText(controllers);
  auto others = kNew;
  fuzz::require(!simulator::restoreState(written, "written", others) && simulator::stateText(others) == written,
                "a state is read as it is written");
  return 0;
}
