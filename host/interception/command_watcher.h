// Stands in front of whoever answers the process's calls and looks at the pass-through commands on their way to the
// driver. Begin here with anything that a run has to know of what passes between plugin and controller.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/interception/host_calls.h"
#include "simulator/command_decoder.h"

namespace host {

/// One pass-through command on its way to the driver, and what came back.
struct InterceptedCommand {
  uint32_t instance = 0;                             ///< the controller's number in the driver
  std::string hba;                                   ///< its name by the driver's list; empty: the list has none
  simulator::wire::PassthruRecord record{};          ///< as the caller passed it
  std::optional<simulator::DecodedCommand> command;  ///< nothing for a CDB that is none of the known commands
  std::vector<uint8_t> data;  ///< to the controller, or the reply when it succeeded: of a report as far as it goes
  bool wasHeldBack = false;   ///< not sent; the caller was told that all went well
  int32_t result = 0;         ///< of the management call
  uint32_t driverStatus = 0;
  std::chrono::microseconds duration{};

  [[nodiscard]] bool succeeded() const { return result == 0 && driverStatus == 0; }
  [[nodiscard]] bool writes() const { return record.typeAttributeDirection == simulator::wire::kWriteDirection; }
};

/// A call that opens or closes the management channel or asks for the driver's controllers, after it came back.
struct ChannelCall {
  const char* name = "";  ///< as fault rules name it: "init", "destroy", "query"
  int32_t result = 0;     ///< of the management call
  uint32_t driverStatus = 0;
  std::chrono::microseconds duration{};
};

class CommandWatcher : public HostCalls {
 public:
  ~CommandWatcher() override { stepAside(); }

  /// From now on the process's calls come here first and go on to whoever answered them before. Not while a call is
  /// under way; the last that stepped in front is the first to step aside.
  void stepInFront();
  void stepAside();

  /// The names of the controllers as the driver listed them last, in its order; empty when it never did.
  [[nodiscard]] std::vector<std::string> listedControllers() const;

  uint32_t openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) final;
  int32_t closeChannel(vmk_MgmtUserHandle* channel) final;
  int32_t invoke(const CallbackCall& call) final;
  int openNode(const NodeOpening& opening) final;
  int requestOfNode(const std::string& device, int descriptor, unsigned long request, void* argument) final;
  int closeNode(const std::string& device, int descriptor) final;
  FILE* startCommand(const char* command, const char* mode) final;
  int endCommand(FILE* output) final;
  time_t now() final;

 protected:
  /// Whether a command is to be kept from the driver; asked before it is sent.
  [[nodiscard]] virtual bool holdsBack(const InterceptedCommand& command) = 0;

  /// Called for every command after it came back or was held back.
  virtual void passed(InterceptedCommand command) = 0;

  /// Called for what is needed before a command can be sent.
  virtual void channelCalled(const ChannelCall& /*call*/) {}

 private:
  int32_t passOn(const CallbackCall& call);
  int32_t listInstances(const CallbackCall& call);

  mutable std::mutex mutex_;
  std::map<uint32_t, std::string> instances_;  // names by number, as the driver listed them last
  HostCalls* next_ = nullptr;                  // null: not in front
};

}  // namespace host
