// dmu-host locate: switches the locator LEDs of some disks.
#include <ctime>
#include <map>
#include <set>

#include "host/commands/commands.h"
#include "host/commands/switching.h"
#include "host/disks/device_arguments.h"
#include "host/output/local_time.h"
#include "host/output/text.h"

namespace host {
namespace {

constexpr int kLongestBlink = 65535;  // seconds, what the operation's argument can carry

/// What became of one disk.
struct Located {
  DiskRecord record;
  Switched switched;
  std::optional<std::vector<Place>> places;
};

/// What the disks of one controller came to. Its blink time is one for all drives, so it holds for others as well.
struct ControllerBlink {
  size_t blinking = 0;         ///< drives that blink by the last buffer written
  std::set<std::string> ours;  ///< location texts of the drives switched here
  size_t counted = 0;          ///< drives switched here by the plugin's count
  bool placesAreSure = true;   ///< each switched drive has a location text of its own
  time_t until = 0;            ///< the end of the blink time, set anew by each disk; 0: nothing was switched
};

class LocateCommand final : public Command {
 public:
  LocateCommand()
      : Command("locate", "Switch the locator LED of disks, or of a volume's member drives, on or off",
                {"dmu-host locate vmhba2:1:1:0 on", "dmu-host locate vmhba2:1:1:0 serial:S7P3X0Q8 on --seconds 300",
                 "dmu-host locate --all off", "dmu-host locate bay:2E:2:1 on --dry-run"}) {}

  std::vector<Option> options() override {
    std::vector<Option> options = devices_.optionsWithSwitch();
    options.push_back({"--seconds", "N", "Blink time, 1 to 65535; one for the whole controller (default: 60)",
                       Number{&seconds_, 1, kLongestBlink}});
    options.push_back({"--dry-run", "", kDryRunHelp, Flag{&dryRun_}});
    return options;
  }

  [[nodiscard]] Json emptyResult() const override {
    return {{"dryRun", dryRun_}, {"devices", Json::array()}, {"controllers", Json::array()}};
  }

  [[nodiscard]] bool switches() const override { return !dryRun_; }

  Outcome run(Session& session) override {
    Outcome outcome{"", emptyResult()};
    auto opened = devices_.open(session);
    if (dryRun_) session.commands().holdBackWrites();
    std::vector<Located> all;
    std::map<std::string, ControllerBlink> controllers;
    for (OpenedDisk& disk : opened) all.push_back(locate(session, disk, controllers[disk.record.disk.hba]));
    for (const Located& located : all) {
      const time_t until = controllers[located.record.disk.hba].until;
      outcome.text += lineOf(located, until);
      outcome.json["devices"].push_back(toJson(located, until));
    }
    for (const auto& [hba, blink] : controllers) {
      if (blink.until == 0) continue;
      outcome.text += noteOf(hba, blink);
      outcome.json["controllers"].push_back(
          {{"hba", hba}, {"otherDrivesBlinking", others(blink)}, {"until", isoTime(blink.until)}});
    }
    return outcome;
  }

 private:
  [[nodiscard]] uint16_t seconds() const { return static_cast<uint16_t>(seconds_); }

  Located locate(Session& session, OpenedDisk& opened, ControllerBlink& controller) const {
    const size_t before = session.commands().size();
    Located located;
    located.switched = switchDisk(session, opened, "locator LED", MustCount::yes, [this](const DeviceHandle& handle) {
      return setLocatorLed(handle, devices_.isOn(), seconds());
    });
    const time_t until = std::time(nullptr) + seconds();
    const auto blinking = drivesBlinking(session.commands().since(before));
    if (located.switched.done || located.switched.heldBack) located.places = askPlaces(session, opened);
    if (located.switched.done && blinking) {
      add(located, controller);
      controller.blinking = blinking->size();
      controller.until = until;
    }
    located.record = opened.record;
    return located;
  }

  static void add(const Located& located, ControllerBlink& controller) {
    const auto count = static_cast<size_t>(located.switched.result);
    std::set<std::string> texts;
    for (const Place& place : located.places.value_or(std::vector<Place>{})) texts.insert(place.text);
    controller.placesAreSure = controller.placesAreSure && texts.size() == count;
    controller.ours.insert(texts.begin(), texts.end());
    controller.counted += count;
  }

  /// Drives of the controller that blink and were not switched here.
  [[nodiscard]] size_t others(const ControllerBlink& controller) const {
    if (!devices_.isOn()) return controller.blinking;
    const size_t ours = controller.placesAreSure ? controller.ours.size() : controller.counted;
    return controller.blinking > ours ? controller.blinking - ours : 0;
  }

  [[nodiscard]] std::string lineOf(const Located& located, time_t until) const {
    const std::string device = printable(located.record.disk.device) + ": ";
    if (located.switched.heldBack) return device + "dry run: " + describe(*located.switched.heldBack) + "\n";
    if (!located.switched.done) return "";
    const auto count = static_cast<size_t>(located.switched.result);
    std::string line = device + counted(count, "drive");
    if (devices_.isOn()) {
      line += (count == 1 ? " blinks until " : " blink until ") + localTime(until);
    } else {
      line += count == 1 ? " blinks no longer" : " blink no longer";
    }
    const bool whereIsKnown = located.places && !located.places->empty();
    return line + (whereIsKnown ? ": " + describe(*located.places) : "") + "\n";
  }

  [[nodiscard]] std::string noteOf(const std::string& hba, const ControllerBlink& controller) const {
    const size_t number = others(controller);
    if (number == 0) return "";
    return printable(hba) + ": " + counted(number, "other drive") + (number == 1 ? " blinks" : " blink") +
           " there too; the blink time is the controller's, so it now ends for all at " + localTime(controller.until) +
           "\n";
  }

  [[nodiscard]] Json toJson(const Located& located, time_t until) const {
    Json device = host::toJson(located.record);
    Json& locator = device["locator"] = nullptr;
    if (located.switched.done) {
      locator = {{"on", devices_.isOn()},
                 {"drives", located.switched.result},
                 {"locations", located.places ? host::toJson(*located.places) : Json(nullptr)},
                 {"seconds", seconds()},
                 {"until", devices_.isOn() ? Json(isoTime(until)) : Json(nullptr)}};
    }
    device["notSent"] = located.switched.heldBack ? host::toJson(*located.switched.heldBack) : Json(nullptr);
    return device;
  }

  DeviceArguments devices_;
  int seconds_ = 60;
  bool dryRun_ = false;
};

}  // namespace

std::unique_ptr<Command> makeLocateCommand() {
  return std::make_unique<LocateCommand>();
}

}  // namespace host
