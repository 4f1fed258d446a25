// The gauges, each with its name, and what stands in their labels.
#include "host/metrics/host_metrics.h"

#include <charconv>
#include <set>

namespace host::metrics {
namespace {

constexpr const char* kUp = "dmu_up";
constexpr const char* kLastSuccess = "dmu_last_success_timestamp_seconds";
constexpr const char* kHba = "hba";

std::optional<int64_t> wholeNumber(const std::string& text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

bool isUp(const std::string& hba, const model::Controllers& controllers) {
  const model::Controller* controller = controllers.find(hba);
  return controller != nullptr && !controller->hasFailedReport;
}

struct DriveGauges {
  Gauge temperature{"dmu_drive_temperature_celsius", "How warm the drive is."};
  Gauge maximum{"dmu_drive_maximum_temperature_celsius", "How warm the drive may become, by its own account."};
  Gauge info{"dmu_drive_info", "1 for each drive, with its serial number and what it is to the host."};

  /// @param device  the disk that the drive is behind; empty: none of the host's
  void add(const std::string& hba, const std::string& device, const std::string& kind, const DiskDrive& drive) {
    const auto decimal = [](const std::optional<uint32_t>& number) { return number ? std::to_string(*number) : ""; };
    const Place place = drive.place.value_or(Place{});
    Labels labels = {{kHba, hba},
                     {"device", device},
                     {"drive", decimal(drive.index)},
                     {"port", place.port.value_or("")},
                     {"box", decimal(place.box)},
                     {"bay", decimal(place.bay)}};
    if (drive.current && !drive.isMissing) temperature.add(labels, *drive.current);
    if (drive.maximum && !drive.isMissing) maximum.add(labels, *drive.maximum);
    labels.emplace_back("kind", kind);
    labels.emplace_back("serial", drive.serial.value_or(""));
    info.add(std::move(labels), 1);
  }
};

std::string kindOf(const DiskDrive& drive, DiskKind disk) {
  if (disk == DiskKind::disk) return "disk";
  return drive.isMissing ? "missing member" : "member";
}

/// Of a drive that belongs to none of the host's disks.
std::string kindOf(const model::Drive& drive, const model::Controller& controller) {
  if (drive.isExposed) return "disk";
  return controller.volumeWith(drive) == nullptr ? "unassigned drive" : "member";
}

struct DiskGauges {
  Gauge unanswered{"dmu_disks_unanswered", "Disks that the plugin did not answer of, by operation and reason."};
  Gauge info{"dmu_disk_info", "1 for each disk that the plugin answered of, with kind, RAID level and serial number."};
  Gauge members{"dmu_volume_members", "Member drives of the volume."};
  Gauge missing{"dmu_volume_missing_members", "Members of the volume that the controller no longer lists."};

  void add(const DiskRecord& record) {
    Labels labels = {{kHba, record.disk.hba}, {"device", record.disk.device}};
    if (record.members) members.add(labels, *record.members);
    if (record.missing) missing.add(labels, *record.missing);
    labels.emplace_back("kind", kindName(record).value_or(""));
    labels.emplace_back("raid_level", record.raidLevel ? std::to_string(*record.raidLevel) : "");
    labels.emplace_back("serial", record.serial.value_or(""));
    info.add(std::move(labels), 1);
  }

  void addUnanswered(const std::vector<WatchedDisk>& disks) {
    std::map<std::pair<std::string, std::string>, int> reasons;
    for (const WatchedDisk& disk : disks) {
      if (disk.whyUnanswered) ++reasons[{disk.record.disk.hba, *disk.whyUnanswered}];
    }
    for (const auto& [key, count] : reasons) unanswered.add({{kHba, key.first}, {"reason", key.second}}, count);
  }
};

struct ControllerGauges {
  Gauge up{kUp, "1 when the controller told what volumes and drives it has, 0 when it did not."};
  Gauge lastSuccess{kLastSuccess, "When the controller last told what volumes and drives it has."};

  void add(const std::string& hba, bool isUp, const std::optional<int64_t>& success) {
    up.add({{kHba, hba}}, isUp ? 1 : 0);
    if (success) lastSuccess.add({{kHba, hba}}, *success);
  }
};

/// @return the drives' numbers on their controller
std::set<uint32_t> addDrives(const WatchedDisk& disk, DriveGauges& gauges) {
  const DiskRecord& record = disk.record;
  std::set<uint32_t> numbers;
  for (const DiskDrive& drive : disk.drives) {
    numbers.insert(*drive.index);
    gauges.add(record.disk.hba, record.disk.device, kindOf(drive, *record.kind), drive);
  }
  return numbers;
}

/// @param known  numbers of drives that have been added
void addOtherDrives(const model::Controller& controller, const std::set<uint32_t>& known, DriveGauges& gauges) {
  for (const model::Drive& drive : controller.drives) {
    if (!drive.isListed || known.contains(drive.index)) continue;
    gauges.add(controller.hba, "", kindOf(drive, controller), describeDrive(drive.index, &drive));
  }
}

}  // namespace

LastSuccesses lastSuccessesIn(const std::string& text) {
  LastSuccesses successes;
  for (const auto& [hba, up] : valuesByLabel(text, kUp, kHba)) successes[hba] = std::nullopt;
  for (const auto& [hba, time] : valuesByLabel(text, kLastSuccess, kHba)) successes[hba] = wholeNumber(time);
  return successes;
}

std::vector<Gauge> metricsOf(const std::vector<WatchedDisk>& disks, const model::Controllers& controllers,
                             LastSuccesses successes, time_t now, std::chrono::microseconds duration) {
  DiskGauges ofDisks;
  DriveGauges ofDrives;
  ControllerGauges ofControllers;
  std::map<std::string, std::set<uint32_t>> knownDrives;
  for (const WatchedDisk& disk : disks) {
    const std::string& hba = disk.record.disk.hba;
    successes.try_emplace(hba);
    if (!disk.record.kind || !isUp(hba, controllers)) continue;
    ofDisks.add(disk.record);
    knownDrives[hba].merge(addDrives(disk, ofDrives));
  }
  ofDisks.addUnanswered(disks);
  for (const auto& [hba, controller] : controllers.all()) {
    if (!isUp(hba, controllers)) continue;
    addOtherDrives(controller, knownDrives[hba], ofDrives);
    successes[hba] = now;
  }
  for (const auto& [hba, success] : successes) ofControllers.add(hba, isUp(hba, controllers), success);
  Gauge runTime("dmu_run_duration_seconds", "How long the run took that wrote this.");
  runTime.add({}, std::chrono::duration<double>(duration).count());
  return {ofControllers.up, ofControllers.lastSuccess, ofDisks.unanswered, ofDisks.info,  ofDisks.members,
          ofDisks.missing,  ofDrives.temperature,      ofDrives.maximum,   ofDrives.info, runTime};
}

}  // namespace host::metrics
