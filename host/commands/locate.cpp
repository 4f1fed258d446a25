// dmu-host locate: switches the locator LEDs of some disks.
#include <algorithm>
#include <ctime>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "host/commands/commands.h"
#include "host/commands/switching.h"
#include "host/disks/disk_drives.h"
#include "host/naming/device_arguments.h"
#include "host/output/local_time.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

namespace host {
namespace {

constexpr int kLongestBlink = 65535;  // seconds, what the operation's argument can carry

/// What became of one disk.
struct Located {
  DiskRecord record;
  Switched switched;
  std::optional<std::vector<Place>> places;
  std::optional<std::vector<DiskDrive>> drives;

  /// Drives that can blink: those that are there, or as many as the plugin counts where the controller does not show
  /// them.
  [[nodiscard]] size_t count() const {
    if (!drives) return static_cast<size_t>(switched.result);
    return drives->size() - missing();
  }
  [[nodiscard]] size_t missing() const {
    if (!drives) return 0;
    return static_cast<size_t>(
        std::count_if(drives->begin(), drives->end(), [](const DiskDrive& drive) { return drive.isMissing; }));
  }
};

/// What the disks of one controller came to. Its blink time is one for all drives, so it holds for others as well.
struct ControllerBlink {
  std::set<uint32_t> blinking;  ///< drives that blink by the last buffer written, by index
  std::set<uint32_t> ours;      ///< drives switched here
  size_t counted = 0;           ///< the same by the plugin's count
  bool oursAreKnown = true;     ///< the indexes of all of them are
  time_t until = 0;             ///< the end of the blink time, set anew by each disk; 0: nothing was switched
};

/// Where the drives sit that can blink, and which cannot: ": 1I:1:1, 1I:1:2; missing, so dark: 1I:1:3".
std::string whereText(const Located& located) {
  if (!located.drives) {
    const bool isKnown = located.places && !located.places->empty();
    return isKnown ? ": " + describe(*located.places) : "";
  }
  const std::string there = placesText(*located.drives, Which::there);
  const std::string missing = placesText(*located.drives, Which::missing);
  return (there.empty() ? "" : ": " + there) + (missing.empty() ? "" : "; missing, so dark: " + missing);
}

class LocateCommand final : public Command {
 public:
  LocateCommand()
      : Command({.name = "locate",
                 .group = kSwitching,
                 .summary = "Switch the locator LED of disks, or of a volume's member drives, on or off",
                 .onRealHost = kFindsDisks,
                 .examples = {{"Let the drives of a volume blink for a minute", "dmu-host locate vmhba2:1:1:0 on"},
                              {"Let a disk blink for five minutes", "dmu-host locate bay:1I:1:8 on --seconds 300"},
                              {"Let all of them stop", "dmu-host locate --all off"},
                              {"See what would be written", "dmu-host locate bay:2E:2:1 on --dry-run"}}}) {}

  std::vector<Option> options() override {
    std::vector<Option> options = devices_.optionsWithSwitch();
    options.push_back({.name = "--seconds",
                       .valueName = "N",
                       .help = "Blink for N seconds, 1 to 65535 (default: 60); one time for the whole controller",
                       .value = Number{&seconds_, 1, kLongestBlink},
                       .onlyWith = "on"});
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
    if (!dryRun_ && !session.isReplay() && session.simulatedHostIfAny() == nullptr) {
      session.report().note("The plugin cannot read LEDs back: look whether the drives do what is said here.");
    }
    std::vector<Located> all;
    std::map<std::string, ControllerBlink> controllers;
    switchEach(session, opened,
               [&](OpenedDisk& disk) { all.push_back(locate(session, disk, controllers[disk.record.disk.hba])); });
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
    const Activity activity(missingMembers(session, opened.record.disk.hba), "missing members",
                            Activity::Steps::askedDrives);
    located.switched = switchDisk(session, opened, "locator LED", MustCount::yes, [this](const DeviceHandle& handle) {
      return setLocatorLed(handle, devices_.isOn(), seconds());
    });
    const time_t until = std::time(nullptr) + seconds();
    const auto blinking = drivesBlinking(session.commands().since(before));
    if (located.switched.done || located.switched.heldBack) located.places = askPlaces(session, opened);
    located.drives = drivesOf(session, opened.record);
    if (located.switched.done && blinking) {
      add(located, controller);
      located.switched.done = areTheDisks(session, opened, located, *blinking);
      controller.blinking = *blinking;
      controller.until = until;
    }
    located.record = opened.record;
    return located;
  }

