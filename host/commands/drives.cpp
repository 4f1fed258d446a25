// dmu-host drives: all drives of the controllers, box by box, and what the simulated ones do.
#include <map>

#include "host/commands/commands.h"
#include "host/disks/opened_disk.h"
#include "host/output/columns.h"
#include "host/output/degrees.h"
#include "host/output/grid.h"
#include "host/output/json_values.h"
#include "host/output/text.h"
#include "host/output/text_table.h"
#include "host/waiting/watch.h"

namespace host {
namespace {

/// One drive as it is drawn: of the simulated hardware, or as its controller reported it.
struct DriveView {
  simulator::Drive drive;
  bool isPresent = true;                ///< false: it left its bay
  std::optional<uint32_t> blinkTenths;  ///< that are left, 0: it does not blink; nothing: a real drive does not tell
};

struct ControllerView {
  std::string hba;
  std::optional<bool> driveCacheOn;
  std::vector<DriveView> drives;
  std::vector<simulator::VolumeState> volumes;  ///< of the simulated hardware alone
  size_t unidentified = 0;                      ///< drives that are listed, but did not say what and where they are
};

ControllerView viewOf(const simulator::ControllerState& controller) {
  ControllerView view{controller.hba, controller.driveCacheOn, {}, controller.volumes, 0};
  for (const simulator::DriveState& state : controller.drives) {
    view.drives.push_back({state.drive, state.present, state.blinking ? state.blinkTenthsLeft : 0});
  }
  return view;
}

/// @param disks  that the host sees, with their serial numbers
ControllerView viewOf(const model::Controller& controller, const std::vector<DiskRecord>& disks) {
  ControllerView view{controller.hba, {}, {}, {}, 0};
  std::map<const model::Drive*, std::string> devices;
  for (const DiskRecord& record : disks) {
    if (record.disk.hba != controller.hba || record.kind != DiskKind::disk) continue;
    devices[controller.exposedDrive(record.serial.value_or(""))] = record.disk.device;
  }
  for (const model::Drive& drive : controller.drives) {
    if (!drive.isListed) continue;
    if (!drive.identity) {
      ++view.unidentified;
      continue;
    }
    const model::DriveIdentity& identity = *drive.identity;
    simulator::Drive shown;
    shown.bus = static_cast<uint8_t>(drive.index / 256 + 1);
    shown.target = static_cast<uint8_t>(drive.index % 256);
    shown.serial = identity.serial;
    shown.port = identity.bay.port;
    shown.box = identity.bay.box;
    shown.bay = identity.bay.bay;
    shown.currentTemperature = identity.currentTemperature;
    shown.maximumTemperature = identity.maximumTemperature;
    if (const auto device = devices.find(&drive); device != devices.end()) shown.device = device->second;
    shown.exposed = !shown.device.empty();
    view.drives.push_back({std::move(shown), true, {}});
  }
  return view;
}

/// Longer runs of empty bays are drawn as one cell.
constexpr unsigned kMostEmptyCells = 4;

/// One box behind one port: its drives by bay. Two drives may claim the same bay.
struct Box {
  std::string port;
  uint8_t box = 0;
  std::multimap<unsigned, const DriveView*> drives;

