// What a host's metrics are: made from the records of its disks and from what their controllers reported. Each is true
// of one run, so that a file of them needs no process that stays.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/disks/disk_drives.h"
#include "host/metrics/gauge.h"
#include "host/model/controllers.h"

namespace host::metrics {

/// A disk of the plugin's driver.
struct WatchedDisk {
  DiskRecord record;
  std::vector<DiskDrive> drives;             ///< as the controller reported them, with their indexes
  std::optional<std::string> whyUnanswered;  ///< what the plugin did not answer; nothing: it answered
};

/// HBAs with the time of each one's last success, in seconds since 1970; nothing: it never had one.
using LastSuccesses = std::map<std::string, std::optional<int64_t>>;

/// What of earlier runs is in a file that one of them wrote; of any other file nothing.
[[nodiscard]] LastSuccesses lastSuccessesIn(const std::string& text);

/// @param disks        of the host
/// @param controllers  as they answered when the plugin was asked of these
/// @param successes    of earlier runs; HBAs in it are told of even when nothing else knows them
/// @param now          when the controllers answered
/// @param duration     of the run
[[nodiscard]] std::vector<Gauge> metricsOf(const std::vector<WatchedDisk>& disks, const model::Controllers& controllers,
                                           LastSuccesses successes, time_t now, std::chrono::microseconds duration);

}  // namespace host::metrics