  /// Of all volumes of a controller: the plugin looks for each of them whenever it switches an LED.
  static size_t missingMembers(Session& session, const std::string& hba) {
    const model::Controller* controller = session.controllers().find(hba);
    size_t missing = 0;
    if (controller == nullptr) return 0;
    for (const model::Volume& volume : controller->volumes)
      missing += model::missingMembers(*controller, volume).size();
    return missing;
  }

  /// Compares what the plugin counts, members that are missing too, and the drives that it marked with the controller's
  /// account of the disk.
  /// @return whether all drives of the disk were marked, as far as the controller tells
  bool areTheDisks(Session& session, OpenedDisk& opened, const Located& located,
                   const std::set<uint32_t>& blinking) const {
    if (!located.drives) return true;
    const model::Volume* volume = session.controllers().volumeOf(opened.record.disk);
    const size_t expected = volume == nullptr ? 1 : volume->memberCount.value_or(0) & 0xFFu;  // as the plugin keeps it
    const auto counts = static_cast<size_t>(located.switched.result);
    if (counts != expected) {
      session.report().failed(opened.record, "locator LED",
                              "the plugin answers with " + counted(counts, "drive") + ", the controller reported " +
                                  std::to_string(expected));
    }
    std::vector<std::string> wrong;
    for (const DiskDrive& drive : *located.drives) {
      if (blinking.contains(drive.index.value_or(0)) != devices_.isOn()) wrong.push_back(placeText(drive));
    }
    if (wrong.empty()) return true;
    session.report().failed(opened.record, "locator LED", "the plugin left out " + joined(wrong));
    return false;
  }

  static void add(const Located& located, ControllerBlink& controller) {
    controller.counted += static_cast<size_t>(located.switched.result);
    controller.oursAreKnown = controller.oursAreKnown && located.drives.has_value();
    for (const DiskDrive& drive : located.drives.value_or(std::vector<DiskDrive>{})) {
      controller.ours.insert(drive.index.value_or(0));
    }
  }

  /// Drives of the controller that blink and were not switched here.
  [[nodiscard]] size_t others(const ControllerBlink& controller) const {
    const size_t all = controller.blinking.size();
    if (!devices_.isOn()) return all;
    if (!controller.oursAreKnown) return all > controller.counted ? all - controller.counted : 0;
    return static_cast<size_t>(std::count_if(controller.blinking.begin(), controller.blinking.end(),
                                             [&](uint32_t drive) { return !controller.ours.contains(drive); }));
  }

  [[nodiscard]] std::string lineOf(const Located& located, time_t until) const {
    const std::string device = printable(located.record.disk.device) + ": ";
    const size_t count = located.count();
    if (located.switched.heldBack) {
      const std::string what =
          devices_.isOn() ? " would blink for " + std::to_string(seconds_) + " s" : " would be dark";
      return device + "dry run: " + counted(count, "drive") + what + whereText(located) + "\n";
    }
    if (!located.switched.done) return "";
    std::string line = device + counted(count, "drive");
    if (devices_.isOn()) {
      line += (count == 1 ? " blinks until " : " blink until ") + localTime(until);
    } else {
      line += count == 1 ? " blinks no longer" : " blink no longer";
    }
    return line + whereText(located) + "\n";
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
      locator = {
          {"on", devices_.isOn()},        {"drives", located.count()},
          {"missing", located.missing()}, {"locations", located.places ? host::toJson(*located.places) : Json(nullptr)},
          {"seconds", seconds()},         {"until", devices_.isOn() ? Json(isoTime(until)) : Json(nullptr)}};
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