  /// Bays from the first one to the last in use.
  [[nodiscard]] unsigned lastBay() const { return drives.empty() ? 0 : drives.rbegin()->first; }
  [[nodiscard]] unsigned firstBay() const { return drives.contains(0) ? 0 : 1; }
};

/// The boxes of a controller by port and number. A drive that is gone leaves its bay, which stays.
std::vector<Box> boxesOf(const ControllerView& controller) {
  std::map<std::pair<std::string, uint8_t>, Box> boxes;
  for (const DriveView& view : controller.drives) {
    Box& box = boxes[{view.drive.port, view.drive.box}];
    box.port = view.drive.port;
    box.box = view.drive.box;
    box.drives.emplace(view.drive.bay, view.isPresent ? &view : nullptr);
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

/// Seconds, rounded up so that a drive that still blinks never shows 0; empty for a drive that does not.
std::string blinkText(const DriveView& view) {
  const uint32_t tenths = view.blinkTenths.value_or(0);
  return tenths == 0 ? "" : "blinks, " + std::to_string((tenths + 9) / 10) + " s left";
}

std::string temperatureText(const simulator::Drive& drive) {
  const auto current = degrees(drive.currentTemperature);
  const auto maximum = degrees(drive.maximumTemperature);
  if (!current && !maximum) return kUnknown;
  return orUnknown(current) + " C, max " + orUnknown(maximum) + " C";
}

GridCell cellOf(unsigned bay, const DriveView& view) {
  const simulator::Drive& drive = view.drive;
  GridCell cell;
  cell.lines = {"bay " + std::to_string(bay), printable(drive.serial), temperatureText(drive), blinkText(view)};
  cell.isHighlighted = view.blinkTenths.value_or(0) != 0;
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
  forEachBay(box, [&](unsigned bay, const DriveView* state) {
    if (state == nullptr) return;
    if (emptySince < bay) addEmptyBays(cells, emptySince, bay);
    cells.push_back(cellOf(bay, *state));
    emptySince = bay + 1;
  });
  addEmptyBays(cells, emptySince, box.lastBay() + 1);
  return drawGrid(cells, terminal);
}

std::string textOf(const ControllerView& controller, const Terminal& terminal) {
  std::string text = terminal.bold(printable(controller.hba));
  if (controller.driveCacheOn)
    text += std::string("  drives' write cache ") + (*controller.driveCacheOn ? "on" : "off");
  text += "\n";
  for (const Box& box : boxesOf(controller)) {
    text += "port " + printable(box.port) + ", box " + std::to_string(box.box) + "\n" + pictureOf(box, terminal);
  }
  if (controller.unidentified != 0) text += counted(controller.unidentified, "drive") + " not identified\n";
  if (controller.volumes.empty()) return text;
  TextTable table({"VOLUME", "NUMBER", "LABEL", "CACHE"});
  for (const simulator::VolumeState& state : controller.volumes) {
    const char* cache = state.volume.external ? kUnknown : state.volume.cacheOn ? "on" : "off";
    table.addRow({printable(state.volume.device), std::to_string(state.volume.number),
                  state.volume.label.empty() ? kUnknown : printable(state.volume.label),
                  state.present ? cache : "gone"});
  }
  return text + table.text(terminal);
}

/// A drive as a line of a table.
struct DriveRow {
  std::string hba;
  DriveView view;
};

const std::vector<Column<DriveRow>>& driveColumns() {
  using Row = const DriveRow&;
  static const std::vector<Column<DriveRow>> columns = {
      {"hba", "HBA", "name of the controller", Shown::always, 0, [](Row row) { return printable(row.hba); }},
      {"place", "PORT:BOX:BAY", "where the drive sits", Shown::always, 0,
       [](Row row) {
         const simulator::Drive& drive = row.view.drive;
         return bayText(Place{"", drive.port, drive.box, drive.bay, false});
       }},
      {"serial", "SERIAL", "serial number", Shown::always, 1, [](Row row) { return printable(row.view.drive.serial); }},
      {"device", "DEVICE", "the disk, where the host sees the drive as one", Shown::whenKnown, 2,
       [](Row row) { return row.view.drive.exposed ? printable(row.view.drive.device) : std::string(kUnknown); }},
      {"current", "CURRENT C", "temperature in degrees Celsius", Shown::always, 3,
       [](Row row) { return orUnknown(degrees(row.view.drive.currentTemperature)); }},
      {"maximum", "MAXIMUM C", "the drive's maximum", Shown::always, 4,
       [](Row row) { return orUnknown(degrees(row.view.drive.maximumTemperature)); }},
      {"led", "LED", "whether it blinks, and how long", Shown::whenKnown, 5, [](Row row) {
         const std::string text = blinkText(row.view);
         return text.empty() ? std::string(kUnknown) : text;
       }}};
  return columns;
}

Json toJson(const DriveView& view) {
  const simulator::Drive& drive = view.drive;
  const auto& tenths = view.blinkTenths;
  return {{"bus", drive.bus},
          {"target", drive.target},
          {"device", drive.exposed ? Json(drive.device) : Json(nullptr)},
          {"serial", drive.serial},
          {"currentTemperature", orNull(degrees(drive.currentTemperature))},
          {"maximumTemperature", orNull(degrees(drive.maximumTemperature))},
          {"blinking", tenths ? Json(*tenths != 0) : Json(nullptr)},
          {"blinkTenthsLeft", orNull(tenths)}};
}

Json toJson(const Box& box) {
  Json bays = Json::array();
  forEachBay(box, [&](unsigned bay, const DriveView* state) {
    bays.push_back({{"bay", bay}, {"drive", state == nullptr ? Json(nullptr) : toJson(*state)}});
  });
  return {{"port", box.port}, {"box", box.box}, {"bays", std::move(bays)}};
}

Json toJson(const ControllerView& controller) {
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
          {"driveCacheOn", orNull(controller.driveCacheOn)},
          {"boxes", std::move(boxes)},
          {"unidentified", controller.unidentified},
          {"volumes", std::move(volumes)}};
}

class DrivesCommand final : public Command {
 public:
  DrivesCommand()
      : Command({.name = "drives",
                 .group = kLooking,
                 .summary = "Show all drives box by box, those that belong to no disk too",
                 .onRealHost = kFindsDisks,
                 .examples = {{"The drives, their temperatures, what blinks", "dmu-host drives"},
                              {"After what earlier runs switched", "dmu-host drives --state state.json"},
                              {"The same for a program", "dmu-host drives --json"}}}) {}

  std::vector<Option> options() override { return both(choice_.options(namesOf(driveColumns())), {watch_.option()}); }

  [[nodiscard]] std::vector<std::pair<std::string, std::string>> columns() const override {
    return helpOf(driveColumns());
  }

  [[nodiscard]] Json emptyResult() const override { return {{"controllers", Json::array()}}; }

  [[nodiscard]] int repeatsAfter() const override { return watch_.seconds; }

  Outcome run(Session& session) override {
    Outcome outcome{"", emptyResult()};
    std::vector<DriveRow> rows;
    for (const ControllerView& controller : controllers(session)) {
      if (!outcome.text.empty() && !choice_.isGiven()) outcome.text += "\n";
      if (!choice_.isGiven()) outcome.text += textOf(controller, session.terminal());
      for (const DriveView& view : controller.drives) {
        if (view.isPresent) rows.push_back({controller.hba, view});
      }
      outcome.json["controllers"].push_back(toJson(controller));
    }
    if (choice_.isGiven()) outcome.text = tableOf(rows, driveColumns(), choice_, session.terminal());
    return outcome;
  }

 private:
  /// The simulated hardware as it is; of another host what its controllers report when their disks are asked for.
  static std::vector<ControllerView> controllers(Session& session) {
    std::vector<ControllerView> views;
    simulator::SimulatedHost* const simulated = session.isReplay() ? nullptr : session.simulatedHostIfAny();
    if (simulated != nullptr) {
      for (const simulator::ControllerState& state : simulated->state()) views.push_back(viewOf(state));
      return views;
    }
    const std::vector<DiskRecord> records = recordsOfAllDisks(session);
    for (const auto& [hba, controller] : session.controllers().all()) views.push_back(viewOf(controller, records));
    return views;
  }

  ColumnChoice choice_;
  WatchChoice watch_;
};

}  // namespace

std::unique_ptr<Command> makeDrivesCommand() {
  return std::make_unique<DrivesCommand>();
}

}  // namespace host
