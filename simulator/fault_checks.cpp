// Fault rules that could never fire or could not do what they say.
#include <algorithm>
#include <string>
#include <string_view>

#include "json/json_object.h"
#include "simulator/command_decoder.h"
#include "simulator/drive_address.h"
#include "simulator/module_loader_page.h"
#include "simulator/topology_checks.h"

namespace simulator {
namespace {

using input::Mistakes;
using input::suggestion;

const CommandLayout* findCommand(std::string_view name) {
  for (const CommandLayout& layout : kCommands)
    if (name == layout.name) return &layout;
  return nullptr;
}

class RuleCheck {
 public:
  RuleCheck(const Topology& topology, size_t index, Mistakes& mistakes)
      : topology_(topology),
        rule_(topology.faults[index]),
        path_("/faults/" + std::to_string(index)),
        mistakes_(mistakes) {}

  void run() {
    checkController();
    checkDrive();
    checkVolume();
    checkDevice();
    checkAction();
  }

 private:
  void refuse(const char* key, const std::string& reason) { mistakes_.add(path_ + "/" + key, reason); }

  [[nodiscard]] bool isCommand() const { return rule_.call == "any" || findCommand(rule_.call) != nullptr; }
  [[nodiscard]] bool isNodeCall() const { return rule_.call == "open" || rule_.call == "ioctl"; }
  [[nodiscard]] bool vanishes() const { return rule_.action == FaultAction::vanish; }

  /// Whether any controller that the rule means holds what `found` looks for.
  template <typename Found>
  [[nodiscard]] bool onAController(Found found) const {
    return std::any_of(topology_.controllers.begin(), topology_.controllers.end(), [&](const Controller& controller) {
      return (rule_.controller.empty() || rule_.controller == controller.hba) && found(controller);
    });
  }
  [[nodiscard]] std::string wherever() const {
    return rule_.controller.empty() ? " on any controller" : " on " + rule_.controller;
  }

  void checkController() {
    if (rule_.controller.empty()) {
      if (vanishes()) refuse("vanish", "needs the controller of what vanishes");
      return;
    }
    if (!vanishes() && !isCommand() && !isNodeCall()) {
      refuse("controller", "a call \"" + rule_.call + "\" concerns no controller");
    } else if (!onAController([](const Controller&) { return true; }) && !isForeign()) {
      std::vector<std::string_view> known;
      for (const Controller& controller : topology_.controllers) known.push_back(controller.hba);
      refuse("controller", "no controller " + rule_.controller + suggestion(rule_.controller, known));
    }
  }

  [[nodiscard]] bool isForeign() const {
    return isNodeCall() && std::any_of(topology_.foreignDisks.begin(), topology_.foreignDisks.end(),
                                       [&](const ForeignDisk& disk) { return disk.hba == rule_.controller; });
  }

  void checkDrive() {
    if (!rule_.drive) return;
    if (!onAController([&](const Controller& controller) {
          return std::any_of(controller.drives.begin(), controller.drives.end(),
                             [&](const Drive& drive) { return driveIndex(drive) == *rule_.drive; });
        }))
      refuse("drive", "no drive " + driveName(*rule_.drive) + wherever());
    if (!vanishes() && !isAbout(Argument::drive))
      refuse("drive", "a call \"" + rule_.call + "\" is about no single drive");
  }

  void checkVolume() {
    if (!rule_.volume) return;
    if (!onAController([&](const Controller& controller) {
          return std::any_of(controller.volumes.begin(), controller.volumes.end(),
                             [&](const Volume& volume) { return volume.number == *rule_.volume; });
        }))
      refuse("volume", "no volume " + std::to_string(*rule_.volume) + wherever());
    if (!vanishes() && !isAbout(Argument::volume))
      refuse("volume", "a call \"" + rule_.call + "\" is about no single volume");
  }

  [[nodiscard]] bool isAbout(Argument argument) const {
    const CommandLayout* command = findCommand(rule_.call);
    return rule_.call == "any" || isNodeCall() || (command != nullptr && command->argument == argument);
  }

  void checkDevice() {
    if (rule_.device.empty()) return;
    if (!isNodeCall()) return refuse("device", "goes with the calls open and ioctl");
    const auto has = [&](const auto& disks) {
      return std::any_of(disks.begin(), disks.end(), [&](const auto& disk) { return disk.device == rule_.device; });
    };
    if (!has(topology_.foreignDisks) &&
        !std::any_of(topology_.controllers.begin(), topology_.controllers.end(),
                     [&](const Controller& c) { return has(c.drives) || has(c.volumes); }))
      refuse("device", "no device " + rule_.device);
  }

  void checkAction() {
    const CommandLayout* command = findCommand(rule_.call);
    const bool hasReply = rule_.call == "any" || (command != nullptr && !command->toController) ||
                          rule_.call == "query" || rule_.call == "ioctl";
    const bool isLoad = rule_.call == "load";
    switch (rule_.action) {
      case FaultAction::error:
        if ((isNodeCall() || isLoad) && rule_.value > INT32_MAX)
          refuse("error", "a call \"" + rule_.call + "\" fails with a number above 0");
        break;
      case FaultAction::delay:
        break;
      case FaultAction::driverStatus:
        if (!isCommand() && rule_.call != "query" && rule_.call != "ioctl")
          refuse("driverStatus", "a call \"" + rule_.call + "\" has no driver status");
        break;
      case FaultAction::length:
        if (!hasReply && !isLoad) refuse("length", "a call \"" + rule_.call + "\" has no reply");
        break;
      case FaultAction::set:
        if (!hasReply) refuse("set", "a call \"" + rule_.call + "\" has no reply");
        break;
      case FaultAction::vanish:
        if (rule_.drive.has_value() == rule_.volume.has_value()) refuse("vanish", "needs one drive or one volume");
        if (isLoad) refuse("vanish", "nothing vanishes by a call \"load\"");
        break;
      case FaultAction::missing:
        if (!isLoad) refuse("missing", "goes with the call load");
        break;
    }
  }

  const Topology& topology_;
  const FaultRule& rule_;
  std::string path_;
  Mistakes& mistakes_;
};

}  // namespace

void checkFaults(const Topology& topology, Mistakes& mistakes) {
  for (size_t i = 0; i < topology.faults.size(); ++i) RuleCheck(topology, i, mistakes).run();
  const auto loads = std::count_if(topology.faults.begin(), topology.faults.end(),
                                   [](const FaultRule& rule) { return rule.call == "load"; });
  if (loads > static_cast<std::ptrdiff_t>(kMaxModuleLoaderRules))
    mistakes.add("/faults", "more than " + std::to_string(kMaxModuleLoaderRules) + " rules for the call load");
}

}  // namespace simulator
