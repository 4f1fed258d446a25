// The one place where the program stands between the plugin and whatever provides the host's calls: the management
// calls, the calls on disk nodes, popen and time are defined here under their own names. What the program shows of
// them, holds back, records or answers from a recording rests on this.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "host/interception/host_calls.h"
#include "simulator/command_decoder.h"

namespace host {

/// The driver's callbacks that are known, with the number of their parameters.
inline constexpr uint64_t kQueryCallback = 0x10;
inline constexpr uint32_t kQueryParameters = 2;
inline constexpr uint64_t kPassthruCallback = 0x12;
inline constexpr uint32_t kPassthruParameters = 3;

/// One pass-through command on its way to the driver, and what came back.
struct InterceptedCommand {
  uint32_t instance = 0;                             ///< the controller's number in the driver
  simulator::wire::PassthruRecord record{};          ///< as the caller passed it
  std::optional<simulator::DecodedCommand> command;  ///< nothing for a CDB that is none of the known commands
  std::vector<uint8_t> data;  ///< of a BMIC command: to the controller, or the reply when it succeeded
  bool wasHeldBack = false;   ///< not sent; the caller was told that all went well
  int32_t result = 0;         ///< of the management call
  uint32_t driverStatus = 0;
  std::chrono::microseconds duration{};

  [[nodiscard]] bool succeeded() const { return result == 0 && driverStatus == 0; }
};

/// Looks at the commands of this process as they pass.
class CommandWatcher {
 public:
  virtual ~CommandWatcher() = default;

  /// Whether a command is to be kept from the driver; asked before it is sent.
  [[nodiscard]] virtual bool holdsBack(const InterceptedCommand& command) = 0;

  /// Called for every command after it came back or was held back.
  virtual void passed(InterceptedCommand command) = 0;
};

/// Sets the watcher of all commands from now on; null watches no longer. Borrowed. Not while a command is under way.
void watchCommands(CommandWatcher* watcher);

/// Sets who answers the calls from now on; null: the machine itself. Borrowed. Not while a call is under way.
///
/// Only what belongs to a disk node goes there: open, ioctl and close of anything else stay the C library's.
void takeCallsFrom(HostCalls* calls);

}  // namespace host
