// The six operations as rules call them: with an error text that was there before, and with room around what the plugin
// may write, so that whatever else it writes is seen.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <dmu/plugin.h>

namespace host::check {

/// What the host's error text holds before a call.
inline constexpr const char* kErrorBefore = "text from before";

/// What a call asks for where its rule is about something else: room for every drive, a blink time in seconds.
inline constexpr int32_t kCount = 256;
inline constexpr uint16_t kSeconds = 60;

/// An operation's result and what became of the error text.
struct Answer {
  int32_t result = 0;
  std::string error = kErrorBefore;
};

/// Operation 0 into a record full of marks.
struct InformationCall : Answer {
  InformationCall(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle);

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

/// How many records or slots a list has, whatever the plugin is told.
inline constexpr size_t kListRoom = 4096;

/// Operation 4.
struct TemperatureCall : Answer {
  TemperatureCall(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count);

  /// The records up to the last one that was written.
  [[nodiscard]] std::vector<DriveTemperature> written() const;

 private:
  std::vector<DriveTemperature> records_;
};

/// Operation 5. Releases what the plugin put into the slots.
struct LocationCall : Answer {
  LocationCall(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, int32_t count);
  ~LocationCall();
  LocationCall(const LocationCall&) = delete;
  LocationCall& operator=(const LocationCall&) = delete;

  /// The slots up to the last one that was written.
  [[nodiscard]] std::vector<char*> written() const;

  /// Their texts; fails the rule for a null slot and for a text that does not end inside its 50 bytes.
  [[nodiscard]] std::vector<std::string> texts() const;

 private:
  std::vector<char*> slots_;
};

/// Any of the operations, for rules that hold for all of them.
struct Operation {
  const char* name;
  bool switches;
  /// Calls it with good arguments; `wrote` tells whether it wrote to the host's record or array.
  Answer (*call)(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle, bool& wrote);
};

/// The operations in the descriptor's order.
[[nodiscard]] const std::array<Operation, 6>& allOperations();

/// Those that a rule may call: without the switching ones unless it may switch.
[[nodiscard]] std::vector<Operation> operations(bool maySwitch);

/// "device information of DEVICE".
[[nodiscard]] std::string words(const Operation& operation, const std::string& device);

/// Fails the rule unless the operation failed with exactly this text and wrote nothing.
void expectRefusal(const Operation& operation, const DmuPluginDescriptor& plugin, CtrlDevInfo* handle,
                   const std::string& device, const std::string& text);

}  // namespace host::check
