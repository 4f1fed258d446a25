// The six operations as rules call them: with an error text that was there before, and with room around what the plugin
// may write, so that whatever else it writes is seen.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/check/subject.h"
#include "host/disks/plugin_calls.h"

namespace host::check {

/// What the host's error text holds before a call.
inline constexpr const char* kErrorBefore = "text from before";

/// What a call asks for where its rule is about something else: room for every drive, a blink time in seconds.
inline constexpr int32_t kCount = 256;
inline constexpr uint16_t kSeconds = 60;

/// A call of an operation, and what the plugin did to what it was given.
struct Call : CallResult {
  Call() : CallResult{0, kErrorBefore} {}

  bool wrote = false;  ///< to the host's record or array
};

/// Operation 0 into a record full of marks.
struct InformationCall : Call {
  explicit InformationCall(const DeviceHandle& handle);

  [[nodiscard]] const DmuDeviceInfo& information() const { return record_.information; }

  /// The bytes from one offset of the record up to another, or to the end of the room behind it, still hold their
  /// marks.
  [[nodiscard]] bool isUntouched(size_t from, size_t to = sizeof(Record)) const;

 private:
  struct Record {
    DmuDeviceInfo information;
    std::array<uint8_t, 64> behind;
  };
  Record record_{};
};

/// Operation 0 where it must succeed; else it fails the rule.
/// @param when  for the failure's text: " after ..."
InformationCall informationOf(const OpenSubject& subject, const std::string& when = "");

/// Operation 1. @param step  what is said when the plugin does not return
Call callLocator(const DeviceHandle& handle, uint32_t state, uint16_t seconds, const std::string& step);

/// Operations 2 and 3. @param step  what is said when the plugin does not return
Call callCache(const DeviceHandle& handle, bool on, const std::string& step);

/// Operation 4, into more records than the plugin is told.
struct TemperatureCall : Call {
  static constexpr const char* kOperation = "temperature";

  TemperatureCall(const DeviceHandle& handle, int32_t count);

  /// "CURRENT/MAXIMUM" of each record that was written.
  [[nodiscard]] std::vector<std::string> texts() const;

  std::vector<DriveTemperature> written;  ///< the records up to the last one that was written
};

/// Operation 5, into more slots than the plugin is told. Releases what the plugin put there.
struct LocationCall : Call {
  static constexpr const char* kOperation = "location";

  LocationCall(const DeviceHandle& handle, int32_t count);
  ~LocationCall();
  LocationCall(const LocationCall&) = delete;
  LocationCall& operator=(const LocationCall&) = delete;

  /// The texts of the slots; fails the rule for a null slot and for a text that does not end inside its 50 bytes.
  [[nodiscard]] std::vector<std::string> texts() const;

  std::vector<char*> written;  ///< the slots up to the last one that was written
};

/// Any of the operations, for rules that hold for all of them.
struct Operation {
  const char* name;
  bool switches;
  Call (*call)(const DeviceHandle& handle);  ///< with good arguments

  /// A call in words: "device information of DEVICE".
  [[nodiscard]] std::string of(const std::string& device) const { return std::string(name) + " of " + device; }
};

/// The operations in the descriptor's order.
[[nodiscard]] const std::array<Operation, 6>& allOperations();

/// Those that only ask.
[[nodiscard]] std::vector<Operation> readingOperations();

/// Fails the rule unless each operation fails with exactly this text and writes nothing.
/// @param device  what the handle stands for, in words
void expectRefusals(std::span<const Operation> operations, const DeviceHandle& handle, const std::string& device,
                    const std::string& text);

}  // namespace host::check
