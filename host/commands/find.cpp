// dmu-host find: which disk or drive a text is of. It looks for parts of names and numbers too, and switches nothing.
#include <algorithm>

#include "host/commands/commands.h"
#include "host/disks/disk_drives.h"
#include "host/disks/opened_disk.h"
#include "host/interception/host_calls.h"
#include "host/naming/device_names.h"
#include "host/output/json_values.h"
#include "host/output/text.h"
#include "host/output/text_table.h"

namespace host {
namespace {

/// A disk or a drive that a text was found in.
struct Found {
  std::optional<HostDisk> disk;  ///< nothing: the drive belongs to no disk of the host
  std::string hba;
  std::string what;  ///< "volume", "disk", "member", "unassigned drive"
  std::optional<std::string> serial;
  std::optional<Place> place;
};

bool containsCaseless(const std::string& text, const std::string& part) {
  return lowerCase(text).find(lowerCase(part)) != std::string::npos;
}

/// A text as it was given, and what it says if it is the name of a node or a bay.
struct Wanted {
  explicit Wanted(std::string given) : text(std::move(given)) {
    for (const std::string_view prefix : {kNodes, kSerialPrefix, kBayPrefix}) {
      if (text.starts_with(prefix)) text.erase(0, prefix.size());
    }
  }

  [[nodiscard]] bool isIn(const HostDisk& disk) const {
    return containsCaseless(disk.device, text) || lowerCase(disk.hba) == lowerCase(text) ||
           lowerCase(disk.hba + ":" + addressOf(disk)) == lowerCase(text);
  }

  /// "PORT:BOX:BAY", with the HBA before it or not.
  [[nodiscard]] bool isBay(const std::string& hba, const Place& place) const {
    const std::string bay = bayText(place);
    return lowerCase(text) == lowerCase(bay) || lowerCase(text) == lowerCase(hba + ":" + bay);
  }

  std::string text;
};

class TextSearch {
 public:
  explicit TextSearch(Session& session) : session_(session), records_(recordsOfAllDisks(session)) {}

  [[nodiscard]] std::vector<Found> find(const std::string& text) const {
    const Wanted wanted(text);
    std::vector<Found> found;
    for (const DiskRecord& record : records_) addDisk(wanted, record, found);
    for (const auto& [hba, controller] : session_.controllers().all()) {
      for (const model::Drive& drive : controller.drives) addDrive(wanted, controller, drive, found);
    }
    return found;
  }

 private:
  void addDisk(const Wanted& wanted, const DiskRecord& record, std::vector<Found>& found) const {
    const model::Controller* controller = session_.controllers().find(record.disk.hba);
    const model::Volume* volume = controller == nullptr ? nullptr : controller->volumeOf(record.disk);
    const bool hasLabel = volume != nullptr && containsCaseless(volume->label, wanted.text);
    const bool hasSerial = containsCaseless(record.serial.value_or(""), wanted.text);
    if (!wanted.isIn(record.disk) && !hasLabel && !hasSerial) return;
    Found one{record.disk, record.disk.hba, kindName(record).value_or("not served"), record.serial, {}};
    const model::Drive* drive = controller == nullptr ? nullptr : controller->exposedDrive(record.serial.value_or(""));
    if (volume == nullptr && drive != nullptr) one.place = placeOf(*drive);
    found.push_back(std::move(one));
  }

  /// A drive that the host sees as a disk is found as that disk.
  void addDrive(const Wanted& wanted, const model::Controller& controller, const model::Drive& drive,
                std::vector<Found>& found) const {
    const auto place = placeOf(drive);
    const std::string serial = drive.identity ? drive.identity->serial : "";
    const bool fits = containsCaseless(serial, wanted.text) || (place && wanted.isBay(controller.hba, *place));
    if (!fits) return;
    const model::Volume* volume = controller.volumeWith(drive);
    const auto owner = std::find_if(records_.begin(), records_.end(), [&](const DiskRecord& record) {
      if (record.disk.hba != controller.hba) return false;
      return volume != nullptr ? volume->isAt(record.disk)
                               : controller.exposedDrive(record.serial.value_or("")) == &drive;
    });
    Found one{{}, controller.hba, volume == nullptr ? "unassigned drive" : "member", serial, place};
    if (owner != records_.end()) one.disk = owner->disk;
    if (volume == nullptr && one.disk) one.what = "disk";
    const bool isFoundAlready = std::any_of(found.begin(), found.end(), [&](const Found& other) {
      return one.what == "disk" && other.disk && other.disk->device == one.disk->device;
    });
    if (!isFoundAlready) found.push_back(std::move(one));
  }

  static std::optional<Place> placeOf(const model::Drive& drive) {
    if (!drive.identity) return std::nullopt;
    Place place = host::placeOf(*drive.identity);
    place.failed = !drive.isListed;
    return place;
  }

  Session& session_;
  const std::vector<DiskRecord> records_;
};

Json toJson(const std::string& text, const Found& found) {
  Json place = found.place ? toJson(*found.place) : Json(nullptr);
  return {{"text", text},
          {"kind", found.what},
          {"device", found.disk ? Json(found.disk->device) : Json(nullptr)},
          {"hba", found.hba},
          {"channel", found.disk ? Json(found.disk->channel) : Json(nullptr)},
          {"target", found.disk ? Json(found.disk->target) : Json(nullptr)},
          {"lun", found.disk ? Json(found.disk->lun) : Json(nullptr)},
          {"serial", orNull(found.serial)},
          {"location", std::move(place)}};
}

class FindCommand final : public Command {
 public:
  FindCommand()
      : Command({.name = "find",
                 .group = kLooking,
                 .summary = "Find the disk or drive that a serial number, name, bay or label is of",
                 .onRealHost = kFindsDisks,
                 .examples = {{"Whose serial number is that?", "dmu-host find S7P3X0Q8"},
                              {"What sits in a bay, and on a controller?", "dmu-host find 1I:1:3 vmhba3"},
                              {"What has that label? For a program", "dmu-host find data --json"}}}) {}

  std::vector<Option> options() override {
    return {{.name = "TEXT",
             .valueName = "",
             .help = "A part of a name, serial number or label, or a whole HBA, HBA:CHANNEL:TARGET:LUN or "
                     "[HBA:]PORT:BOX:BAY, in any case",
             .value = Texts{&texts_},
             .isNeeded = true}};
  }

  [[nodiscard]] Json emptyResult() const override { return {{"found", Json::array()}}; }

  Outcome run(Session& session) override {
    Outcome outcome{"", emptyResult()};
    const TextSearch search(session);
    TextTable table({"DEVICE", "HBA", "C:T:L", "KIND", "SERIAL", "PORT:BOX:BAY"});
    for (const std::string& text : texts_) {
      const std::vector<Found> found = search.find(text);
      if (found.empty()) session.report().refused(Refusal(printable(text) + ": not found"));
      for (const Found& one : found) {
        table.addRow({one.disk ? printable(one.disk->device) : kUnknown, printable(one.hba),
                      one.disk ? addressOf(*one.disk) : kUnknown, one.what, orUnknown(one.serial),
                      one.place ? bayText(*one.place) : kUnknown});
        outcome.json["found"].push_back(toJson(text, one));
      }
    }
    if (!outcome.json["found"].empty()) outcome.text = table.text(session.terminal());
    return outcome;
  }

 private:
  std::vector<std::string> texts_;
};

}  // namespace

std::unique_ptr<Command> makeFindCommand() {
  return std::make_unique<FindCommand>();
}

}  // namespace host
