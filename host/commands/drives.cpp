// dmu-host drives: what the simulated hardware does, box by box.
#include <map>

#include "host/commands/commands.h"
#include "host/output/degrees.h"
#include "host/output/grid.h"
#include "host/output/text.h"
#include "host/output/text_table.h"

namespace host {
namespace {

using simulator::ControllerState;
using simulator::DriveState;

/// Longer runs of empty bays are drawn as one cell.
constexpr unsigned kMostEmptyCells = 4;

/// One box behind one port: its drives by bay. Two drives may claim the same bay.
struct Box {
  std::string port;
  uint8_t box = 0;
  std::multimap<unsigned, const DriveState*> drives;

  /// Bays from the first one to the last in use.
  [[nodiscard]] unsigned lastBay() const { return drives.empty() ? 0 : drives.rbegin()->first; }
  [[nodiscard]] unsigned firstBay() const { return drives.contains(0) ? 0 : 1; }
};

/// The boxes of a controller by port and number. A drive that is gone leaves its bay, which stays.
std::vector<Box> boxesOf(const ControllerState& controller) {
  std::map<std::pair<std::string, uint8_t>, Box> boxes;
  for (const DriveState& state : controller.drives) {
    Box& box = boxes[{state.drive.port, state.drive.box}];
    box.port = state.drive.port;
    box.box = state.drive.box;
    box.drives.emplace(state.drive.bay, state.present ? &state : nullptr);
  }
  std::vector<Box> list;
  list.reserve(boxes.size());
  for (auto& [key, box] : boxes) list.push_back(std::move(box));
  return list;
}

/// Calls `visit` for each bay in order with its drive, or with null for an empty bay.
template <typename Visit>
void forEachBay(const Box& box, Visit visit) {
  for (unsigned bay = box.firstBay(); bay <= box.lastBay(); ++bay) {
    const auto [first, last] = box.drives.equal_range(bay);
    if (first == last) visit(bay, nullptr);
    for (auto drive = first; drive != last; ++drive) visit(bay, drive->second);
  }
}

/// Seconds, rounded up so that a drive that still blinks never shows 0.
uint32_t secondsLeft(const DriveState& state) {
  return (state.blinkTenthsLeft + 9) / 10;
}

GridCell cellOf(unsigned bay, const DriveState& state) {
  const simulator::Drive& drive = state.drive;
  GridCell cell;
  cell.lines = {
      "bay " + std::to_string(bay), printable(drive.serial),
      orUnknown(degrees(drive.currentTemperature)) + " C, max " + orUnknown(degrees(drive.maximumTemperature)) + " C",
      state.blinking ? "blinks, " + std::to_string(secondsLeft(state)) + " s left" : ""};
  cell.isHighlighted = state.blinking;
  return cell;
}

void addEmptyBays(std::vector<GridCell>& cells, unsigned first, unsigned end) {
  if (end - first > kMostEmptyCells) {
    cells.push_back({{"bays " + std::to_string(first) + "-" + std::to_string(end - 1), "(empty)"}, false});
    return;
  }
  for (unsigned bay = first; bay < end; ++bay) cells.push_back({{"bay " + std::to_string(bay), "(empty)"}, false});
}

std::string pictureOf(const Box& box, const Terminal& terminal) {
  std::vector<GridCell> cells;
  unsigned emptySince = box.firstBay();
  forEachBay(box, [&](unsigned bay, const DriveState* state) {
    if (state == nullptr) return;
    if (emptySince < bay) addEmptyBays(cells, emptySince, bay);
    cells.push_back(cellOf(bay, *state));
    emptySince = bay + 1;
  });
  addEmptyBays(cells, emptySince, box.lastBay() + 1);
  return drawGrid(cells, terminal);
}

std::string textOf(const ControllerState& controller, const Terminal& terminal) {
  std::string text = terminal.bold(printable(controller.hba)) + "  drives' write cache " +
                     (controller.driveCacheOn ? "on" : "off") + "\n";
  for (const Box& box : boxesOf(controller)) {
    text += "port " + printable(box.port) + ", box " + std::to_string(box.box) + "\n" + pictureOf(box, terminal);
  }
  if (controller.volumes.empty()) return text;
  TextTable table({"VOLUME", "NUMBER", "LABEL", "CACHE"});
  for (const simulator::VolumeState& state : controller.volumes) {
    const char* cache = state.volume.external ? kUnknown : state.volume.cacheOn ? "on" : "off";
    table.addRow({printable(state.volume.device), std::to_string(state.volume.number), printable(state.volume.label),
                  state.present ? cache : "gone"});
  }
  return text + table.text(terminal);
}

Json toJson(const DriveState& state) {
  const simulator::Drive& drive = state.drive;
  return {{"bus", drive.bus},
          {"target", drive.target},
          {"device", drive.exposed ? Json(drive.device) : Json(nullptr)},
          {"serial", drive.serial},
          {"currentTemperature", orNull(degrees(drive.currentTemperature))},
          {"maximumTemperature", orNull(degrees(drive.maximumTemperature))},
          {"blinking", state.blinking},
          {"blinkTenthsLeft", state.blinkTenthsLeft}};
}

Json toJson(const Box& box) {
  Json bays = Json::array();
  forEachBay(box, [&](unsigned bay, const DriveState* state) {
    bays.push_back({{"bay", bay}, {"drive", state == nullptr ? Json(nullptr) : toJson(*state)}});
  });
  return {{"port", box.port}, {"box", box.box}, {"bays", std::move(bays)}};
}

Json toJson(const ControllerState& controller) {
  Json boxes = Json::array();
  for (const Box& box : boxesOf(controller)) boxes.push_back(toJson(box));
  Json volumes = Json::array();
  for (const simulator::VolumeState& state : controller.volumes) {
    volumes.push_back({{"device", state.volume.device},
                       {"number", state.volume.number},
                       {"label", state.volume.label},
                       {"present", state.present},
                       {"cacheOn", state.volume.external ? Json(nullptr) : Json(state.volume.cacheOn)}});
  }
  return {{"hba", controller.hba},
          {"driveCacheOn", controller.driveCacheOn},
          {"boxes", std::move(boxes)},
          {"volumes", std::move(volumes)}};
}

class DrivesCommand final : public Command {
 public:
  DrivesCommand()
      : Command("drives", "Show what the simulated hardware does, box by box",
                {"dmu-host drives --state state.json", "dmu-host drives --json"}) {}

  [[nodiscard]] Json emptyResult() const override { return {{"controllers", Json::array()}}; }

  Outcome run(Session& session) override {
    Outcome outcome{"", emptyResult()};
    for (const ControllerState& controller : session.simulatedHost("drives").state()) {
      if (!outcome.text.empty()) outcome.text += "\n";
      outcome.text += textOf(controller, session.terminal());
      outcome.json["controllers"].push_back(toJson(controller));
    }
    return outcome;
  }
};

}  // namespace

std::unique_ptr<Command> makeDrivesCommand() {
  return std::make_unique<DrivesCommand>();
}

}  // namespace host
