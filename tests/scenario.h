// One scenario for every sweep: both opens, and all six operations on a volume and on a disk. It says what the host got
// from each call, so that a run in which something went wrong can be compared with one in which nothing did.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/host_process.h"

/// What one call gave the host: its result, its text, and what it wrote for the host or changed on the hardware.
struct Outcome {
  int32_t result;
  std::string text;
  std::string output;
  bool operator==(const Outcome&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Outcome& o) {
    return out << o.result << " \"" << o.text << "\" [" << o.output << "]";
  }
};
using Outcomes = std::vector<Outcome>;

/// The operations in the order in which they are called; their number in the descriptor.
enum Operation : size_t { kInfo, kLed, kCacheOn, kCacheOff, kTemperature, kLocation, kOperations };

/// The calls of the scenario by number.
inline constexpr size_t kOpen = 0;
inline constexpr size_t kOpenV2 = 1;
inline constexpr size_t kVolume = 2;  ///< its first operation
inline constexpr size_t kDisk = kVolume + kOperations;
inline constexpr size_t kClose = kDisk + kOperations;

/// What an operation leaves of the host's records when it fails.
inline constexpr char kUntouched[] = "untouched";

/// Calls each operation once with room for four drives.
/// @param hardware  tells the state of the device's LEDs, and of its cache; without it LED and cache have no output
Outcomes callAll(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle,
                 const std::function<std::string(Operation)>& hardware = nullptr);

class ScenarioTest : public PluginTest {
 protected:
  ScenarioTest();

  /// A RAID 1 volume of the drives 2 and 10 with its cache off, and the exposed drive 5.
  static simulator::Topology small();
  /// The same on a controller with the extended blink array, and with drive 295 in place of 10.
  static simulator::Topology extended();
  /// The small one, with a member map and cache bitmaps that do not fit the first reply; new cache settings are
  /// refused.
  static simulator::Topology askedTwice();

  /// Loads a controller, with its hardware as new and no snapshot of it.
  void load(const simulator::Topology& topology);

  /// Runs the scenario, 31 seconds after the last time.
  Outcomes run();

  /// Checks what must hold after any run, whatever failed: the lock is free, and nothing is held but what may stay.
  void expectNothingLeft();

  /// Checks that a run now gives what it must, and that afterwards nothing at all is held.
  void expectRecovered(const Outcomes& good);

 private:
  [[nodiscard]] std::string hardware(Operation operation, bool ofVolume) const;

  simulator::Topology topology_;
};
